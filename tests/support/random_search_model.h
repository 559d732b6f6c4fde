// Random small models and sentences that reach every rule of the search: equal
// scores, tags, unknown words on both sides, empty and overlong targets, numbers
// that are none, and every limit and flag.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "support/test_model.h"

namespace kora_test {

class RandomSearchModel {
 public:
  explicit RandomSearchModel(unsigned seed);

  TestModel model;

  // 1 to `longest` words, some unknown, some marks, some tagged.
  std::vector<std::string> sentence(int longest);

 private:
  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  bool chance(int percent) { return pick(1, 100) <= percent; }
  float pick_of(std::initializer_list<float> values) {
    return values.begin()[pick(0, static_cast<int>(values.size()) - 1)];
  }
  float step(int low, int high, float size) { return static_cast<float>(pick(low, high)) * size; }

  void fill_parameters();
  void fill_pairs();
  void fill_grams();
  const std::string& source_word();
  int target_word();

  std::mt19937 random_;
  std::vector<std::string> words_;
  int target_count_ = 0;
};

}  // namespace kora_test
