// A stretch of text with inline tags, and its translation with the tags in place.
//
// The tags are taken out, the text is translated, and each element is put around the
// part of the output that the alignment gives its words. Elements stay nested, none is
// lost or doubled. Values and free functions; they share nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/line_translator.h"

namespace koralite::document {

struct element_t {
  std::size_t begin = 0;  // bytes of the segment's text
  std::size_t end = 0;
  std::string open;  // tags, written as they are; either may be empty
  std::string close;
  std::size_t parent = 0;  // index + 1 of the innermost element around it; 0 for none
};

// What stands at one place of the text and moves as a word: an image, a piece of code.
struct point_t {
  std::size_t at = 0;  // of the byte in the text that stands for it
  std::string markup;  // written as it is
};

// Whether `&`, `<` and `>` of the translation are written as entities: in markup, unless the
// segment has the bare character too.
struct escapes_t {
  bool is_markup = false;
  bool bare_ampersand = false;
  bool bare_less = false;
  bool bare_greater = false;
};

struct segment_t {
  std::string text;                 // without tags; one byte kPointByte for each point
  std::vector<std::int32_t> first;  // for each byte of the text the first and last byte of the
  std::vector<std::int32_t> last;   // document that it stands for
  std::vector<element_t> elements;  // parents before their children, else in order of `begin`
  std::vector<point_t> points;      // in order
  escapes_t escapes;

  void clear();
  void append(std::string_view bytes, std::size_t first_byte, std::size_t last_byte);
};

inline constexpr char kPointByte = '\x1A';

// Replaces `result`: the translation with its tags, links in bytes of the document and of
// that text. The segment's text begins and ends in no space and holds no line feed.
void translate_segment(LineTranslator& lines, const segment_t& segment, bool with_links,
                       line_result_t& result);

}  // namespace koralite::document
