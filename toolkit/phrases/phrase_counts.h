// Totals per phrase of one side, found by the phrase's words. A phrase is a
// place in the training text; the table keeps the first place where it saw a
// phrase and compares words, so that equal fingerprints do no harm. find() is
// safe from any number of threads once adding is over.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/io/corpus.h"

namespace koralite::toolkit {

// `length` words from place `at` of the whole text.
struct PhraseRef {
  std::uint32_t at = 0;
  std::uint32_t length = 0;
};

// Fingerprint of a phrase that is one word longer than the one with print `before`.
inline std::uint64_t phrase_print(std::uint64_t before, WordId word) {
  std::uint64_t x = (before ^ (word + 0x9E3779B97F4A7C15ULL)) * 0xBF58476D1CE4E5B9ULL;
  x ^= x >> 29U;
  x *= 0x94D049BB133111EBULL;
  return x ^ x >> 32U;
}

class PhraseCounts {
 public:
  struct Totals {
    std::uint32_t count = 0;                    ///< instances
    std::uint32_t pairs = 0;                    ///< different partners
    std::uint32_t sentences = 0;                ///< summed over the partners
    std::array<std::uint32_t, 3> pairs_seen{};  ///< partners seen once, twice, oftener
  };

  PhraseCounts(std::span<const WordId> text, std::uint64_t fingerprint_mask)
      : text_(text), mask_(fingerprint_mask), slots_(1024) {}

  // Adds one partner of the phrase.
  void add(const PhraseRef& phrase, std::uint32_t count, std::uint32_t sentences);
  // Totals of a phrase that was added.
  const Totals& find(const PhraseRef& phrase) const { return slots_[slot(phrase)].totals; }
  std::size_t size() const { return used_; }

 private:
  struct Slot {
    PhraseRef phrase;  // length 0: free
    Totals totals;
  };
  std::size_t slot(const PhraseRef& phrase) const;
  void grow();

  std::span<const WordId> text_;
  std::uint64_t mask_;
  std::vector<Slot> slots_;  // a power of two, open addressing
  std::size_t used_ = 0;
};

}  // namespace koralite::toolkit
