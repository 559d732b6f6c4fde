#include "toolkit/tune/tuning.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "toolkit/eval/bootstrap.h"
#include "toolkit/io/parallel.h"

namespace koralite::toolkit {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// score(x) = offset + slope * x of one candidate along a search line.
struct Line {
  double slope;
  double offset;
  std::uint32_t candidate;
};

// From x on, the corpus statistics change by `change`.
struct Event {
  double x;
  std::uint32_t sentence;
  std::uint32_t from;
  std::uint32_t to;
};

class Search {
 public:
  Search(const NbestLists& lists, const MertOptions& options, std::size_t features)
      : lists_(lists), options_(options), features_(features) {
    std::size_t all = 0;
    for (const auto& list : lists) {
      starts_.push_back(all);
      all += list.size();
    }
    scores_.resize(all);
  }

  // Climbs from `weights` until no line of a sweep gives more.
  MertResult climb(std::vector<double> weights, SeededRandom random) {
    double score = rescore(weights);
    for (int sweep = 0; sweep < 50; ++sweep) {
      const double before = score;
      for (std::size_t k = 0; k < features_; ++k) {
        std::vector<double> direction(features_);
        direction[k] = 1;
        if (!is_fixed(k)) {
          score = std::max(score, along(weights, direction, score));
        }
      }
      for (int i = 0; i < options_.random_directions; ++i) {
        std::vector<double> direction(features_);
        for (std::size_t k = 0; k < features_; ++k) {
          const double share = 2 * random.unit() - 1;
          if (!is_fixed(k)) {
            direction[k] = share * (std::abs(weights[k]) + 0.01);
          }
        }
        score = std::max(score, along(weights, direction, score));
      }
      if (score <= before + 1e-9) {
        break;
      }
    }
    rescore(weights);  // sums of many steps drift
    MertResult result{weights, 0, {}};
    const BleuStats stats = best_stats();
    result.score = tuning_score(stats, options_.max_ratio);
    result.bleu = bleu(stats);
    return result;
  }

  bool is_fixed(std::size_t k) const { return k < options_.fixed.size() && options_.fixed[k]; }

 private:
  double rescore(const std::vector<double>& weights) {
    for (std::size_t s = 0; s < lists_.size(); ++s) {
      for (std::size_t c = 0; c < lists_[s].size(); ++c) {
        scores_[starts_[s] + c] = dot(weights, lists_[s][c].features);
      }
    }
    return tuning_score(best_stats(), options_.max_ratio);
  }

  static double dot(const std::vector<double>& weights, const std::vector<float>& features) {
    double sum = 0;
    for (std::size_t k = 0; k < weights.size(); ++k) {
      sum += weights[k] * static_cast<double>(features[k]);
    }
    return sum;
  }

  BleuStats best_stats() const {
    BleuStats sum;
    for (std::size_t s = 0; s < lists_.size(); ++s) {
      if (lists_[s].empty()) {
        continue;
      }
      const auto begin = scores_.begin() + static_cast<std::ptrdiff_t>(starts_[s]);
      const auto best =
          std::max_element(begin, begin + static_cast<std::ptrdiff_t>(lists_[s].size())) - begin;
      sum += lists_[s][static_cast<std::size_t>(best)].stats;
    }
    return sum;
  }

  // Steps that keep all weights in their ranges.
  WeightRange steps(const std::vector<double>& weights,
                    const std::vector<double>& direction) const {
    WeightRange range;
    for (std::size_t k = 0; k < features_ && k < options_.ranges.size(); ++k) {
      if (direction[k] == 0) {
        continue;
      }
      double a = (options_.ranges[k].low - weights[k]) / direction[k];
      double b = (options_.ranges[k].high - weights[k]) / direction[k];
      if (a > b) {
        std::swap(a, b);
      }
      range.low = std::max(range.low, a);
      range.high = std::min(range.high, b);
    }
    return range;
  }

  // Leaves in `lines_` the candidates that are best somewhere, by rising slope;
  // x_[i] is where line i begins to be the best.
  void envelope(std::size_t s, const std::vector<double>& direction) {
    lines_.clear();
    for (std::size_t c = 0; c < lists_[s].size(); ++c) {
      lines_.push_back({dot(direction, lists_[s][c].features), scores_[starts_[s] + c],
                        static_cast<std::uint32_t>(c)});
    }
    std::sort(lines_.begin(), lines_.end(), [](const Line& a, const Line& b) {
      if (a.slope != b.slope) {
        return a.slope < b.slope;
      }
      return a.offset != b.offset ? a.offset > b.offset : a.candidate < b.candidate;
    });
    x_.clear();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      const Line line = lines_[i];
      if (kept > 0 && lines_[kept - 1].slope == line.slope) {
        continue;
      }
      double x = -kInfinity;
      while (kept > 0) {
        x = (lines_[kept - 1].offset - line.offset) / (line.slope - lines_[kept - 1].slope);
        if (x > x_[kept - 1]) {
          break;
        }
        --kept;
        x_.pop_back();
        x = -kInfinity;
      }
      lines_[kept++] = line;
      x_.push_back(x);
    }
    lines_.resize(kept);
  }

