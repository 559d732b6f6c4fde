// The best estimate for translating each span of the sentence, over all ways to
// split it: entry (i, j) covers the positions i to j, both inclusive. Square,
// grows to the longest sentence seen and keeps its memory.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace koralite::decoder {

class FutureMatrix {
 public:
  static constexpr float kLowest = std::numeric_limits<float>::lowest();

  // A matrix for n positions, every entry the lowest float.
  void initialize(int n) {
    size_ = n;
    entries_.assign(static_cast<std::size_t>(n) * static_cast<std::size_t>(n), kLowest);
  }

  // Replaces each entry by the best sum over its splits, if that is better. The
  // entries of spans with options must have been set before.
  void combine() {
    for (int length = 2; length <= size_; ++length) {
      for (int i = 0; i + length <= size_; ++i) {
        const int j = i + length - 1;
        float best = at(i, j);
        for (int k = i; k < j; ++k) {
          const float sum = at(i, k) + at(k + 1, j);
          if (sum > best) {
            best = sum;
          }
        }
        at(i, j) = best;
      }
    }
  }

  float& at(int i, int j) { return entries_[index(i, j)]; }
  float at(int i, int j) const { return entries_[index(i, j)]; }
  int size() const { return size_; }
  std::size_t memory() const { return entries_.capacity() * sizeof(float); }

 private:
  std::size_t index(int i, int j) const {
    return static_cast<std::size_t>(i) * static_cast<std::size_t>(size_) +
           static_cast<std::size_t>(j);
  }

  int size_ = 0;
  std::vector<float> entries_;
};

}  // namespace koralite::decoder
