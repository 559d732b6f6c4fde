// One way to translate a span of the source sentence.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace koralite::decoder {

struct Option {
  static constexpr int kMaxSource = 8;
  static constexpr int kMaxTarget = 8;
  static constexpr int kMaxSentence = 32;  // source words that are searched together

  std::uint8_t start = 0;  // source span, both inclusive
  std::uint8_t end = 0;
  std::uint8_t word_count = 0;     // target words
  bool scored = false;             // has its scores; until then `score` is the translation score
  std::uint32_t alignment = 0;     // 4 bits a target word: a tag word's source offset in the span
  std::uint32_t prefix = 0;        // its leading target words, see JointScorer
  float score = 0;                 // what it adds when it is applied
  float future = 0;                // what it is expected to add, for order and estimates
  std::array<float, 6> reorder{};  // monotone, swap, discontinuous: after the previous phrase,
                                   // before the next one
  std::array<std::int32_t, kMaxTarget> words{};

  std::span<const std::int32_t> target() const { return {words.data(), word_count}; }
};

}  // namespace koralite::decoder
