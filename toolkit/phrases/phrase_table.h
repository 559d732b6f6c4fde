// From aligned sentence pairs to scored phrase pairs: extraction of all pairs
// of up to eight words a side that agree with the alignment, counting, scoring,
// pruning, and the counts of how each phrase is placed after the previous one
// and before the next.
//
// Memory is bounded: extraction runs over the text as often as needed, each
// time for a share of the source phrases only, and what was counted goes to a
// temporary file when it takes more than one run. The result, order included,
// is the same for any number of threads and any budget.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>

#include "toolkit/align/alignment.h"
#include "toolkit/io/corpus.h"
#include "toolkit/io/progress.h"

namespace koralite::toolkit {

// How the place of a phrase is told from its neighbour's.
enum class OrientationModel {
  kWord,    // by a link at the corner of the phrase pair
  kPhrase,  // by a phrase pair, of any extracted size, that begins or ends at the corner
};

enum class PhraseSmoothing {
  kNone,  // plain relative frequencies
  // Modified Kneser-Ney, after Foster, Kuhn and Johnson, "Phrasetable smoothing for statistical
  // machine translation" (2006): p(t | s) = (c(s, t) - D) / c(s) + what the discounts of s freed,
  // times the share that t has of all different pairs. One set of discounts
  // (toolkit/lm/discounts.h) serves both ways.
  kKneserNey,
};

struct PhraseOptions {
  std::size_t max_source = 8;  // words, 1 to 8
  std::size_t max_target = 8;  // words, 1 to 8
  OrientationModel orientation = OrientationModel::kPhrase;
  PhraseSmoothing smoothing = PhraseSmoothing::kKneserNey;
  std::uint32_t min_count = 1;         // rarer pairs are dropped
  double min_significance = 0;         // -ln of Fisher's p below which a pair is dropped
  std::size_t always_significant = 0;  // source words up to which it is kept all the same
  double min_lexical = 0;  // geometric mean of word probabilities, either way, below which a pair
                           // that was seen once is dropped
  std::size_t max_targets = 0;             // kept per source phrase, best first; 0: all
  std::size_t memory = 1U << 30U;          // bytes for what one run extracts
  unsigned threads = 0;                    // 0: all cores
  std::uint64_t fingerprint_mask = ~0ULL;  // fewer bits make collisions, for tests
};

// The two triples of Orientation counts: monotone, swap, discontinuous.
enum Orientation : std::uint8_t { kMonotone = 0, kSwap = 1, kDiscontinuous = 2 };

struct PhrasePair {
  std::span<const WordId> source;
  std::span<const WordId> target;
  double forward = 0;          // p(target | source)
  double forward_lexical = 0;  // by the word translations inside
  double backward = 0;         // p(source | target)
  double backward_lexical = 0;
  std::uint32_t count = 0;  // times extracted
  std::uint32_t source_count = 0;
  std::uint32_t target_count = 0;
  double significance = 0;  // -ln of Fisher's p that the two meet this often by chance
  std::array<std::uint32_t, 3> previous{};  // placed after the previous phrase
  std::array<std::uint32_t, 3> next{};      // next phrase placed after this one
  std::uint64_t links = 0;                  // most frequent alignment: bit s * 8 + t
};

struct PhraseStatistics {
  std::uint64_t instances = 0;              // extracted
  std::uint64_t pairs = 0;                  // different ones
  std::uint64_t kept = 0;                   // after pruning
  std::uint64_t sources = 0;                // different source phrases that kept a pair
  std::array<double, 3> discounts{};        // of pairs seen once, twice, oftener
  std::array<std::uint64_t, 3> previous{};  // orientation counts over all instances
  std::array<std::uint64_t, 3> next{};
  int runs = 0;  // over the text
};

// Receives the kept pairs of one source phrase, best first, on the calling thread.
using PhraseSink = std::function<void(std::span<const PhrasePair>)>;

// Throws std::runtime_error on impossible options, on more than 2^32 tokens a
// side, and when the temporary file cannot be written.
PhraseStatistics build_phrase_table(const Bitext& bitext, const Alignment& alignment,
                                    const PhraseOptions& options, const PhraseSink& sink,
                                    const Progress& progress = {});

// -ln of the probability that, of `sentences` pairs, at least `both` hold source
// and target phrase when `source` and `target` hold one each and chance decides.
//
// Johnson, Martin, Foster and Kuhn, "Improving translation quality by discarding most of the
// phrasetable" (2007): Fisher's exact test, the tail k >= both of the hypergeometric distribution
// C(source, k) C(sentences - source, target - k) / C(sentences, target). A pair that was seen once,
// of phrases that were seen once, has ln(sentences). The numbers are of sentences in which the
// phrase was extracted, not of all in which its words stand.
double fisher_significance(std::uint64_t both, std::uint64_t source, std::uint64_t target,
                           std::uint64_t sentences);

}  // namespace koralite::toolkit
