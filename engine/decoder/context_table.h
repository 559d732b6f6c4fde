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

  // `keep`: how many words a context keeps, at most kMaxWords.
  ContextTable(const CompactLmModel& lang_model, std::size_t keep);

  void clear();

  // The context of these words; only the caller's first one may be longer than `keep`.
  std::uint32_t find(std::span<const std::int32_t> words);
  // The context after `words` were put behind `context`.
  std::uint32_t extend(std::uint32_t context, std::span<const std::int32_t> words);

  std::span<const std::int32_t> words(std::uint32_t context) const {
    const entry_t& entry = entries_[context];
    return {entry.words.data(), entry.count};
  }
  const lm_levels_t& levels(std::uint32_t context);

  std::size_t size() const { return entries_.size(); }
  std::size_t memory() const;

 private:
  struct entry_t {
    std::array<std::int32_t, kMaxWords> words;
    std::uint8_t count;
    bool walked;
    std::uint32_t hash;
    lm_levels_t levels;
  };

  void grow();

  const CompactLmModel& lang_model_;
  std::size_t keep_;
  std::vector<entry_t> entries_;
  std::vector<std::uint32_t> slots_;  // open addressing: entry + 1, 0 for a free slot
};

}  // namespace koralite::decoder
