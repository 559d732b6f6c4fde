// Word alignments: which target word comes from which source word. A
// DirectedAlignment is what a one-to-many model gives (each target word has one
// source word or none), an Alignment is any set of links per sentence pair, and
// symmetrize makes the second out of two of the first: Koehn, Och and Marcu, "Statistical
// phrase-based translation" (2003), section 3 grows the intersection over neighbours in the union;
// "and" in the last step of grow-diag-final-and asks that both words of a link are still without.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "toolkit/io/corpus.h"

namespace koralite::toolkit {

// One link, positions counted from 0 within the sentence.
struct Link {
  std::uint16_t source = 0;
  std::uint16_t target = 0;

  friend bool operator==(const Link&, const Link&) = default;
  friend bool operator<(const Link& a, const Link& b) {
    return a.source != b.source ? a.source < b.source : a.target < b.target;
  }
};

// Per generated word the index of the generating word, kUnaligned for none.
struct DirectedAlignment {
  static constexpr std::int16_t kUnaligned = -1;
  std::vector<std::int16_t> from;  ///< one per token of the generated text
};

// Links of all sentence pairs, sorted within a pair by (source, target).
class Alignment {
 public:
  std::size_t size() const { return starts_.size() - 1; }
  std::size_t links() const { return links_.size(); }
  std::span<const Link> operator[](std::size_t pair) const {
    return std::span<const Link>(links_).subspan(starts_[pair], starts_[pair + 1] - starts_[pair]);
  }
  void add(std::span<const Link> links);

 private:
  std::vector<Link> links_;
  std::vector<std::size_t> starts_{0};
};

enum class Symmetrization {
  kIntersect,         ///< links of both
  kGrowDiag,          ///< grown from the intersection over neighbours, diagonal ones too
  kGrowDiagFinalAnd,  ///< and links between two words that are both still without
  kUnion,             ///< links of either
};

// Links of one pair. forward[j] is the source index of target word j, backward[i]
// the target index of source word i.
std::vector<Link> symmetrize(std::span<const std::int16_t> forward,
                             std::span<const std::int16_t> backward, Symmetrization method);

// The same for all pairs.
Alignment symmetrize(const Bitext& bitext, const DirectedAlignment& forward,
                     const DirectedAlignment& backward, Symmetrization method, unsigned threads);

// "0-0 1-2 2-1" and back. Parsing throws std::runtime_error for other text.
std::string to_text(std::span<const Link> links);
std::vector<Link> parse_links(std::string_view text);

}  // namespace koralite::toolkit
