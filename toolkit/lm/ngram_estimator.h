// Estimates an interpolated modified Kneser-Ney language model from text in
// memory, and prunes it. All n-grams of all orders come out of one sort of the
// text's positions by the words before them, so an order costs one pass over
// an array. Deterministic for any number of threads.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "toolkit/io/progress.h"
#include "toolkit/lm/ngram_model.h"

namespace koralite::toolkit {

struct NgramOptions {
  std::size_t order = 5;  ///< 1 to 8
  // N-grams of n words seen fewer than min_counts[n - 1] times are dropped when
  // nothing longer that stays needs them; missing values are 1. Words all stay.
  std::vector<std::uint32_t> min_counts;
  // N-grams are dropped while that changes the model's entropy (relative, in
  // nats, weighted by how often their context was seen) by less than this.
  //
  // Stolcke, "Entropy-based pruning of backoff language models" (1998): dropping w after h costs
  // -p(h) (p(w|h) (ln p(w|h') + ln a'(h) - ln p(w|h)) + (ln a'(h) - ln a(h)) r(h)), with h' the
  // shorter context, a and a' the back-off weight before and after, and r what h leaves over for
  // words without an n-gram. Here p(h) is the share of the text's words that follow h: the
  // probabilities of shorter n-grams are those of back-off under Kneser-Ney smoothing and would
  // give h too little or too much. The limit is of the cost itself, not of the perplexity's change,
  // and the n-grams of one order are judged each as if the others stayed.
  double entropy_threshold = 0;
  unsigned threads = 0;  ///< 0: all cores
};

struct NgramStatistics {
  std::vector<std::uint64_t> counted;            ///< n-grams by order
  std::vector<std::uint64_t> kept;               ///< after pruning
  std::vector<std::array<double, 3>> discounts;  ///< by order
};

// Memory: about 16 + 4 x order bytes a token while counting, 28 bytes per different
// n-gram after that. Throws std::runtime_error on an empty text or an order
// outside 1 to 8.
NgramModel estimate_ngrams(const NgramText& text, const NgramOptions& options,
                           NgramStatistics* statistics = nullptr, const Progress& progress = {});

}  // namespace koralite::toolkit