  // Moves the weights to the best place on the line when that beats `score`;
  // returns the best score found.
  double along(std::vector<double>& weights, const std::vector<double>& direction, double score) {
    const WeightRange range = steps(weights, direction);
    if (range.low >= range.high) {
      return score;
    }
    events_.clear();
    BleuStats stats;
    for (std::size_t s = 0; s < lists_.size(); ++s) {
      if (lists_[s].empty()) {
        continue;
      }
      envelope(s, direction);
      std::uint32_t current = lines_[0].candidate;
      for (std::size_t i = 1; i < lines_.size(); ++i) {
        if (x_[i] <= range.low) {
          current = lines_[i].candidate;
          continue;
        }
        if (x_[i] >= range.high) {
          break;
        }
        events_.push_back(
            {x_[i], static_cast<std::uint32_t>(s), lines_[i - 1].candidate, lines_[i].candidate});
      }
      stats += lists_[s][current].stats;
    }
    std::sort(events_.begin(), events_.end(), [](const Event& a, const Event& b) {
      return a.x != b.x ? a.x < b.x : a.sentence < b.sentence;
    });
    double best = score;
    double step = 0;
    double begin = range.low;
    for (std::size_t i = 0; i <= events_.size(); ++i) {
      const double end = i < events_.size() ? events_[i].x : range.high;
      // Intervals too narrow to survive rounding are passed over.
      if (end - begin > 1e-9) {
        const double here = tuning_score(stats, options_.max_ratio);
        if (here > best + 1e-9) {
          best = here;
          step = inside(begin, end);
        }
      }
      if (i == events_.size()) {
        break;
      }
      const auto& list = lists_[events_[i].sentence];
      stats -= list[events_[i].from].stats;
      stats += list[events_[i].to].stats;
      begin = end;
    }
    if (best <= score) {
      return score;
    }
    for (std::size_t k = 0; k < features_; ++k) {
      weights[k] += step * direction[k];
    }
    for (std::size_t s = 0; s < lists_.size(); ++s) {
      for (std::size_t c = 0; c < lists_[s].size(); ++c) {
        scores_[starts_[s] + c] += step * dot(direction, lists_[s][c].features);
      }
    }
    return best;
  }

  static double inside(double begin, double end) {
    if (begin == -kInfinity && end == kInfinity) {
      return 0;
    }
    if (begin == -kInfinity) {
      return end - 0.1;
    }
    if (end == kInfinity) {
      return begin + 0.1;
    }
    return begin + (end - begin) / 2;
  }

  const NbestLists& lists_;
  const MertOptions& options_;
  std::size_t features_;
  std::vector<std::size_t> starts_;  // of each sentence's candidates in scores_
  std::vector<double> scores_;       // under the present weights
  std::vector<Line> lines_;
  std::vector<double> x_;
  std::vector<Event> events_;
};

// Brings the absolute values of the free weights to a sum, fixed ones untouched.
void rescale(std::vector<double>& weights, std::span<const double> like,
             const std::vector<bool>& fixed) {
  double have = 0;
  double want = 0;
  for (std::size_t k = 0; k < weights.size(); ++k) {
    // A fixed weight that matters pins the scale of all others.
    if (k < fixed.size() && fixed[k] && weights[k] != 0) {
      return;
    }
    have += std::abs(weights[k]);
    want += std::abs(like[k]);
  }
  if (have <= 0 || want <= 0) {
    return;
  }
  for (double& w : weights) {
    w *= want / have;
  }
}

void check(const NbestLists& lists, std::span<const double> start, const MertOptions& options) {
  for (const auto& list : lists) {
    for (const TuneCandidate& candidate : list) {
      if (candidate.features.size() != start.size()) {
        throw std::runtime_error("a candidate has " + std::to_string(candidate.features.size()) +
                                 " features for " + std::to_string(start.size()) + " weights");
      }
    }
  }
  for (std::size_t k = 0; k < start.size() && k < options.ranges.size(); ++k) {
    if (!(options.ranges[k].low <= start[k] && start[k] <= options.ranges[k].high)) {
      throw std::runtime_error("weight " + std::to_string(k + 1) + " begins outside its range");
    }
  }
}

}  // namespace

