// Word translation probabilities counted from a symmetric alignment, and the
// lexical weight that they give a phrase pair. Immutable once built, safe to
// read from any number of threads.
//
// Koehn, Och and Marcu, "Statistical phrase-based translation" (2003), on lexical weighting:
// w(t | s) = c(s, t) / c(s), links with the empty word included, and the weight of a pair is the
// product over its target words of the mean of w over their links. A pair that was extracted with
// several alignments has the weight of the most frequent one, not the largest weight of all.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/align/alignment.h"
#include "toolkit/io/corpus.h"

namespace koralite::toolkit {

class WordTranslation {
 public:
  // Stands for the empty word on either side.
  static constexpr WordId kEmpty = 0xFFFFFFFF;

  WordTranslation(const Bitext& bitext, const Alignment& alignment);

  // p(target | source), 0 when the two were never linked.
  double forward(WordId source, WordId target) const;
  // p(source | target).
  double backward(WordId source, WordId target) const;

  // Product over the target words of the mean p(target | source) of their links
  // (p(target | empty) without one); bit s * 8 + t of links joins word s and t.
  double forward_weight(std::span<const WordId> source, std::span<const WordId> target,
                        std::uint64_t links) const;
  // The same the other way: product over the source words.
  double backward_weight(std::span<const WordId> source, std::span<const WordId> target,
                         std::uint64_t links) const;

 private:
  double count(WordId source, WordId target) const;

  std::vector<std::uint64_t> keys_;  // source << 32 | target, ascending
  std::vector<std::uint32_t> counts_;
  std::vector<std::uint64_t> rows_;    // of source word, then of the empty word
  std::vector<double> source_totals_;  // the empty word's last
  std::vector<double> target_totals_;
};

}  // namespace koralite::toolkit
