// How sure a corpus score is, and whether one system is really better than
// another: resampling of the test sentences with replacement. Works on any
// per-sentence statistics that add up to the corpus's, and gives the same
// figures for the same seed everywhere.
//
// Koehn, "Statistical significance tests for machine translation evaluation" (2004): the interval
// that holds 95 of 100 scores of test sets drawn from the test set, and paired resampling. Where
// that paper counts how often the better system wins, p here is that of Riezler and Maxwell, "On
// some pitfalls in automatic evaluation and significance testing for MT" (2005), figure 2: how
// often the resampled difference is as far from its mean as the real difference is from 0. One is
// added to both numbers, so that no p is 0.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace koralite::toolkit {

struct BootstrapOptions {
  int samples = 1000;
  std::uint64_t seed = 12345;
};

// A small generator of its own: the standard ones' distributions differ between
// libraries.
class SeededRandom {
 public:
  explicit SeededRandom(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t x = state_ += 0x9E3779B97F4A7C15ULL;
    x = (x ^ x >> 30U) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ x >> 27U) * 0x94D049BB133111EBULL;
    return x ^ x >> 31U;
  }
  // 0 to below - 1, below up to 2^32.
  std::size_t below(std::size_t bound) { return (next() >> 32U) * bound >> 32U; }
  // 0 to just below 1.
  double unit() { return static_cast<double>(next() >> 11U) * 0x1p-53; }

 private:
  std::uint64_t state_;
};

struct Interval {
  double score = 0;  ///< of the whole test set
  double mean = 0;   ///< over the samples
  double low = 0;    ///< 95 of 100 samples lie between low and high
  double high = 0;
};

struct PairedResult {
  Interval base;
  Interval other;
  double difference = 0;  ///< other - base on the whole test set
  double p = 1;           ///< how often chance alone would give such a difference
};

namespace bootstrap_detail {

template <class Stats>
Stats sum_of(std::span<const Stats> all, std::span<const std::uint32_t> chosen) {
  Stats sum{};
  for (const std::uint32_t i : chosen) {
    sum += all[i];
  }
  return sum;
}

inline Interval interval(double score, std::vector<double> samples) {
  Interval result;
  result.score = score;
  for (const double s : samples) {
    result.mean += s;
  }
  result.mean /= static_cast<double>(samples.size());
  std::sort(samples.begin(), samples.end());
  const std::size_t cut = samples.size() / 40;  // 2.5 % at either end
  result.low = samples[cut];
  result.high = samples[samples.size() - 1 - cut];
  return result;
}

}  // namespace bootstrap_detail

// Compares two systems on the same sentences; score(stats) gives a corpus score.
// With `other` equal to `base` it gives base's interval alone.
template <class Stats, class Score>
PairedResult paired_bootstrap(std::span<const Stats> base, std::span<const Stats> other,
                              Score&& score, const BootstrapOptions& options = {}) {
  if (base.empty() || base.size() != other.size() || options.samples < 1) {
    throw std::runtime_error("resampling needs the same sentences of both systems");
  }
  const auto whole = [&](std::span<const Stats> all) {
    Stats sum{};
    for (const Stats& s : all) {
      sum += s;
    }
    return score(sum);
  };
  SeededRandom random(options.seed);
  std::vector<std::uint32_t> chosen(base.size());
  std::vector<double> base_samples;
  std::vector<double> other_samples;
  for (int i = 0; i < options.samples; ++i) {
    for (std::uint32_t& c : chosen) {
      c = static_cast<std::uint32_t>(random.below(base.size()));
    }
    base_samples.push_back(score(bootstrap_detail::sum_of(base, chosen)));
    other_samples.push_back(score(bootstrap_detail::sum_of(other, chosen)));
  }
  PairedResult result;
  result.base = bootstrap_detail::interval(whole(base), base_samples);
  result.other = bootstrap_detail::interval(whole(other), other_samples);
  result.difference = result.other.score - result.base.score;
  // Centred on its mean, the difference of the samples is what chance makes of
  // two equal systems.
  const double mean = result.other.mean - result.base.mean;
  int beyond = 0;
  for (std::size_t i = 0; i < base_samples.size(); ++i) {
    const double shift = other_samples[i] - base_samples[i] - mean;
    if (std::abs(shift) >= std::abs(result.difference)) {
      ++beyond;
    }
  }
  result.p = (beyond + 1.0) / (options.samples + 1.0);
  return result;
}

template <class Stats, class Score>
Interval bootstrap(std::span<const Stats> stats, Score&& score,
                   const BootstrapOptions& options = {}) {
  return paired_bootstrap(stats, stats, score, options).base;
}

}  // namespace koralite::toolkit
