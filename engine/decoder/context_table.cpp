#include "decoder/context_table.h"

#include <algorithm>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstSlots = 4096;

std::uint32_t hash_words(std::span<const std::int32_t> words) {
  std::uint64_t hash = words.size();
  for (const std::int32_t word : words) {
    hash = (hash ^ static_cast<std::uint32_t>(word)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 32;
  }
  return static_cast<std::uint32_t>(hash);
}

// The sizes were compared.
bool same_words(std::span<const std::int32_t> words,
                const std::array<std::int32_t, ContextTable::kMaxWords>& others) {
  std::int32_t differences = 0;
  for (std::size_t k = 0; k < words.size(); ++k) {
    differences |= words[k] ^ others[k];
  }
  return differences == 0;
}

}  // namespace

ContextTable::ContextTable(const CompactLmModel& lang_model, std::size_t keep)
    : lang_model_(lang_model), keep_(keep), slots_(kFirstSlots) {}

void ContextTable::start_sentence(std::span<const std::int32_t> before) {
  before_ = before;
  entries_.clear();
  learned_.resize(1);
  std::fill(slots_.begin(), slots_.end(), 0);
}

std::uint32_t ContextTable::find(std::span<const std::int32_t> words) {
  const std::uint32_t hash = hash_words(words);
  std::size_t slot = hash & (slots_.size() - 1);
  for (; slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
    const entry_t& entry = entries_[slots_[slot] - 1];
    if (entry.hash == hash && entry.count == words.size() && same_words(words, entry.words)) {
      return slots_[slot] - 1;
    }
  }
  entry_t& entry = entries_.emplace_back();
  std::copy(words.begin(), words.end(), entry.words.begin());
  entry.count = static_cast<std::uint32_t>(words.size());
  entry.learned = 0;
  entry.hash = hash;
  const auto number = static_cast<std::uint32_t>(entries_.size());
  slots_[slot] = number;
  if (entries_.size() * 2 > slots_.size()) {
    grow();
  }
  return number - 1;
}

void ContextTable::grow() {
  slots_.assign(slots_.size() * 2, 0);
  for (std::uint32_t number = 1; number <= entries_.size(); ++number) {
    std::size_t slot = entries_[number - 1].hash & (slots_.size() - 1);
    while (slots_[slot] != 0) {
      slot = (slot + 1) & (slots_.size() - 1);
    }
    slots_[slot] = number;
  }
}

std::uint32_t ContextTable::extend(std::uint32_t context, std::span<const std::int32_t> words) {
  if (words.size() >= keep_) {
    return find(words.last(keep_));
  }
  const std::span<const std::int32_t> before = this->words(context);
  const std::size_t kept = std::min(before.size(), keep_ - words.size());
  std::array<std::int32_t, kMaxWords> joined;
  std::copy(
      words.begin(), words.end(),
      std::copy(before.end() - static_cast<std::ptrdiff_t>(kept), before.end(), joined.begin()));
  return find({joined.data(), kept + words.size()});
}

void ContextTable::learn(entry_t& entry) {
  entry.learned = static_cast<std::uint32_t>(learned_.size());
  learned_t& learned = learned_.emplace_back();
  if (entry.count == 0) {
    return;
  }
  const std::span<const std::int32_t> words(entry.words.data(), entry.count);
  lang_model_.TrieSearchInvert(words, learned.levels);
  knowledge_t& knowledge = learned.knowledge;
  const auto place = std::lower_bound(before_.begin(), before_.end(), words.back());
  if (place != before_.end() && *place == words.back()) {
    knowledge.place = static_cast<std::uint32_t>(place - before_.begin());
  }
  for (int k = 0; k < learned.levels.count; ++k) {
    const lm_level_t& level = learned.levels.level[static_cast<std::size_t>(k)];
    if (!level.entry) {
      continue;
    }
    const float back_off = lang_model_.back_off(level.back_off);
    knowledge.adds[knowledge.add_count++] = back_off;
    if (back_off > 0) {
      knowledge.raise += back_off;
    }
  }
  // Added at once instead of one by one: more than the roundings can differ.
  if (knowledge.raise > 0) {
    knowledge.raise += (700 + 2 * knowledge.raise) * 0x1p-19F;
  }
}

std::size_t ContextTable::memory() const {
  return entries_.capacity() * sizeof(entry_t) + learned_.capacity() * sizeof(learned_t) +
         slots_.capacity() * sizeof(std::uint32_t);
}

}  // namespace koralite::decoder
