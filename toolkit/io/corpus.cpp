#include "toolkit/io/corpus.h"

#include <stdexcept>

namespace koralite::toolkit {

WordId WordTable::intern(std::string_view word) {
  if (const auto found = ids_.find(word); found != ids_.end()) {
    return found->second;
  }
  const WordId id = static_cast<WordId>(words_.size());
  words_.emplace_back(word);
  ids_.emplace(words_.back(), id);
  return id;
}

WordId WordTable::find(std::string_view word) const {
  const auto found = ids_.find(word);
  return found == ids_.end() ? kNone : found->second;
}

void TokenText::add_line(std::string_view line, WordTable& words) {
  for (const std::string_view word : split_blanks(line)) {
    words_.push_back(words.intern(word));
  }
  starts_.push_back(words_.size());
}

Bitext make_bitext(std::span<const std::string> source, std::span<const std::string> target) {
  if (source.size() != target.size()) {
    throw std::runtime_error(
        "the two sides have different numbers of lines: " + std::to_string(source.size()) +
        " and " + std::to_string(target.size()));
  }
  Bitext bitext;
  for (const std::string& line : source) {
    bitext.source.add_line(line, bitext.source_words);
  }
  for (const std::string& line : target) {
    bitext.target.add_line(line, bitext.target_words);
  }
  return bitext;
}

std::vector<std::string_view> split_blanks(std::string_view line) {
  std::vector<std::string_view> words;
  constexpr std::string_view kBlanks = " \t";
  for (std::size_t at = line.find_first_not_of(kBlanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
    words.push_back(line.substr(at, end - at));
    at = line.find_first_not_of(kBlanks, end);
  }
  return words;
}

}  // namespace koralite::toolkit
