// The search weighs several options at a time: what all of them cost at most is found by the same
// operations in the same order as for a single one, lane by lane, so the results are the same to
// the bit whatever the number of lanes. `lane_kernels()` picks the widest form that the processor
// has.
//
// Pure functions over the caller's memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace koralite::decoder {

// What the first word of a phrase adds after one context, and what its known contexts of two words
// and more add to a second word: both exact or from above.
struct first_score_t {
  float score = 0;
  float extra = 0;
};

// A bound of what the other words of a phrase add: the larger of `behind` and the first word's
// `extra`, and of `apart`.
struct others_t {
  float behind = 0;
  float apart = 0;
};

// What holds for each first word after all contexts that end with the same word; each array has
// `count` entries.
struct first_words_t {
  std::size_t count = 0;                // a multiple of kLaneStep
  const float* base = nullptr;          // its score without back-offs, if nothing longer matches
  const std::int32_t* pairs = nullptr;  // all bits if the shortest back-off is not added to it
  const float* beyond = nullptr;        // what longer matches give at most, minus infinity for none
  const float* extra = nullptr;
};

// What a context adds to it.
struct context_adds_t {
  std::span<const float> back_offs;  // in the order in which they are added
  float raise = 0;                   // at least 0
};

// The options of a cell after one hypothesis. A total is, in this order of operations,
//   (((distorted + (reorder + previous_reorder) * reorder_weight) + score) + joint * lang_weight)
//   + future
// with joint = first.score + max(others.behind + first.extra, others.apart).
struct cell_weights_t {
  std::uint32_t count = 0;
  const float* reorder = nullptr;
  const float* score = nullptr;
  const std::uint32_t* first = nullptr;
  const std::uint32_t* prefix = nullptr;
  const first_score_t* firsts = nullptr;  // by an option's `first`
  const others_t* others = nullptr;       // by its `prefix`
  float distorted = 0;
  float previous_reorder = 0;
  float reorder_weight = 0;
  float lang_weight = 0;
  float future = 0;
  // An option is refused if total + beam < best, or total < floor, or before + score < floor.
  float beam = 0;
  float best = 0;
  float floor = 0;
  float before = 0;
};

struct weighed_t {
  std::uint32_t place;  // in the cell
  float total;
};

struct lane_kernels_t {
  const char* name;
  // Fills `scores`, and `open`: all bits where a longer match may exist, none elsewhere.
  void (*fill_firsts)(const first_words_t& words, const context_adds_t& context,
                      first_score_t* scores, std::uint32_t* open);
  // Writes those that are not refused, in order, and returns their number. The columns and `out`
  // have room for `count` rounded up to a multiple of kLaneStep.
  std::uint32_t (*weigh)(const cell_weights_t& cell, weighed_t* out);
};

inline constexpr std::size_t kLaneStep = 4;

// The widest kernels of this processor; all that it can run, widest last.
const lane_kernels_t& lane_kernels();
std::span<const lane_kernels_t> all_lane_kernels();

}  // namespace koralite::decoder
