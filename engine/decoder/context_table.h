// The language model contexts of one sentence: each distinct sequence of up to
// seven last target words has one number, so that hypotheses compare and hash a
// number instead of words. Beside each context stands what the language model
// knows about it, found once, when it is first asked for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"

namespace koralite::decoder {

class ContextTable {
 public:
  static constexpr std::size_t kMaxWords = LangModel::kMaxContext;

  static constexpr std::uint32_t kNowhere = 0xFFFFFFFFU;

  // What a context adds to the score of a word that it does not match, and to
  // bounds.
  struct knowledge_t {
    std::uint32_t place = kNowhere;  // of its last word among the words before
    std::size_t add_count = 0;
    std::array<float, kMaxWords> adds;  // its back-offs, in the order in which they are added
    float raise = 0;                    // more than those that are positive can add
  };

  // `keep`: how many words a context keeps, at most kMaxWords.
  ContextTable(const CompactLmModel& lang_model, std::size_t keep);

  // Forgets all contexts. `before` are the words that contexts can end with,
  // ascending; they must stay in place.
  void start_sentence(std::span<const std::int32_t> before);

  // The context of these words; only the caller's first one may be longer than `keep`.
  std::uint32_t find(std::span<const std::int32_t> words);
  // The context after `words` were put behind `context`.
  std::uint32_t extend(std::uint32_t context, std::span<const std::int32_t> words);

  std::span<const std::int32_t> words(std::uint32_t context) const {
    const entry_t& entry = entries_[context];
    return {entry.words.data(), entry.count};
  }
  // Valid until something is asked about another context.
  const lm_levels_t& levels(std::uint32_t context) { return learn(context).levels; }
  const knowledge_t& knowledge(std::uint32_t context) { return learn(context).knowledge; }

  std::size_t size() const { return entries_.size(); }
  std::size_t memory() const;

 private:
  // Small, as most contexts are compared and never asked about.
  struct entry_t {
    std::array<std::int32_t, kMaxWords> words;
    std::uint32_t hash;
    std::uint32_t learned;  // place in learned_, 0 for none yet
    std::uint32_t count;
  };
  struct learned_t {
    knowledge_t knowledge;
    lm_levels_t levels;
  };

  const learned_t& learn(std::uint32_t context) {
    entry_t& entry = entries_[context];
    if (entry.learned == 0) {
      learn(entry);
    }
    return learned_[entry.learned];
  }
  void learn(entry_t& entry);

  void grow();

  const CompactLmModel& lang_model_;
  std::size_t keep_;
  std::span<const std::int32_t> before_;
  std::vector<entry_t> entries_;
  std::vector<learned_t> learned_;    // the first one stands for none
  std::vector<std::uint32_t> slots_;  // open addressing: entry + 1, 0 for a free slot
};

}  // namespace koralite::decoder
