// chrF: how many character n-grams (1 to 6 signs, spaces left out) translation
// and reference share, recall counting beta times as much as precision. A
// ChrfScorer holds the references, counted once; scoring is read-only and safe
// from any number of threads.
//
// Popović, "chrF: character n-gram F-score for automatic MT evaluation" (2015), section 2, formula
// 1: (1 + beta^2) P R / (beta^2 P + R), P and R the means over n of the n-gram precisions and
// recalls. Here n-grams are summed over the corpus before the division, and an n for which one side
// has no n-gram at all is left out of the means.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

// What chrF needs of a sentence. A corpus has the sum of its sentences'.
struct ChrfStats {
  std::array<std::int64_t, 6> translation{};  ///< n-grams of 1 to 6 signs
  std::array<std::int64_t, 6> reference{};
  std::array<std::int64_t, 6> matches{};

  ChrfStats& operator+=(const ChrfStats& other);
  friend bool operator==(const ChrfStats&, const ChrfStats&) = default;
};

// 0 to 100.
double chrf(const ChrfStats& stats, double beta = 2);

class ChrfScorer {
 public:
  // references[r][i] is reference r of sentence i. Throws std::runtime_error
  // when there is none or their lengths differ.
  ChrfScorer(std::span<const std::vector<std::string>> references, bool lower_case);

  std::size_t size() const { return sentences_.size(); }
  // Against the reference that gives the best score.
  ChrfStats sentence(std::size_t index, std::string_view translation) const;
  // All sentences. Throws std::runtime_error when their number is another.
  std::vector<ChrfStats> sentences(std::span<const std::string> translations) const;
  // "nrefs:1|case:mixed|eff:yes|nc:6|nw:0|space:no|version:kora-1.0.0"
  std::string signature() const;

 private:
  using Gram = std::array<char32_t, 6>;            // 0 where it is shorter
  using Grams = std::array<std::vector<Gram>, 6>;  // sorted
  Grams grams(std::string_view text) const;

  bool lower_case_;
  std::size_t references_;
  std::vector<std::vector<Grams>> sentences_;  // by sentence, then by reference
};

}  // namespace koralite::toolkit
