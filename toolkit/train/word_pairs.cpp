#include "toolkit/train/word_pairs.h"

#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "toolkit/io/corpus.h"
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

void cut_unseen_words(std::span<std::string> lines, std::span<const std::string> text) {
  std::unordered_set<std::string_view> seen;
  for (const std::string& line : text) {
    for (const std::string_view word : split_blanks(line)) {
      seen.insert(word);
    }
  }
  for (std::string& line : lines) {
    std::string cut;
    for (const std::string_view word : split_blanks(line)) {
      const bool is_latin = static_cast<unsigned char>(word.front()) < 0x80;
      for (std::size_t i = 0; i < word.size(); ++i) {
        const bool begins = (static_cast<unsigned char>(word[i]) & 0xC0U) != 0x80;
        if (!cut.empty() && (i == 0 || (begins && !is_latin && !seen.contains(word)))) {
          cut += ' ';
        }
        cut += word[i];
      }
    }
    line = std::move(cut);
  }
}

}  // namespace koralite::toolkit
