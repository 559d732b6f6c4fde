// Scores phrases after contexts for the search, and bounds those scores from
// above without knowing the context. Gives what CompactLmModel::compute_joint_score
// gives, bit for bit, asking the model as little as possible:
//
// - The options of a sentence share prefixes: each distinct sequence of leading
//   target words that a joint score sees is one number ("prefix"), linked to the
//   prefix without its last word.
// - A memo of fixed size remembers the sum for (context, prefix) and the model's
//   levels of the prefix's last word. A score that is asked for again is found, and
//   a longer phrase goes on from what its prefix left. Entries are overwritten when
//   they collide, which costs time and changes nothing.
//
// Lives in one decoder; keeps its memory from sentence to sentence.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "decoder/context_table.h"

namespace koralite::decoder {

class JointScorer {
 public:
  explicit JointScorer(const CompactLmModel& lang_model);

  // Forgets prefixes and contexts of the last sentence. `after` are the words
  // that a context of the next one can hold (repeated ones are welcome).
  void start_sentence(std::span<const std::int32_t> after);

  // The prefix of a phrase. Prefix 0 is the empty one.
  std::uint32_t add_prefix(std::span<const std::int32_t> words);

  // An upper bound of the joint score of the prefix after any context.
  float upper(std::uint32_t prefix) const { return prefixes_[prefix].upper; }

  // The joint score of the prefix after the context.
  float joint(std::uint32_t context, std::uint32_t prefix) {
    return joint(context, prefix, [](float) { return false; });
  }

  // The same, but gives up and returns a bound once `refused(bound)` says that an
  // upper bound of the score is too low. Only asked of prefixes that are not yet
  // known.
  template <typename Refused>
  float joint(std::uint32_t context, std::uint32_t prefix, Refused&& refused);

  ContextTable& contexts() { return contexts_; }

  std::uint64_t joint_count() const { return joint_count_; }
  std::uint64_t ngram_count() const { return ngram_count_; }
  std::size_t memory() const;

 private:
  static constexpr std::size_t kMemoSize = std::size_t{1} << 14;
  static constexpr int kMaxPrefix = LangModel::kMaxOrder - 1;

  struct prefix_t {
    std::uint32_t parent = 0;
    std::int32_t word = 0;
    int length = 0;
    float word_upper = 0;  // bound of its last word's score
    float upper = 0;       // of the whole prefix: the bounds of its words, added in their order
  };
  struct memo_t {
    std::uint32_t context = 0;  // with the sentence's base added, so old entries match nothing
    std::uint32_t prefix = 0;
    float sum = 0;
    lm_levels_t levels;
  };

  float bound_of_word(std::span<const std::int32_t> words);
  std::size_t memo_place(std::uint32_t context, std::uint32_t prefix) const {
    const std::uint64_t key = static_cast<std::uint64_t>(context) << 32 | prefix;
    return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> 40) & (kMemoSize - 1);
  }
  void grow_prefix_slots();

  const CompactLmModel& lang_model_;
  std::size_t order_;
  ContextTable contexts_;
  std::uint32_t base_ = 1;
  float max_back_off_ = 0;
  std::vector<prefix_t> prefixes_;
  std::vector<std::uint32_t> prefix_slots_;  // open addressing: prefix, 0 for a free slot
  std::vector<memo_t> memo_;
  std::uint64_t joint_count_ = 0;
  std::uint64_t ngram_count_ = 0;
};

template <typename Refused>
float JointScorer::joint(std::uint32_t context, std::uint32_t prefix, Refused&& refused) {
  ++joint_count_;
  if (prefix == 0) return 0.0F;
  // Back to the longest prefix whose score is known, then forward again.
  const std::uint32_t key = base_ + context;
  std::array<std::uint32_t, kMaxPrefix> path;
  int unknown = 0;
  float sum = 0.0F;
  const lm_levels_t* before = nullptr;
  for (std::uint32_t at = prefix; at != 0; at = prefixes_[at].parent) {
    const memo_t& memo = memo_[memo_place(key, at)];
    if (memo.context == key && memo.prefix == at) {
      if (unknown == 0) return memo.sum;
      sum = memo.sum;
      before = &memo.levels;
      break;
    }
    path[static_cast<std::size_t>(unknown++)] = at;
  }
  if (before == nullptr) before = &contexts_.levels(context);

  std::array<std::int32_t, LangModel::kMaxContext + kMaxPrefix> words;
  const std::span<const std::int32_t> known = contexts_.words(context);
  auto* end = std::copy(known.begin(), known.end(), words.data());
  const int length = prefixes_[prefix].length;
  end += length;
  for (std::uint32_t at = prefix; at != 0; at = prefixes_[at].parent) *--end = prefixes_[at].word;
  end += length - unknown;

  std::array<lm_levels_t, 2> levels;
  while (unknown-- > 0) {
    const std::uint32_t at = path[static_cast<std::size_t>(unknown)];
    ++end;
    const auto joined = static_cast<std::size_t>(end - words.data());
    const std::size_t window = std::min(joined, order_);
    lm_levels_t& here = levels[static_cast<std::size_t>(unknown % 2)];
    sum += lang_model_.ngram_score({end - window, window}, *before, here);
    ++ngram_count_;
    memo_[memo_place(key, at)] = {key, at, sum, here};
    before = &here;
    if (unknown > 0) {
      float bound = sum;
      for (int k = unknown; k-- > 0;) {
        bound += prefixes_[path[static_cast<std::size_t>(k)]].word_upper;
      }
      if (refused(bound)) return bound;
    }
  }
  return sum;
}

}  // namespace koralite::decoder
