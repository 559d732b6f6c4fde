// One phrase pair on its way into a packed phrase table, whoever made it: an
// importer, a training run or a test. Plain values of word ids.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace koralite::toolkit {

// A phrase of at most kMaxWords word ids. More can be counted (`count`) but not
// held; builders refuse such phrases.
struct phrase_t {
  static constexpr std::size_t kMaxWords = 8;

  std::uint32_t count = 0;
  std::array<std::int32_t, kMaxWords> ids{};

  phrase_t() = default;
  explicit phrase_t(std::span<const std::int32_t> words) {
    for (const std::int32_t word : words) {
      push_back(word);
    }
  }
  void push_back(std::int32_t word) {
    if (count < kMaxWords) {
      ids[count] = word;
    }
    ++count;
  }
  bool fits() const { return count <= kMaxWords; }
  std::span<const std::int32_t> words() const {
    return {ids.data(), count < kMaxWords ? count : kMaxWords};
  }
};

// What the six reordering values of an entry are. Order: monotone, swap,
// discontinuous towards the phrase before, then the same towards the one after.
enum class ReorderingKind : std::uint8_t {
  kNone,     // unknown: all outcomes alike
  kCounts,   // how often each outcome was seen (whole numbers)
  kLogProbs  // natural-log probabilities
};

struct phrase_entry_t {
  phrase_t source;
  phrase_t target;
  float translation = 0.0F;  // natural-log units; the weighted sum of all translation features
  ReorderingKind kind = ReorderingKind::kNone;
  std::array<float, 6> reordering{};
};

}  // namespace koralite::toolkit
