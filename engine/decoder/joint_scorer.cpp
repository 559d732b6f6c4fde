#include "decoder/joint_scorer.h"

#include <algorithm>
#include <limits>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstPrefixSlots = 4096;
constexpr std::uint32_t kLastBase = std::numeric_limits<std::uint32_t>::max() / 2;

std::size_t hash_prefix(std::uint32_t parent, std::int32_t word) {
  const std::uint64_t key =
      static_cast<std::uint64_t>(parent) << 32 | static_cast<std::uint32_t>(word);
  return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> 32);
}

}  // namespace

JointScorer::JointScorer(const CompactLmModel& lang_model)
    : lang_model_(lang_model),
      order_(static_cast<std::size_t>(lang_model.order())),
      contexts_(lang_model, std::min(order_ - 1, LangModel::kMaxContext)),
      prefixes_(1),
      prefix_slots_(kFirstPrefixSlots),
      memo_(kMemoSize) {}

void JointScorer::start_sentence(std::span<const std::int32_t> after) {
  base_ += static_cast<std::uint32_t>(contexts_.size());
  if (base_ > kLastBase) {
    std::fill(memo_.begin(), memo_.end(), memo_t{});
    base_ = 1;
  }
  contexts_.clear();
  prefixes_.resize(1);
  std::fill(prefix_slots_.begin(), prefix_slots_.end(), 0);
  max_back_off_ = 0;
  for (const std::int32_t word : after) {
    max_back_off_ = std::max(max_back_off_, lang_model_.max_back_off(word));
  }
}

std::uint32_t JointScorer::add_prefix(std::span<const std::int32_t> words) {
  const std::size_t length = std::min(words.size(), order_ - 1);
  std::uint32_t at = 0;
  for (std::size_t k = 1; k <= length; ++k) {
    const std::int32_t word = words[k - 1];
    std::size_t slot = hash_prefix(at, word) & (prefix_slots_.size() - 1);
    std::uint32_t found = 0;
    while ((found = prefix_slots_[slot]) != 0 &&
           (prefixes_[found].parent != at || prefixes_[found].word != word)) {
      slot = (slot + 1) & (prefix_slots_.size() - 1);
    }
    if (found == 0) {
      found = static_cast<std::uint32_t>(prefixes_.size());
      prefix_slots_[slot] = found;
      const float bound = bound_of_word(words.first(k));
      prefixes_.push_back({at, word, static_cast<int>(k), bound, prefixes_[at].upper + bound});
      if (prefixes_.size() * 2 > prefix_slots_.size()) grow_prefix_slots();
    }
    at = found;
  }
  return at;
}

void JointScorer::grow_prefix_slots() {
  prefix_slots_.assign(prefix_slots_.size() * 2, 0);
  for (std::uint32_t prefix = 1; prefix < prefixes_.size(); ++prefix) {
    const prefix_t& entry = prefixes_[prefix];
    std::size_t slot = hash_prefix(entry.parent, entry.word) & (prefix_slots_.size() - 1);
    while (prefix_slots_[slot] != 0) slot = (slot + 1) & (prefix_slots_.size() - 1);
    prefix_slots_[slot] = prefix;
  }
}

// A bound of the last word's score when other words may stand before `words`. The
// walk of `words` may have ended inside them: then words before them change
// nothing about the match. Otherwise a longer match may be better.
float JointScorer::bound_of_word(std::span<const std::int32_t> words) {
  const auto length = static_cast<int>(words.size());
  lm_levels_t levels;
  lm_levels_t before;
  if (lang_model_.TrieSearchInvert(words, levels) == 0) return LangModel::LM_UNK_PROB;
  const std::span<const std::int32_t> context = words.first(words.size() - 1);
  if (!context.empty()) lang_model_.TrieSearchInvert(context, before);
  float bound = lang_model_.score(length, levels, before);
  if (levels.count == length) bound = std::max(bound, lang_model_.max_probability(words.back()));
  // The back-offs of contexts that reach before `words` come on top.
  const bool context_reaches_out = before.count == length - 1;
  if (context_reaches_out && max_back_off_ > 0) {
    for (std::size_t k = 0; k + 1 < order_; ++k) bound += max_back_off_;
  }
  return bound;
}

std::size_t JointScorer::memory() const {
  return contexts_.memory() + prefixes_.capacity() * sizeof(prefix_t) +
         prefix_slots_.capacity() * sizeof(std::uint32_t) + memo_.capacity() * sizeof(memo_t);
}

}  // namespace koralite::decoder
