// All lane kernels of this machine give the same bits as sums written out one by one.
#include "decoder/lanes.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace kora_test {
namespace {

using namespace koralite::decoder;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

class Numbers {
 public:
  explicit Numbers(unsigned seed) : random_(seed) {}
  std::size_t below(std::size_t end) { return random_() % end; }
  float score() { return static_cast<float>(random_() % 4000) * -0.0137F; }
  float odd() {
    const float values[] = {0.0F, -0.0F, kInfinity, -kInfinity, NAN, score(), score(), score()};
    return values[below(8)];
  }
  // Strange numbers are rare, so that sums of many are not all alike.
  float any() { return below(12) == 0 ? odd() : score(); }

 private:
  std::mt19937 random_;
};

std::uint32_t bits(float value) {
  return std::isnan(value) ? 1U : std::bit_cast<std::uint32_t>(value);  // any NaN is like another
}

TEST(Lanes, FillFirstWordsAsOneByOne) {
  Numbers numbers(1);
  for (int round = 0; round < 400; ++round) {
    const std::size_t count = (1 + numbers.below(10)) * kLaneStep;
    std::vector<float> base(count);
    std::vector<float> beyond(count);
    std::vector<float> extra(count);
    std::vector<std::int32_t> pairs(count);
    for (std::size_t k = 0; k < count; ++k) {
      base[k] = numbers.any();
      beyond[k] = numbers.below(3) == 0 ? numbers.any() : -kInfinity;
      extra[k] = numbers.any();
      pairs[k] = numbers.below(2) == 0 ? -1 : 0;
    }
    std::vector<float> back_offs(numbers.below(5));
    for (float& back_off : back_offs) {
      back_off = numbers.any();
    }
    const context_adds_t context{back_offs, numbers.below(2) == 0 ? 0.0F : 1.5F};
    for (const lane_kernels_t& kernels : all_lane_kernels()) {
      std::vector<first_score_t> scores(count);
      std::vector<std::uint32_t> open(count);
      kernels.fill_firsts({count, base.data(), pairs.data(), beyond.data(), extra.data()}, context,
                          scores.data(), open.data());
      for (std::size_t k = 0; k < count; ++k) {
        float score = base[k];
        for (std::size_t m = 0; m < back_offs.size(); ++m) {
          score += m == 0 && pairs[k] != 0 ? 0.0F : back_offs[m];
        }
        const float highest = beyond[k] + context.raise;
        const float expected = highest > score ? highest : score;
        ASSERT_EQ(bits(scores[k].score), bits(expected)) << kernels.name << ", round " << round;
        ASSERT_EQ(bits(scores[k].extra), bits(extra[k])) << kernels.name;
        ASSERT_EQ(open[k], beyond[k] > -kInfinity ? 0xFFFFFFFFU : 0U) << kernels.name;
      }
    }
  }
}

TEST(Lanes, WeighCellsAsOneByOne) {
  Numbers numbers(2);
  std::size_t passed = 0;
  std::size_t refused = 0;
  for (int round = 0; round < 2000; ++round) {
    const std::size_t count = 1 + numbers.below(21);
    const std::size_t room = (count + kLaneStep - 1) / kLaneStep * kLaneStep;
    std::vector<first_score_t> firsts(9);
    std::vector<others_t> others(7);
    for (auto& first : firsts) {
      first = {numbers.any(), numbers.any()};
    }
    for (auto& other : others) {
      other = {numbers.below(3) == 0 ? -kInfinity : numbers.any(), numbers.any()};
    }
    std::vector<float> reorder(room);
    std::vector<float> score(room);
    std::vector<std::uint32_t> first(room);
    std::vector<std::uint32_t> prefix(room);
    for (std::size_t k = 0; k < room; ++k) {
      reorder[k] = numbers.any();
      score[k] = numbers.any();
      first[k] = static_cast<std::uint32_t>(numbers.below(firsts.size()));
      prefix[k] = static_cast<std::uint32_t>(numbers.below(others.size()));
    }
    cell_weights_t cell;
    cell.count = static_cast<std::uint32_t>(count);
    cell.reorder = reorder.data();
    cell.score = score.data();
    cell.first = first.data();
    cell.prefix = prefix.data();
    cell.firsts = firsts.data();
    cell.others = others.data();
    cell.distorted = numbers.any();
    cell.previous_reorder = numbers.any();
    cell.reorder_weight = numbers.below(2) == 0 ? 0.3F : -0.5F;
    cell.lang_weight = numbers.below(3) == 0 ? 0.0F : 0.5F;
    cell.future = numbers.any();
    cell.beam = numbers.below(4) == 0 ? kInfinity : 11.5F;
    cell.best = -40 + numbers.score();
    cell.floor = numbers.below(3) == 0 ? -kInfinity : cell.best - 10;
    cell.before = numbers.any();
    std::vector<weighed_t> expected;
    for (std::uint32_t k = 0; k < count; ++k) {
      const float behind = others[prefix[k]].behind + firsts[first[k]].extra;
      const float apart = others[prefix[k]].apart;
      const float joint = firsts[first[k]].score + (behind > apart ? behind : apart);
      float total = cell.distorted + (reorder[k] + cell.previous_reorder) * cell.reorder_weight;
      total = total + score[k];
      total = total + joint * cell.lang_weight;
      total = total + cell.future;
      if (total + cell.beam < cell.best || total < cell.floor ||
          cell.before + score[k] < cell.floor) {
        ++refused;
      } else {
        expected.push_back({k, total});
        ++passed;
      }
    }
    for (const lane_kernels_t& kernels : all_lane_kernels()) {
      std::vector<weighed_t> found(room + kLaneStep);
      found.resize(kernels.weigh(cell, found.data()));
      ASSERT_EQ(found.size(), expected.size()) << kernels.name << ", round " << round;
      for (std::size_t k = 0; k < found.size(); ++k) {
        ASSERT_EQ(found[k].place, expected[k].place) << kernels.name;
        ASSERT_EQ(bits(found[k].total), bits(expected[k].total)) << kernels.name;
      }
    }
  }
  EXPECT_GT(passed, 2000U);
  EXPECT_GT(refused, 2000U);
}

}  // namespace
}  // namespace kora_test
