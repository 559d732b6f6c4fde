// Which pairs of target words that can meet in one sentence's search are known to
// the language model at all: a bit for each (first word of a phrase, word before),
// found by one pass over each first word's tree, and the tree's record of each
// known pair. A pair without its bit cannot match more than the one word, so its
// score needs no walk; the walk of a known one begins at its record.
//
// Keeps its memory between sentences. With too many words for kMaxBits or too many
// pairs for kMaxPairs it is not `filled`: every pair counts as known and none has
// a record, which is slower and changes nothing.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"

namespace koralite::decoder {

class BigramTable {
 public:
  static constexpr std::size_t kMaxBits = std::size_t{8} << 20;   // 1 MB
  static constexpr std::size_t kMaxPairs = std::size_t{1} << 18;  // 2 MB

  // `before` and `first`: distinct word ids, `before` in ascending order. Their
  // places in these lists are what the table is asked by.
  void build(const CompactLmModel& lang_model, std::span<const std::int32_t> before,
             std::span<const std::int32_t> first);

  bool filled() const { return row_words_ != 0; }

  bool known(std::uint32_t before, std::uint32_t first) const {
    return !filled() || (row(before, first).bits >> (before % 64) & 1) != 0;
  }

  // The record of a pair in the tree of its first word, null for one that is not
  // known. Only when filled.
  const lm_step_t* find(std::uint32_t before, std::uint32_t first) const {
    const row_t& here = row(before, first);
    const std::uint64_t bit = std::uint64_t{1} << (before % 64);
    if ((here.bits & bit) == 0) {
      return nullptr;
    }
    return &steps_[here.rank + static_cast<std::size_t>(std::popcount(here.bits & (bit - 1)))];
  }

  std::size_t memory() const {
    return rows_.capacity() * sizeof(row_t) + steps_.capacity() * sizeof(lm_step_t);
  }

 private:
  // 64 words before: which make a pair, and the place of the first such pair.
  struct row_t {
    std::uint64_t bits = 0;
    std::size_t rank = 0;
  };

  const row_t& row(std::uint32_t before, std::uint32_t first) const {
    return rows_[first * row_words_ + before / 64];
  }

  std::size_t row_words_ = 0;
  std::vector<row_t> rows_;
  std::vector<lm_step_t> steps_;
};

}  // namespace koralite::decoder
