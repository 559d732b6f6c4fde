// The parts of a hypothesis's score. Each sum is taken in single precision and
// in the order written here: the order is part of the result.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>

#include "decoder/future_matrix.h"

namespace koralite::decoder {

// How a phrase follows the one translated before it; also the place of its score
// in a triple of reordering scores.
enum Reorder : std::uint8_t { kMonotone, kSwap, kDiscontinuous };

// The uncovered positions around a span, and what the matrix expects of the whole
// gap and of the parts that the span leaves over.
struct gap_t {
  float whole = 0;
  float left = 0;
  float right = 0;
  bool has_left = false;
  bool has_right = false;
};

struct Calculator {
  // What an option adds by itself. `language` is its language model score, over
  // full windows for the score, over all words for the estimate.
  static float compute_trans_score(float translation, float trans_weight, int words,
                                   float word_weight, float phrase_weight, float language,
                                   float lang_weight) {
    const float penalty = static_cast<float>(words) * word_weight;
    return translation * trans_weight + penalty + phrase_weight + language * lang_weight;
  }

  // Positions jumped over, never positive.
  static float compute_distort_score(int last_end, int start) {
    return static_cast<float>(-std::abs(last_end - start));
  }

  static Reorder reorder_kind(bool first_phrase, int previous_start, int previous_end, int start,
                              int end) {
    if (first_phrase) {
      return start == 0 ? kMonotone : kDiscontinuous;
    }
    if (start == previous_end + 1) {
      return kMonotone;
    }
    return previous_start == end + 1 ? kSwap : kDiscontinuous;
  }

  // The triple of the new phrase looks back; the second triple of the previous
  // phrase, if there is one, looks forward.
  static float compute_reorder_score(float own, bool first_phrase, float previous) {
    return first_phrase ? own : own + previous;
  }

  static gap_t find_gap(std::uint64_t coverage, int start, int end, const FutureMatrix& matrix) {
    int left = start;
    while (left > 0 && (coverage >> (left - 1) & 1) == 0) {
      --left;
    }
    int right = end;
    while (right + 1 < matrix.size() && (coverage >> (right + 1) & 1) == 0) {
      ++right;
    }
    gap_t gap;
    gap.whole = matrix.at(left, right);
    gap.has_left = left < start;
    gap.has_right = right > end;
    if (gap.has_left) {
      gap.left = matrix.at(left, start - 1);
    }
    if (gap.has_right) {
      gap.right = matrix.at(end + 1, right);
    }
    return gap;
  }

  static float compute_future_score(float future, const gap_t& gap) {
    float result = future - gap.whole;
    if (gap.has_left) {
      result += gap.left;
    }
    if (gap.has_right) {
      result += gap.right;
    }
    return result;
  }

  // The score of a hypothesis but for the language model's joint score:
  // `distorted` is the extended one's score plus its weighted distortion.
  static float calculate(float distorted, float reorder, float reorder_weight, float option_score) {
    return distorted + reorder * reorder_weight + option_score;
  }
};

}  // namespace koralite::decoder
