// Cuts HTML or XML into text and tags. What is no tag is text, whatever it looks like;
// together the tokens are the document. Linear time, no recursion; free functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::document {

enum class TokenKind : std::uint8_t {
  kText,
  kOpen,   // <b>
  kClose,  // </b>
  kEmpty,  // <br>, <x/>
  kOther,  // comments, declarations, processing instructions, CDATA sections
};

struct token_t {
  TokenKind kind = TokenKind::kText;
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string name;       // of a tag, in lower case
  std::size_t match = 0;  // of an opening tag, the index of its closing tag; 0 for none
};

std::vector<token_t> scan_markup(std::string_view text);

// Whether a tag begins or ends a block, so that no sentence goes across it.
bool is_block(std::string_view name, bool is_xml);

// Whether an element is left alone: code, scripts, translate="no".
bool is_left_alone(const token_t& token, std::string_view text);

// An attribute of a tag: where its value lies in the tag, without quotes.
struct attribute_t {
  std::string name;  // in lower case
  std::size_t begin = 0;
  std::size_t end = 0;
  bool quoted = false;
};
std::vector<attribute_t> attributes_of(std::string_view tag);

// The character of an entity that begins at `at` with "&", and the length of the entity;
// length 0 for what is none or is not known.
struct entity_t {
  char32_t code = 0;
  std::size_t length = 0;
};
entity_t entity_at(std::string_view text, std::size_t at);

}  // namespace koralite::document
