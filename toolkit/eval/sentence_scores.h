// What the scorers of whole texts share. Without state.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace koralite::toolkit {

// How many sentences a set of references has. Throws std::runtime_error when there is no reference
// or when their lengths differ.
inline std::size_t sentence_count(std::span<const std::vector<std::string>> references) {
  if (references.empty()) {
    throw std::runtime_error("scoring needs a reference");
  }
  const std::size_t count = references[0].size();
  for (const std::vector<std::string>& reference : references) {
    if (reference.size() != count) {
      throw std::runtime_error("the references have different numbers of lines: " +
                               std::to_string(count) + " and " + std::to_string(reference.size()));
    }
  }
  return count;
}

// The statistics of each translation against its references. Throws std::runtime_error when there
// are not as many translations as references.
template <class Scorer>
auto sentence_scores(const Scorer& scorer, std::span<const std::string> translations) {
  if (translations.size() != scorer.size()) {
    throw std::runtime_error("there are " + std::to_string(translations.size()) +
                             " translations for " + std::to_string(scorer.size()) + " references");
  }
  std::vector<decltype(scorer.sentence(0, translations[0]))> all;
  for (std::size_t i = 0; i < scorer.size(); ++i) {
    all.push_back(scorer.sentence(i, translations[i]));
  }
  return all;
}

}  // namespace koralite::toolkit
