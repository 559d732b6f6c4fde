#include "toolkit/tune/tuning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "toolkit/eval/bootstrap.h"

namespace koralite::toolkit {
namespace {

// Statistics of a translation of ten words with so many right n-grams.
BleuStats stats(std::int64_t right, std::int64_t length = 10) {
  BleuStats s;
  for (std::size_t n = 0; n < 4; ++n) {
    s.totals[n] = length - static_cast<std::int64_t>(n);
    s.matches[n] = std::max<std::int64_t>(0, right - static_cast<std::int64_t>(n));
  }
  s.length = length;
  s.reference = 10;
  return s;
}

// Candidates whose quality follows hidden weights, with noise.
NbestLists random_lists(std::size_t sentences, std::size_t candidates, std::size_t features,
                        std::uint64_t seed) {
  SeededRandom random(seed);
  NbestLists lists(sentences);
  for (auto& list : lists) {
    for (std::size_t c = 0; c < candidates; ++c) {
      TuneCandidate candidate;
      double quality = 0;
      for (std::size_t k = 0; k < features; ++k) {
        candidate.features.push_back(static_cast<float>(2 * random.unit() - 1));
        const double hidden = k == 1 ? -2 : static_cast<double>(k + 1);
        quality += hidden * static_cast<double>(candidate.features[k]);
      }
      quality += 2 * random.unit();
      candidate.stats = stats(std::clamp<std::int64_t>(std::llround(5 + quality), 0, 10));
      list.push_back(candidate);
    }
  }
  return lists;
}

double dot(std::span<const double> weights, const TuneCandidate& c) {
  return std::inner_product(weights.begin(), weights.end(), c.features.begin(), 0.0);
}

BleuStats chosen(const NbestLists& lists, const std::vector<double>& weights) {
  BleuStats sum;
  for (const auto& list : lists) {
    if (list.empty()) {
      continue;
    }
    sum += std::max_element(list.begin(), list.end(), [&](const auto& a, const auto& b) {
             return dot(weights, a) < dot(weights, b);
           })->stats;
  }
  return sum;
}

TEST(Mert, FindsTheBestPlaceOnALineExactly) {
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const NbestLists lists = random_lists(6, 8, 2, seed);
    // All places where two candidates of a sentence change places, and a point
    // between any two neighbours of them: nothing else can differ.
    std::vector<double> places;
    for (const auto& list : lists) {
      for (const TuneCandidate& a : list) {
        for (const TuneCandidate& b : list) {
          const double slope =
              static_cast<double>(a.features[1]) - static_cast<double>(b.features[1]);
          const double rise =
              static_cast<double>(b.features[0]) - static_cast<double>(a.features[0]);
          if (slope != 0) {
            places.push_back(rise / slope);
          }
        }
      }
    }
    std::sort(places.begin(), places.end());
    double best = 0;
    for (std::size_t i = 0; i + 1 < places.size(); ++i) {
      if (places[i + 1] - places[i] < 1e-8) {
        continue;
      }
      const std::vector<double> weights{1, (places[i] + places[i + 1]) / 2};
      best = std::max(best, bleu(chosen(lists, weights)).score);
    }
    MertOptions options;
    options.fixed = {true, false};
    options.restarts = 0;
    const MertResult result = optimise_weights(lists, std::vector<double>{1, 0.3}, options);
    EXPECT_NEAR(result.bleu.score, best, 1e-9) << seed;
    EXPECT_EQ(result.weights[0], 1);
    EXPECT_NEAR(bleu(chosen(lists, result.weights)).score, result.bleu.score, 1e-9) << seed;
  }
}

TEST(Mert, RecoversHiddenWeightsAndKeepsItsPromises) {
  const NbestLists lists = random_lists(80, 30, 5, 42);
  const std::vector<double> start{1, 1, 1, 1, 1};
  MertOptions options;
  options.threads = 1;
  const MertResult result = optimise_weights(lists, start, options);
  EXPECT_GT(result.score, tuning_score(chosen(lists, start), options.max_ratio) + 3);
  EXPECT_GE(result.score, tuning_score(chosen(lists, {1, -2, 3, 4, 5}), options.max_ratio) - 0.5);
  EXPECT_LT(result.weights[1], 0);
  EXPECT_NEAR(result.score, tuning_score(chosen(lists, result.weights), options.max_ratio), 1e-9);

  options.threads = 3;
  EXPECT_EQ(optimise_weights(lists, start, options).weights, result.weights);

  options.ranges.assign(5, {});
  options.ranges[1] = {0, 2};
  options.fixed = {false, false, true};
  const MertResult bound = optimise_weights(lists, start, options);
  EXPECT_GE(bound.weights[1], 0);
  EXPECT_LE(bound.weights[1], 2);
  EXPECT_EQ(bound.weights[2], 1);
  EXPECT_LT(bound.score, result.score);
}

TEST(Mert, PunishesLengthAndRefusesMisfits) {
  // The long one has one more word right in each order, but is half as long again.
  NbestLists lists{{{{0, 1}, stats(6)}, {{1, 0}, stats(9, 12)}}, {}};
  EXPECT_GT(bleu(stats(9, 12)).score, bleu(stats(6)).score);
  MertOptions options;
  options.max_ratio = 1.0;
  EXPECT_NEAR(tuning_score(stats(9, 12), 1.0), bleu(stats(9, 12)).score * std::exp(-0.2), 1e-9);
  EXPECT_EQ(tuning_score(stats(6), 1.0), bleu(stats(6)).score);
  options.max_ratio = 0.5;  // 10 words are twice, 12 are 2.4 times too many
  const MertResult result = optimise_weights(lists, std::vector<double>{1, 1}, options);
  EXPECT_EQ(result.bleu.length,
            bleu(stats(9, 12)).score * std::exp(1 - 2.4) > bleu(stats(6)).score * std::exp(1 - 2.0)
                ? 12
                : 10);
  EXPECT_THROW(optimise_weights(lists, std::vector<double>{1, 1, 1}, options), std::runtime_error);
  options.ranges = {{2, 3}};
  EXPECT_THROW(optimise_weights(lists, std::vector<double>{1, 1}, options), std::runtime_error);
}

// A decoder in small: all translations are known, the best few are given out.
class FixedWorld : public NbestProvider {
 public:
  FixedWorld(NbestLists all, std::size_t best) : all_(std::move(all)), best_(best) {}

