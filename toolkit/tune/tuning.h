// Minimum error rate training: finds the weights of a linear model under which
// the best-scored candidates of n-best lists give the highest BLEU. Along a
// line in weight space the best candidate of each sentence changes at few
// points, all of which are found exactly (the upper envelope of straight
// lines), so a line is searched completely, not sampled.
//
// Och, "Minimum error rate training in statistical machine translation" (2003), section 5: along
// weights + x direction the score of a candidate is the line offset + x slope, so the corpus score
// is constant between the points where a sentence's upper envelope changes. The envelope is built
// by one pass over the lines in order of slope, as in the sweep of Macherey, Och, Thayer and
// Uszkoreit, "Lattice-based minimum error rate training for statistical machine translation"
// (2008). Here the weights step to the middle of the best stretch, directions are the axes and
// random ones, translations that are too long cost something, and the mean of several optima is
// tried in the end.
//
// Deterministic for any number of threads: each restart has its own random
// numbers, and of equal results the first restart's is taken.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "toolkit/eval/bleu.h"
#include "toolkit/io/progress.h"

namespace koralite::toolkit {

struct TuneCandidate {
  std::vector<float> features;
  BleuStats stats;

  friend bool operator==(const TuneCandidate&, const TuneCandidate&) = default;
};

// Candidates by sentence, each sentence's best first.
using NbestLists = std::vector<std::vector<TuneCandidate>>;

// Translates the tuning set. Implemented by whoever drives the decoder.
class NbestProvider {
 public:
  virtual ~NbestProvider() = default;
  // n-best lists under these weights. Always the same sentences, in order, and
  // as many features as weights.
  virtual NbestLists decode(std::span<const double> weights) = 0;
};

struct WeightRange {
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
};

struct MertOptions {
  int restarts = 8;           ///< random starting points beside the given one
  int random_directions = 8;  ///< tried in each sweep beside one per weight
  std::uint64_t seed = 1;
  std::vector<WeightRange> ranges;  ///< by weight; missing ones are unbounded
  std::vector<bool> fixed;          ///< weights that must not change; missing: free
  // Translations longer than this share of the references are punished: the
  // score is multiplied with exp(1 - ratio / max_ratio), as brevity is.
  double max_ratio = 1.05;
  unsigned threads = 0;
};

struct MertResult {
  std::vector<double> weights;
  double score = 0;  ///< as punished, on the lists
  BleuScore bleu;    ///< on the lists
};

// What is maximised: BLEU, with over-long translations punished.
double tuning_score(const BleuStats& stats, double max_ratio);

// The best weights for these lists, reached from `start`. Sentences without a
// candidate count nothing. Throws std::runtime_error on features or options
// that do not fit the weights.
MertResult optimise_weights(const NbestLists& lists, std::span<const double> start,
                            const MertOptions& options);

struct TuneOptions {
  MertOptions mert;
  int rounds = 10;         ///< translations of the tuning set at most
  double enough = 0.0001;  ///< stop when no weight moves by more (of their sum)
  int patience = 3;        ///< or when so many rounds brought no better translation
  /// Optima on all candidates, from as many seeds, whose mean is tried in the end; below 2: none.
  int averaged = 0;
};

struct TuneRound {
  std::vector<double> weights;
  BleuScore bleu;              ///< of the real translation under these weights
  double score = 0;            ///< the same, punished
  double expected = 0;         ///< on the lists, by the round before
  std::size_t candidates = 0;  ///< different ones so far
};

struct TuneResult {
  std::vector<double> weights;  ///< of the best round
  std::size_t best = 0;
  std::vector<TuneRound> rounds;
};

// Translates, adds the candidates to those of earlier rounds, optimises, and
// begins again. The weights are scaled so that their absolute values sum to what
// those of `start` do.
TuneResult tune(NbestProvider& provider, std::span<const double> start, const TuneOptions& options,
                const std::function<void(const TuneRound&)>& after_round = {},
                const Progress& progress = {});

}  // namespace koralite::toolkit