double tuning_score(const BleuStats& stats, double max_ratio) {
  const BleuScore score = bleu(stats);
  const double ratio = score.ratio();
  return ratio > max_ratio ? score.score * std::exp(1 - ratio / max_ratio) : score.score;
}

MertResult optimise_weights(const NbestLists& lists, std::span<const double> start,
                            const MertOptions& options) {
  check(lists, start, options);
  std::vector<MertResult> results(static_cast<std::size_t>(std::max(options.restarts, 0)) + 1);
  parallel_for(results.size(), options.threads, [&](std::size_t restart, unsigned) {
    Search search(lists, options, start.size());
    SeededRandom random(options.seed * 1000003 + restart);
    std::vector<double> weights(start.begin(), start.end());
    for (std::size_t k = 0; restart > 0 && k < weights.size(); ++k) {
      const double factor = 2 * random.unit();
      if (search.is_fixed(k)) {
        continue;
      }
      weights[k] *= factor;
      if (k < options.ranges.size()) {
        weights[k] = std::clamp(weights[k], options.ranges[k].low, options.ranges[k].high);
      }
    }
    results[restart] = search.climb(weights, random);
  });
  const MertResult* best = results.data();
  for (const MertResult& result : results) {
    // A better start must be worth it: near ties stay near the given weights.
    if (result.score > best->score + 0.01) {
      best = &result;
    }
  }
  return *best;
}

TuneResult tune(NbestProvider& provider, std::span<const double> start, const TuneOptions& options,
                const std::function<void(const TuneRound&)>& after_round,
                const Progress& progress) {
  TuneResult result;
  std::vector<double> weights(start.begin(), start.end());
  NbestLists pool;
  double expected = 0;
  std::size_t added = 0;  // candidates, by the latest translation
  const auto translate = [&] {
    NbestLists lists = provider.decode(weights);
    check(lists, weights, {});
    if (result.rounds.empty()) {
      pool.resize(lists.size());
    }
    if (lists.size() != pool.size()) {
      throw std::runtime_error("the tuning set changed between two rounds");
    }
    BleuStats stats;
    added = 0;
    std::size_t candidates = 0;
    for (std::size_t s = 0; s < lists.size(); ++s) {
      if (!lists[s].empty()) {
        stats += lists[s][0].stats;
      }
      for (TuneCandidate& candidate : lists[s]) {
        if (std::find(pool[s].begin(), pool[s].end(), candidate) != pool[s].end()) {
          continue;
        }
        pool[s].push_back(std::move(candidate));
        ++added;
      }
      candidates += pool[s].size();
    }
    TuneRound done{weights, bleu(stats), tuning_score(stats, options.mert.max_ratio), expected,
                   candidates};
    result.rounds.push_back(done);
    if (done.score > result.rounds[result.best].score) {
      result.best = result.rounds.size() - 1;
    }
    if (after_round) {
      after_round(done);
    }
  };
  const auto optimise = [&](std::span<const double> from, std::uint64_t seed) {
    MertOptions mert = options.mert;
    mert.seed += seed;
    MertResult found = optimise_weights(pool, from, mert);
    rescale(found.weights, start, options.mert.fixed);
    return found;
  };

  for (int round = 0; round < options.rounds; ++round) {
    translate();
    report(progress, "tune", static_cast<double>(round + 1) / options.rounds);
    if (added == 0 || result.rounds.size() - 1 - result.best >=
                          static_cast<std::size_t>(std::max(options.patience, 1))) {
      break;
    }
    if (round + 1 == options.rounds) {
      break;
    }
    const MertResult found = optimise(weights, static_cast<std::uint64_t>(round));
    expected = found.score;
    double moved = 0;
    double total = 0;
    for (std::size_t k = 0; k < weights.size(); ++k) {
      moved = std::max(moved, std::abs(found.weights[k] - weights[k]));
      total += std::abs(weights[k]);
    }
    if (moved <= options.enough * total) {
      break;
    }
    weights = found.weights;
  }
  if (options.averaged > 1 && result.rounds.size() > 1) {
    // One optimum fits the tuning set by chance in some weights; the mean of several does less so.
    const std::vector<double> best = result.rounds[result.best].weights;
    weights.assign(best.size(), 0.0);
    expected = 0;
    for (int i = 0; i < options.averaged; ++i) {
      const MertResult found = optimise(best, 1000 + static_cast<std::uint64_t>(i));
      for (std::size_t k = 0; k < weights.size(); ++k) {
        weights[k] += found.weights[k] / options.averaged;
      }
      expected += found.score / options.averaged;
    }
    translate();
  }
  if (!result.rounds.empty()) {
    result.weights = result.rounds[result.best].weights;
  }
  report(progress, "tune", 1);
  return result;
}

}  // namespace koralite::toolkit
