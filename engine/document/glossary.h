// Terms that a caller wants translated in his own way, at run time and with any model.
//
// Each term is run through the steps of the source language, so that it is found as the
// sentence has it: in languages with spaces as a run of words after the steps, in the
// others as a run of characters before words are made. The longest term that fits wins.
//
// Owns its entries; borrows the handle for the length of add(). One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::document {

class Glossary {
 public:
  static constexpr std::size_t kMostWords = 16;  // of a term

  explicit Glossary(textProcess::LangType source) : source_(source) {}

  // Adds the lines of a table: source TAB target, empty lines and lines that begin with "#"
  // left out. An empty target means that the source stays as it is. A term that is there
  // already gets the new target. Gives a line for each entry that can never match, with
  // its line number and the reason.
  std::string add(std::string_view table, bool is_case_sensitive, translator::TransImpl& handle);
  void clear();
  bool empty() const { return by_bytes_.empty(); }

  // The target of a term that is written exactly so; null if there is none.
  const std::string* find_exactly(std::string_view bytes) const;

  // The longest term that begins at word `first`; `words` gives text and source bytes of each.
  struct match_t {
    std::size_t length = 0;               // in words or bytes; 0 for none
    const std::string* target = nullptr;  // null: as it is written
  };
  match_t find_words(const std::vector<const char*>& words,
                     const std::vector<std::string_view>& written, std::size_t first) const;
  // The longest term that begins at a byte; for languages without spaces.
  match_t find_bytes(std::string_view text, std::size_t at) const;

  bool matches_bytes() const { return !has_blanks_(source_); }

 private:
  struct entry_t {
    std::string target;
    bool keeps = false;  // no target: as it is written
    bool is_case_sensitive = false;
    std::string written;
  };

  static bool has_blanks_(textProcess::LangType language);

  textProcess::LangType source_;
  std::unordered_map<std::string, std::vector<entry_t>> by_words_;  // words joined by spaces
  std::unordered_map<std::string, std::size_t> longest_;            // by first word, in words
  std::unordered_map<std::string, entry_t> by_bytes_;
  std::map<std::string, std::vector<std::size_t>> lengths_;  // by first character, falling
};

}  // namespace koralite::document
