#include "toolkit/train/word_pairs.h"

#include <stdexcept>

#include "toolkit/io/text_lines.h"

namespace koralite::toolkit {

word_pairs_t read_word_pairs(const std::string& path) {
  word_pairs_t pairs;
  const std::vector<std::string> lines = read_lines(path);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::size_t tab = lines[i].find('\t');
    if (tab == 0 || tab == std::string::npos) {
      throw std::runtime_error(path + ':' + std::to_string(i + 1) +
                               ": a line must be SOURCE, TAB, TARGET");
    }
    const std::size_t end = lines[i].find('\t', tab + 1);
    pairs.source.push_back(lines[i].substr(0, tab));
    pairs.target.push_back(
        lines[i].substr(tab + 1, end == std::string::npos ? end : end - tab - 1));
  }
  return pairs;
}

}  // namespace koralite::toolkit
