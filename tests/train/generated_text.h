// Sentence pairs with a known alignment, for tests: source word wI becomes
// target word vI, in the same order but for some neighbours that change places,
// and some words on either side have no counterpart.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "toolkit/align/alignment.h"
#include "toolkit/eval/bootstrap.h"
#include "toolkit/io/corpus.h"

namespace koralite::toolkit {

struct GeneratedText {
  std::vector<std::string> source;
  std::vector<std::string> target;
  Alignment truth;
};

inline GeneratedText generate_text(std::size_t pairs, std::size_t words, std::uint64_t seed) {
  SeededRandom random(seed);
  GeneratedText text;
  for (std::size_t pair = 0; pair < pairs; ++pair) {
    std::vector<std::size_t> order;
    std::vector<std::string> source;
    const std::size_t length = 1 + random.below(12);
    for (std::size_t i = 0; i < length; ++i) {
      // Small numbers are frequent.
      source.push_back("w" + std::to_string(random.below(1 + random.below(words))));
      if (random.below(10) != 0) {
        order.push_back(i);
      }
    }
    for (std::size_t i = 1; i < order.size(); ++i) {
      if (random.below(5) == 0) {
        std::swap(order[i - 1], order[i]);
      }
    }
    std::vector<Link> links;
    std::string target;
    std::uint16_t at = 0;
    for (const std::size_t i : order) {
      if (random.below(10) == 0) {
        target += "filler ";
        ++at;
      }
      target += "v" + source[i].substr(1) + " ";
      links.push_back({static_cast<std::uint16_t>(i), at++});
    }
    std::sort(links.begin(), links.end());
    text.truth.add(links);
    std::string joined;
    for (const std::string& word : source) {
      joined += word + " ";
    }
    text.source.push_back(joined);
    text.target.push_back(target);
  }
  return text;
}

}  // namespace koralite::toolkit
