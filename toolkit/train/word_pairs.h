// A dictionary that training is given beside its text: pairs of words and short
// groups of words, as people write them. A plain value.
#pragma once

#include <span>
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

// Cuts words of the lines that the text does not have into their characters: a language written
// without blanks loses nothing, and the models know the characters.
void cut_unseen_words(std::span<std::string> lines, std::span<const std::string> text);

}  // namespace koralite::toolkit
