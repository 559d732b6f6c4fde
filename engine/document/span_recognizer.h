// Finds what a translation must not change: placeholders, markup, addresses, names of
// files and code, numbers that are written to be read by machines, words of foreign
// scripts, symbols.
//
// A recogniser is a value: which kinds it looks for, the language of the text, and the
// patterns that a program added. find() is const and safe from any thread. It takes
// linear time whatever the text holds, which need not be UTF-8: each attempt looks at
// a bounded number of bytes, or at a run that is looked at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "textProcess/lang_type.h"

namespace koralite::document {

// Kinds of spans, for switching them off; values are bits of kora_c.h.
enum span_kind_t : std::uint32_t {
  kFormats = 1U << 0,       // %s %1$d %(name)s {0} ${x} $x $(x) @1
  kAccelerators = 1U << 1,  // &File _File
  kTags = 1U << 2,          // <b> </b> <file> &amp;
  kAddresses = 1U << 3,     // URLs, e-mail, hosts
  kFiles = 1U << 4,         // names of files, paths
  kCode = 1U << 5,          // identifiers, options, `code`, escapes, versions
  kMentions = 1U << 6,      // #tag @name
  kSymbols = 1U << 7,       // emoji, arrows and other symbols
  kPhones = 1U << 8,        // telephone numbers
  kForeignWords =
      1U << 9,           // accented Latin words, words of scripts that the source is not written in
  kPatterns = 1U << 10,  // what a program added
  kNumbers = 1U << 11,   // numbers with five equal digits in a row, times of day
  kAllKinds = (1U << 12) - 1,
};

struct span_t {
  std::size_t begin = 0;
  std::size_t end = 0;
  span_kind_t kind = kFormats;
};

class SpanRecognizer {
 public:
  explicit SpanRecognizer(textProcess::LangType source, std::uint32_t kinds = kAllKinds)
      : source_(source), kinds_(kinds) {}

  std::uint32_t kinds() const { return kinds_; }
  void set_kinds(std::uint32_t kinds) { kinds_ = kinds & kAllKinds; }

  // Adds a pattern, which is tried before the kinds: plain bytes stand for themselves,
  // `*` for one or more word bytes (letters, digits, `_`, bytes above 127), `#` for one or
  // more digits, `?` for any one byte, `\` takes the meaning from the next byte. Throws
  // std::runtime_error for an empty pattern, one above 256 bytes, one that ends in `\`, one
  // that begins with `*` or `?`, and beyond 64 patterns.
  void add_pattern(std::string_view pattern);

  // The spans of a text, in order, none empty, none overlapping, none across a line feed.
  std::vector<span_t> find(std::string_view text) const;

 private:
  friend class SpanScan;

  textProcess::LangType source_;
  std::uint32_t kinds_;
  std::vector<std::string> patterns_;
};

// The tag of a kind in a model's vocabulary, without brackets and digit.
const char* tag_of(span_kind_t kind);

}  // namespace koralite::document
