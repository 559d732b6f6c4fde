// The table t(generated | given) of the aligner: for each given word the
// generated words that it ever meets in a sentence, with probability and
// expected count, all in four flat arrays. Row 0 is the empty word, which meets
// every word; given word w has row w + 1. Built once; add() may be called from
// any number of threads at a time, the rest from one.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/io/corpus.h"
#include "toolkit/io/parallel.h"

namespace koralite::toolkit {

class MeetingTable {
 public:
  MeetingTable(const TokenText& given, const TokenText& generated, std::size_t given_words,
               std::size_t generated_words, std::size_t max_words, unsigned threads);

  std::size_t entries() const { return words_.size(); }
  // Entry of the empty word with a generated word.
  std::size_t empty_entry(WordId generated) const { return generated; }
  // Entry of two words that meet somewhere.
  std::size_t entry(WordId given, WordId generated) const;
  float probability(std::size_t entry) const { return probabilities_[entry]; }
  void add(std::size_t entry, double expected) { add_fixed(counts_[entry], expected); }
  // Turns the counts into probabilities and clears them. prior > 0: the mean
  // of the logarithm under a symmetric Dirichlet prior (variational Bayes).
  void normalise(double prior, unsigned threads);

 private:
  std::vector<std::uint64_t> rows_;  // row r is entries rows_[r] to rows_[r + 1]
  std::vector<WordId> words_;        // ascending within a row
  std::vector<float> probabilities_;
  std::vector<std::uint64_t> counts_;  // fixed point
};

}  // namespace koralite::toolkit
