// Learns the capitals of English words and word groups from running text, and
// writes them as the recasing resource (docs/format-recase.md).
//
// Feed it the target side of the training text as the decoder will write it
// (tokenized, special bytes escaped) but with its capitals. It counts, so the
// order of lines does not matter unless memory is bounded; building is
// deterministic. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace koralite::toolkit {

struct recase_options_t {
  unsigned max_words = 4;           // words of an entry, at least 1
  std::size_t max_bytes = 40;       // of an entry; every record is as wide as the longest
  std::uint64_t min_count = 2;      // occurrences of the winning form
  double min_share = 0.6;           // of all occurrences of the same letters
  std::size_t max_forms = 8000000;  // counted at a time; beyond, the rarest are forgotten
};

class RecaseBuilder {
 public:
  explicit RecaseBuilder(recase_options_t options = {});

  // Counts a line of blank-separated tokens. Places where the capitals say nothing about the words
  // are left out: sentence starts, headings and lines all in capitals.
  void add_line(std::string_view line);

  // Counts a word or group of words that stands for itself, as in a dictionary: its capitals are
  // meant.
  void add_entry(std::string_view entry);

  // The entries: every group of words whose usual form is not what shorter entries, or lower case,
  // would make of it. Sorted as the resource wants them.
  std::vector<std::string> entries() const;

 private:
  void forget_rare();

  recase_options_t options_;
  std::uint64_t rare_ = 0;  // forms seen this often or less may have been forgotten
  std::unordered_map<std::string, std::uint64_t> forms_;
};

struct recase_report_t {
  std::size_t entries = 0;
  std::size_t longest = 0;  // words of an entry
  std::size_t dropped = 0;  // entries that a record cannot hold, and second forms of one entry
};

// Writes entries in any order. Throws std::runtime_error when there are none (leave the resource
// out), when they are too many or large for the head line, and when the file cannot be written.
recase_report_t write_recase_file(const std::string& path, std::span<const std::string> entries);

}  // namespace koralite::toolkit
