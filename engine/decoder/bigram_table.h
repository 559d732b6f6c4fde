// Which pairs of target words that can meet in one sentence's search are known to
// the language model at all: a bit for each (word before, first word of a phrase),
// found by one pass over each first word's tree. A pair without its bit cannot
// match more than the one word, so its score needs no walk.
//
// Keeps its memory between sentences. With too many words for kMaxBits it marks
// every pair as known, which is slower and changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"

namespace koralite::decoder {

class BigramTable {
 public:
  static constexpr std::size_t kMaxBits = std::size_t{8} << 20;  // 1 MB

  // `before` and `first`: distinct word ids, `before` in ascending order. Their
  // places in these lists are what the table is asked by.
  void build(const CompactLmModel& lang_model, std::span<const std::int32_t> before,
             std::span<const std::int32_t> first);

  bool known(std::uint32_t before, std::uint32_t first) const {
    return row_words_ == 0 || (bits_[before * row_words_ + first / 64] >> (first % 64) & 1) != 0;
  }

  std::size_t memory() const { return bits_.capacity() * sizeof(bits_[0]); }

 private:
  void mark(std::size_t before, std::size_t first) {
    bits_[before * row_words_ + first / 64] |= std::uint64_t{1} << (first % 64);
  }

  std::size_t row_words_ = 0;  // 0: all pairs count as known
  std::vector<std::uint64_t> bits_;
};

}  // namespace koralite::decoder
