// BLEU, from sentences to a corpus score. A BleuScorer holds the references of
// a test set, cut into words and counted once; scoring a translation against
// them is read-only and safe from any number of threads.
//
// Papineni, Roukos, Ward and Zhu, "BLEU: a method for automatic evaluation of machine translation"
// (2002), section 2.3: exp(min(0, 1 - r / c) + mean of ln p_n) for n of 1 to 4, with c the words of
// the translations and r the sum of the reference lengths closest to each of them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/eval/tokenizer.h"

namespace koralite::toolkit {

// What BLEU needs of a sentence. A corpus has the sum of its sentences'.
struct BleuStats {
  std::array<std::int64_t, 4> matches{};  ///< n-grams of 1 to 4 words found in a reference
  std::array<std::int64_t, 4> totals{};   ///< n-grams of the translation
  std::int64_t length = 0;                ///< words of the translation
  std::int64_t reference = 0;             ///< words of the reference closest in length

  BleuStats& operator+=(const BleuStats& other);
  BleuStats& operator-=(const BleuStats& other);
  friend bool operator==(const BleuStats&, const BleuStats&) = default;
};

struct BleuScore {
  double score = 0;  ///< 0 to 100
  std::array<double, 4> precisions{};
  double brevity = 1;
  std::int64_t length = 0;
  std::int64_t reference = 0;

  double ratio() const;
  // "41.20 68.1/47.5/35.2/27.0 (BP = 0.981 ratio = 0.981 hyp_len = 9810 ref_len = 10000)"
  std::string text() const;
};

// Corpus score: geometric mean of the precisions times the brevity penalty. A
// precision without a match counts as half, a quarter, ... of one match, so that
// one empty order does not make the whole score 0.
BleuScore bleu(const BleuStats& stats);

struct BleuOptions {
  Tokenizer tokenizer = Tokenizer::k13a;
  bool lower_case = false;
};

class BleuScorer {
 public:
  // references[r][i] is reference r of sentence i. Throws std::runtime_error
  // when there is none or their lengths differ.
  BleuScorer(std::span<const std::vector<std::string>> references, const BleuOptions& options);

  std::size_t size() const { return sentences_.size(); }
  BleuStats sentence(std::size_t index, std::string_view translation) const;
  // All sentences. Throws std::runtime_error when their number is another.
  std::vector<BleuStats> sentences(std::span<const std::string> translations) const;
  // "nrefs:1|case:mixed|eff:no|tok:13a|smooth:exp|version:kora-1.0.0"
  std::string signature() const;

 private:
  using Gram = std::array<std::uint64_t, 4>;  // fingerprints of words, 0 where it is shorter
  struct Counted {
    Gram gram;
    std::int64_t count;
  };
  struct Sentence {
    std::array<std::vector<Counted>, 4> grams;  // sorted, most often in any one reference
    std::vector<std::int64_t> lengths;
  };
  std::vector<std::uint64_t> words(std::string_view text) const;
  static std::vector<Counted> count(std::span<const std::uint64_t> words, std::size_t n);

  BleuOptions options_;
  std::size_t references_;
  std::vector<Sentence> sentences_;
};

}  // namespace koralite::toolkit
