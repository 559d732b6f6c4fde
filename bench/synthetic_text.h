// Text for benchmarks without a corpus: words by Zipf's law, of which many follow
// from the two words before, so that n-grams and phrases repeat as in real text.
// The same seed gives the same text. A plain value; one thread.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace kora_bench {

class SyntheticText {
 public:
  SyntheticText(int words, std::uint32_t seed) : random_(seed) {
    double sum = 0;
    for (int rank = 1; rank <= words; ++rank) {
      sum += 1.0 / std::pow(rank + 1.5, 1.05);
      shares_.push_back(sum);
    }
  }

  // The next word, 0 for the most frequent.
  int next() {
    int word = 0;
    if (random_() % 100 < 62) {
      // One of a few continuations of the two words before, the first ones more often.
      std::uint64_t choice = 0;
      while (choice < 12 && random_() % 2 != 0) {
        ++choice;
      }
      std::uint64_t mixed = (second_ * 1000003U + first_) * 31U + choice;
      mixed = (mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9U;
      mixed = (mixed ^ (mixed >> 32)) * 0x94D049BB133111EBU;
      word = pick(static_cast<double>(mixed >> 11) / 9007199254740992.0);
    } else {
      word = pick(static_cast<double>(random_() >> 11) / 9007199254740992.0);
    }
    second_ = first_;
    first_ = static_cast<std::uint64_t>(word);
    return word;
  }

 private:
  int pick(double share) const {
    const auto at = std::lower_bound(shares_.begin(), shares_.end(), share * shares_.back());
    return static_cast<int>(std::min<std::ptrdiff_t>(
        at - shares_.begin(), static_cast<std::ptrdiff_t>(shares_.size()) - 1));
  }

  std::mt19937_64 random_;
  std::vector<double> shares_;
  std::uint64_t first_ = 0;
  std::uint64_t second_ = 0;
};

}  // namespace kora_bench
