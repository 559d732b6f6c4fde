// One partial translation in a stack of the search. Small, as tens of thousands
// are weighed per sentence: the words stand in the option, the context is a
// number that stands for its words during one sentence.
#pragma once

#include <cstdint>

namespace koralite::decoder {

struct Hypothesis {
  static constexpr std::uint32_t kNone = 0xFFFFFFFFU;

  const Hypothesis* previous = nullptr;  // null for the empty hypothesis
  std::uint32_t option = kNone;          // the option applied last
  std::uint32_t coverage = 0;            // set of translated source positions
  std::uint32_t context = 0;             // last target words, see ContextTable
  std::uint32_t next = kNone;            // next entry of the recombination bucket
  std::uint32_t heap_place = 0;          // owned by the stack
  float score = 0;                       // so far
  float future = 0;                      // estimate for the rest
  float total = 0;                       // score + future
  std::uint8_t last_end = 0;             // end of the last span plus one
};

}  // namespace koralite::decoder