  NbestLists decode(std::span<const double> weights) override {
    ++calls;
    NbestLists lists(all_.size());
    for (std::size_t s = 0; s < all_.size(); ++s) {
      std::vector<TuneCandidate> list = all_[s];
      std::stable_sort(list.begin(), list.end(), [&](const auto& a, const auto& b) {
        return dot(weights, a) > dot(weights, b);
      });
      list.resize(std::min(list.size(), best_));
      lists[s] = std::move(list);
    }
    return lists;
  }

  int calls = 0;

 private:
  NbestLists all_;
  std::size_t best_;
};

TEST(Tune, GetsNearWhatAllCandidatesTogetherAllow) {
  const NbestLists all = random_lists(60, 200, 4, 7);
  const std::vector<double> start{0.5, 0.5, 0.5, 0.5};
  TuneOptions options;
  options.rounds = 12;
  FixedWorld world(all, 10);
  std::vector<double> seen;
  const TuneResult result =
      tune(world, start, options, [&](const TuneRound& round) { seen.push_back(round.score); });
  ASSERT_EQ(result.rounds.size(), static_cast<std::size_t>(world.calls));
  ASSERT_EQ(seen.size(), result.rounds.size());
  EXPECT_GT(seen.size(), 2U);
  EXPECT_EQ(*std::max_element(seen.begin(), seen.end()), result.rounds[result.best].score);
  EXPECT_EQ(result.weights, result.rounds[result.best].weights);
  // The scores that it reports are those of the world, and the sum is kept.
  EXPECT_NEAR(result.rounds[result.best].bleu.score, bleu(chosen(all, result.weights)).score, 1e-9);
  double sum = 0;
  for (const double w : result.weights) {
    sum += std::abs(w);
  }
  EXPECT_NEAR(sum, 2, 1e-9);
  const double possible = optimise_weights(all, start, options.mert).bleu.score;
  const double before = bleu(chosen(all, start)).score;
  EXPECT_GT(result.rounds[result.best].bleu.score, before + 0.7 * (possible - before));

  FixedWorld again(all, 10);
  EXPECT_EQ(tune(again, start, options).weights, result.weights);
}

TEST(Tune, StopsWhenNothingIsNew) {
  FixedWorld world(random_lists(5, 3, 2, 1), 3);
  const TuneResult result = tune(world, std::vector<double>{1, 1}, {});
  EXPECT_LE(world.calls, 2);
  EXPECT_FALSE(result.weights.empty());
}

}  // namespace
}  // namespace koralite::toolkit
