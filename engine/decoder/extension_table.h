// Which words before a phrase the language model knows as longer contexts of its leading words
// ("prefixes", see JointScorer): a bit for each pair of a prefix and a word before it, found by one
// pass over the prefix's group in its tree, and the tree's record of each pair that is known.
// Without its bit a word before changes nothing about what the prefix matches, so its score needs
// no walk; the walk of a known one begins at its record.
//
// Keeps its memory between sentences. With too many words for kMaxBits or too many
// pairs for kMaxPairs it is not `filled`: every pair may be known and none has
// a record, which is slower and changes nothing.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"

namespace koralite::decoder {

class ExtensionTable {
 public:
  static constexpr std::size_t kMaxBits = std::size_t{8} << 20U;   // 1 MB, and 1 MB of ranks
  static constexpr std::size_t kMaxPairs = std::size_t{1} << 18U;  // 3 MB

  // A record, and the highest probability of the n-grams beyond it, which have more words before:
  // minus infinity if there are none.
  struct extension_t {
    lm_step_t step;
    float beyond = 0;
  };

  // Starts a table of `rows` rows, to be added one by one. `before`: distinct words in ascending
  // order, which must stay in place; what the table is asked by are places in it.
  void start(const CompactLmModel& lang_model, std::span<const std::int32_t> before,
             std::size_t rows);

  // The row of a prefix that ends in `last` and goes on along `path`.
  void add_row(const lm_path_t& path, std::int32_t last, bool one_word);

  bool filled() const { return row_words_ != 0; }

  // Null for a pair that is not known. Only when filled.
  const extension_t* find(std::uint32_t before, std::uint32_t row) const {
    const part_t& here = parts_[row * row_words_ + before / 64];
    const std::uint64_t bit = std::uint64_t{1} << (before % 64);
    if ((here.bits & bit) == 0) {
      return nullptr;
    }
    return &pairs_[here.rank + static_cast<std::size_t>(std::popcount(here.bits & (bit - 1)))];
  }

  std::size_t memory() const {
    return parts_.capacity() * sizeof(part_t) + pairs_.capacity() * sizeof(extension_t);
  }

 private:
  // 64 words before: which make a pair, and the place of the first such pair.
  struct part_t {
    std::uint64_t bits = 0;
    std::size_t rank = 0;
  };

  const CompactLmModel* lang_model_ = nullptr;
  std::span<const std::int32_t> before_;
  std::size_t first_usable_ = 0;  // places of words that the model can hold
  std::size_t last_usable_ = 0;
  std::size_t row_words_ = 0;
  std::size_t next_row_ = 0;
  std::vector<part_t> parts_;
  std::vector<extension_t> pairs_;
};

}  // namespace koralite::decoder
