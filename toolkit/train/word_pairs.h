// A dictionary that training is given beside its text: pairs of words and short
// groups of words, as people write them. A plain value.
#pragma once

#include <string>
#include <vector>

namespace koralite::toolkit {

struct word_pairs_t {
  std::vector<std::string> source;
  std::vector<std::string> target;
};

// Reads lines SOURCE TAB TARGET; more columns do not matter. Throws IoError when the file can't be
// read and std::runtime_error "PATH:LINE: ..." for any other line.
word_pairs_t read_word_pairs(const std::string& path);

}  // namespace koralite::toolkit
