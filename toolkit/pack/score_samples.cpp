#include "toolkit/pack/score_samples.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace koralite::toolkit {
namespace {

constexpr int kMaxRounds = 60;

// Values in ascending order, as distinct ones with sums that give any range's mean at once.
struct sorted_t {
  std::vector<float> distinct;
  std::vector<double> weight;  // values before each distinct one, and all
  std::vector<double> sum;     // their sum

  explicit sorted_t(std::vector<float> values) {
    std::sort(values.begin(), values.end());
    double count = 0;
    double total = 0;
    for (std::size_t i = 0; i < values.size();) {
      std::size_t end = i;
      while (end < values.size() && values[end] == values[i]) {
        ++end;
      }
      distinct.push_back(values[i]);
      weight.push_back(count);
      sum.push_back(total);
      count += static_cast<double>(end - i);
      total += static_cast<double>(end - i) * static_cast<double>(values[i]);
      i = end;
    }
    weight.push_back(count);
    sum.push_back(total);
  }

  double mean(std::size_t begin, std::size_t end) const {
    return (sum[end] - sum[begin]) / (weight[end] - weight[begin]);
  }
};

std::vector<float> means(const sorted_t& values, const std::vector<std::size_t>& borders) {
  std::vector<float> samples;
  for (std::size_t i = 0; i + 1 < borders.size(); ++i) {
    if (borders[i] == borders[i + 1]) {
      continue;
    }
    const auto sample = static_cast<float>(values.mean(borders[i], borders[i + 1]));
    if (samples.empty() || sample > samples.back()) {
      samples.push_back(sample);
    }
  }
  return samples;
}

std::vector<float> quantiles(const sorted_t& values, int count) {
  std::vector<std::size_t> borders{0};
  for (int i = 1; i <= count; ++i) {
    const double share = values.weight.back() * i / count;
    const auto at = std::lower_bound(values.weight.begin(), values.weight.end(), share);
    borders.push_back(static_cast<std::size_t>(at - values.weight.begin()));
  }
  borders.back() = values.distinct.size();
  return means(values, borders);
}

}  // namespace

std::vector<float> kmeans_samples(std::vector<float> values, int count) {
  if (values.empty()) {
    return {};
  }
  const sorted_t sorted(std::move(values));
  if (sorted.distinct.size() <= static_cast<std::size_t>(count)) {
    return sorted.distinct;
  }
  std::vector<float> samples = quantiles(sorted, count);
  for (int round = 0; round < kMaxRounds; ++round) {
    // Equal values fall together in one quantile, so there may be samples to spare: they go where
    // a sample stands for the widest range.
    while (samples.size() < static_cast<std::size_t>(count)) {
      std::size_t widest = 1;
      for (std::size_t i = 1; i < samples.size(); ++i) {
        if (samples[i] - samples[i - 1] > samples[widest] - samples[widest - 1]) {
          widest = i;
        }
      }
      if (samples.size() < 2) {
        break;
      }
      const float middle = samples[widest - 1] + (samples[widest] - samples[widest - 1]) / 2.0F;
      if (middle <= samples[widest - 1] || middle >= samples[widest]) {
        break;
      }
      samples.insert(samples.begin() + static_cast<std::ptrdiff_t>(widest), middle);
    }
    std::vector<std::size_t> borders{0};
    for (std::size_t i = 1; i < samples.size(); ++i) {
      const float border = samples[i - 1] + (samples[i] - samples[i - 1]) / 2.0F;
      const auto at = std::upper_bound(sorted.distinct.begin(), sorted.distinct.end(), border);
      borders.push_back(static_cast<std::size_t>(at - sorted.distinct.begin()));
    }
    borders.push_back(sorted.distinct.size());
    std::vector<float> better = means(sorted, borders);
    if (better == samples) {
      break;
    }
    samples = std::move(better);
  }
  return samples;
}

std::vector<float> quantile_samples(std::vector<float> values, int count) {
  if (values.empty()) {
    return {};
  }
  return quantiles(sorted_t(std::move(values)), count);
}

double quantize_error(const std::vector<float>& values, const decoder::Quantifier& quantifier) {
  double squares = 0;
  for (const float value : values) {
    float error = 0;
    quantifier.quantify(value, error);
    squares += static_cast<double>(error) * static_cast<double>(error);
  }
  return values.empty() ? 0.0 : std::sqrt(squares / static_cast<double>(values.size()));
}

}  // namespace koralite::toolkit
