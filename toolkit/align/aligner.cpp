#include "toolkit/align/aligner.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

#include "toolkit/align/meeting_table.h"
#include "toolkit/io/parallel.h"

namespace koralite::toolkit {
namespace {

constexpr std::size_t kBlock = 128;                 // pairs that a thread takes at a time
constexpr std::size_t kCellBudget = 256ULL << 20U;  // cells kept, 4 bytes each
constexpr int kFarthest = 40;                       // jumps beyond are one class
constexpr float kUniformJump = 0.05F;               // share of the flat jump distribution

// Jump probabilities for one sentence length n. Row 0 is the start, row m + 1
// the position m; the transposed copy lets both passes run along rows.
struct JumpMatrix {
  std::vector<float> by_from;  // (n + 1) x n
  std::vector<float> by_to;    // n x (n + 1)
};

// What one thread works in.
struct Scratch {
  std::vector<std::size_t> entries;  // J x (I + 1), column 0 the empty word
  std::vector<float> emit;           // t of those entries
  std::vector<float> posterior;      // same shape
  std::vector<float> mass;           // (J + 1) x (I + 1), forward, by position of the last source
  std::vector<float> real;           // J x I, forward, of the words with a source
  std::vector<float> scale;          // J
  std::vector<float> ahead, ahead_next, weight;
  std::vector<float> moves;  // (I + 1) x I, expected jumps before their probability
};

double distance(std::size_t i, std::size_t of, std::size_t j, std::size_t of_generated) {
  return std::abs((static_cast<double>(i) + 0.5) / static_cast<double>(of) -
                  (static_cast<double>(j) + 0.5) / static_cast<double>(of_generated));
}

class Trainer {
 public:
  Trainer(const TokenText& given, const TokenText& generated, std::size_t given_words,
          std::size_t generated_words, const AlignOptions& options)
      : given_(given),
        generated_(generated),
        options_(options),
        table_(given, generated, given_words, generated_words, options.max_words, options.threads),
        tension_(options.tension),
        jumps_(2 * kFarthest + 1),
        starts_(kFarthest + 1),
        jump_counts_(jumps_.size()),
        start_counts_(starts_.size()) {
    for (int width = -kFarthest; width <= kFarthest; ++width) {
      jumps_[jump_class(width)] = 1.0 / (1.0 + 2.0 * std::abs(width - 1));
    }
    for (std::size_t i = 0; i < starts_.size(); ++i) {
      starts_[i] = 1.0 / (1.0 + 2.0 * static_cast<double>(i));
    }
    keep_cells();
    for (std::size_t pair = 0; pair < given_.size(); ++pair) {
      if (usable(pair)) {
        ++shapes_[{given_.length(pair), generated_.length(pair)}];
      }
    }
  }

  AlignResult run(const Progress& progress, std::string_view stage) {
    AlignResult result;
    const int passes = options_.diagonal_iterations + options_.hmm_iterations + 1;
    int done = 0;
    const Progress share = [&](std::string_view, double part) {
      report(progress, stage, (done + part) / passes);
    };
    const Progress inner = progress ? share : Progress{};
    bool markov = false;
    for (int i = 0; i < options_.diagonal_iterations; ++i, ++done) {
      learn(false, result, inner);
      if (options_.optimise_tension && i > 0) {
        fit_tension();
      }
    }
    for (int i = 0; i < options_.hmm_iterations; ++i, ++done) {
      markov = true;
      set_jumps();
      learn(true, result, inner);
      take_jumps();
    }
    if (markov) {
      set_jumps();
    }
    result.alignment = decide(markov, inner);
    result.tension = tension_;
    return result;
  }

 private:
  bool usable(std::size_t pair) const {
    return given_.length(pair) > 0 && generated_.length(pair) > 0 &&
           given_.length(pair) <= options_.max_words &&
           generated_.length(pair) <= options_.max_words;
  }

  // Looks every cell's entry up once, when there is room for the answers.
  void keep_cells() {
    cell_starts_.assign(given_.size() + 1, 0);
    for (std::size_t pair = 0; pair < given_.size(); ++pair) {
      cell_starts_[pair + 1] =
          cell_starts_[pair] + (usable(pair) ? given_.length(pair) * generated_.length(pair) : 0);
    }
    if (cell_starts_.back() > kCellBudget || table_.entries() > 0xFFFFFFFFULL) {
      return;
    }
    cells_.resize(cell_starts_.back());
    parallel_blocks(given_.size(), kBlock, options_.threads,
                    [&](std::size_t begin, std::size_t end, unsigned) {
                      for (std::size_t pair = begin; pair < end; ++pair) {
                        if (!usable(pair)) {
                          continue;
                        }
                        std::size_t at = cell_starts_[pair];
                        for (const WordId to : generated_[pair]) {
                          for (const WordId from : given_[pair]) {
                            cells_[at++] = static_cast<std::uint32_t>(table_.entry(from, to));
                          }
                        }
                      }
                    });
  }

  void fetch(std::size_t pair, Scratch& s) const {
    const auto given = given_[pair];
    const auto generated = generated_[pair];
    s.entries.clear();
    std::size_t at = cell_starts_[pair];
    for (const WordId to : generated) {
      s.entries.push_back(table_.empty_entry(to));
      for (const WordId from : given) {
        s.entries.push_back(cells_.empty() ? table_.entry(from, to) : cells_[at++]);
      }
    }
    s.emit.resize(s.entries.size());
    for (std::size_t i = 0; i < s.entries.size(); ++i) {
      s.emit[i] = table_.probability(s.entries[i]);
    }
    s.posterior.resize(s.entries.size());
  }

  // Fills the posterior of each link; returns the log-likelihood.
  double diagonal(std::size_t pair, Scratch& s) const {
    const std::size_t n = given_.length(pair);
    const std::size_t m = generated_.length(pair);
    const double p0 = options_.null_probability;
    double log_likelihood = 0;
    s.weight.resize(n);
    for (std::size_t j = 0; j < m; ++j) {
      const float* const emit = &s.emit[j * (n + 1)];
      float* const post = &s.posterior[j * (n + 1)];
      double z = 0;
      for (std::size_t i = 0; i < n; ++i) {
        const double w = std::exp(-tension_ * distance(i, n, j, m));
        s.weight[i] = static_cast<float>(w);
        z += w;
      }
      double total = p0 * emit[0];
      for (std::size_t i = 0; i < n; ++i) {
        post[i + 1] = static_cast<float>((1 - p0) * (s.weight[i] / z) * emit[i + 1]);
        total += post[i + 1];
      }
      post[0] = static_cast<float>(p0 * emit[0]);
      for (std::size_t i = 0; i <= n; ++i) {
        post[i] = static_cast<float>(post[i] / total);
      }
      log_likelihood += std::log(total);
    }
    return log_likelihood;
  }

  // Jumps alone know nothing of the sentence's end: a final full stop would go to
  // whatever follows the last word that was translated. So each link also bears
  // the diagonal model's weight, as a factor of one on average.
  void pull_to_diagonal(std::size_t n, std::size_t m, Scratch& s) const {
    const double tension = tension_ * options_.markov_tension;
    s.weight.resize(n);
    for (std::size_t j = 0; j < m; ++j) {
      double z = 0;
      for (std::size_t i = 0; i < n; ++i) {
        const double w = std::exp(-tension * distance(i, n, j, m));
        s.weight[i] = static_cast<float>(w);
        z += w;
      }
      const float scale = static_cast<float>(static_cast<double>(n) / z);
      for (std::size_t i = 0; i < n; ++i) {
        s.emit[j * (n + 1) + i + 1] *= s.weight[i] * scale;
      }
    }
  }

  // The same under the Markov model; with moves, also the expected jumps.
  double markov(std::size_t pair, Scratch& s, bool moves) const {
    const std::size_t n = given_.length(pair);
    const std::size_t m = generated_.length(pair);
    pull_to_diagonal(n, m, s);
    const JumpMatrix& jump = matrices_[n];
    const float p0 = static_cast<float>(options_.null_probability);
    double log_likelihood = 0;
    s.mass.assign((m + 1) * (n + 1), 0.0F);
    s.mass[0] = 1;
    s.real.assign(m * n, 0.0F);
    s.scale.resize(m);
    for (std::size_t j = 0; j < m; ++j) {
      const float* const emit = &s.emit[j * (n + 1)];
      const float* const before = &s.mass[j * (n + 1)];
      float* const after = &s.mass[(j + 1) * (n + 1)];
      float* const real = &s.real[j * n];
      for (std::size_t from = 0; from <= n; ++from) {
        const float share = before[from];
        const float* const row = &jump.by_from[from * n];
        for (std::size_t i = 0; i < n; ++i) {
          real[i] += share * row[i];
        }
      }
      float total = 0;
      for (std::size_t i = 0; i < n; ++i) {
        real[i] *= (1 - p0) * emit[i + 1];
        total += real[i];
      }
      const float empty = p0 * emit[0];
      total += empty;  // the masses before sum to one
      const float inverse = 1 / total;
      for (std::size_t i = 0; i < n; ++i) {
        real[i] *= inverse;
      }
      for (std::size_t from = 0; from <= n; ++from) {
        after[from] = empty * inverse * before[from];
      }
      for (std::size_t i = 0; i < n; ++i) {
        after[i + 1] += real[i];
      }
      s.scale[j] = inverse;
      log_likelihood += std::log(static_cast<double>(total));
    }

    s.ahead.assign(n + 1, 1.0F);
    s.weight.resize(n);
    if (moves) {
      s.moves.assign((n + 1) * n, 0.0F);
    }
    for (std::size_t j = m; j-- > 0;) {
      const float* const emit = &s.emit[j * (n + 1)];
      const float* const before = &s.mass[j * (n + 1)];
      float* const post = &s.posterior[j * (n + 1)];
      const float empty = p0 * emit[0] * s.scale[j];
      post[0] = 0;
      for (std::size_t from = 0; from <= n; ++from) {
        post[0] += empty * before[from] * s.ahead[from];
      }
      s.ahead_next.resize(n + 1);
      for (std::size_t from = 0; from <= n; ++from) {
        s.ahead_next[from] = empty * s.ahead[from];
      }
      for (std::size_t i = 0; i < n; ++i) {
        post[i + 1] = s.real[j * n + i] * s.ahead[i + 1];
        const float w = (1 - p0) * emit[i + 1] * s.ahead[i + 1] * s.scale[j];
        s.weight[i] = w;
        const float* const column = &jump.by_to[i * (n + 1)];
        float* const next = s.ahead_next.data();
        for (std::size_t from = 0; from <= n; ++from) {
          next[from] += w * column[from];
        }
      }
      if (moves) {
        const float* const weight = s.weight.data();
        for (std::size_t from = 0; from <= n; ++from) {
          const float share = before[from];
          float* const row = &s.moves[from * n];
          for (std::size_t i = 0; i < n; ++i) {
            row[i] += share * weight[i];
          }
        }
      }
      s.ahead.swap(s.ahead_next);
    }
    return log_likelihood;
  }

  // Calls body(pair, scratch) for each usable pair, with what the table holds of it fetched; on all
  // threads, kBlock neighbours after each other on one of them.
  template <class Body>
  void for_each_pair(const Progress& progress, Body&& body) const {
    std::vector<Scratch> scratch(thread_count(options_.threads));
    parallel_blocks(
        given_.size(), kBlock, options_.threads,
        [&](std::size_t begin, std::size_t end, unsigned worker) {
          for (std::size_t pair = begin; pair < end; ++pair) {
            if (usable(pair)) {
              fetch(pair, scratch[worker]);
              body(pair, scratch[worker]);
            }
          }
        },
        progress);
  }

  // One pass of expectation and maximisation.
  void learn(bool use_markov, AlignResult& result, const Progress& progress) {
    std::vector<double> logs((given_.size() + kBlock - 1) / kBlock);
    std::uint64_t distance_sum = 0;
    for_each_pair(progress, [&](std::size_t pair, Scratch& s) {
      logs[pair / kBlock] += use_markov ? markov(pair, s, true) : diagonal(pair, s);
      for (std::size_t i = 0; i < s.entries.size(); ++i) {
        // Below the resolution of the sums it would add nothing.
        if (s.posterior[i] > 1e-9F) {
          table_.add(s.entries[i], s.posterior[i]);
        }
      }
      if (use_markov) {
        count_jumps(given_.length(pair), s);
      } else {
        add_fixed(distance_sum, mean_distance(pair, s));
      }
    });
    double log_likelihood = 0;
    for (const double part : logs) {
      log_likelihood += part;
    }
    result.log_likelihood = log_likelihood;
    std::size_t words = 0;
    for (const auto& [shape, count] : shapes_) {
      words += shape.second * count;
    }
    result.perplexities.push_back(
        words == 0 ? 1 : std::exp(-log_likelihood / static_cast<double>(words)));
    observed_distance_ = from_fixed(distance_sum);
    table_.normalise(options_.prior, options_.threads);
  }

  double mean_distance(std::size_t pair, const Scratch& s) const {
    const std::size_t n = given_.length(pair);
    const std::size_t m = generated_.length(pair);
    double sum = 0;
    for (std::size_t j = 0; j < m; ++j) {
      for (std::size_t i = 0; i < n; ++i) {
        sum += static_cast<double>(s.posterior[j * (n + 1) + i + 1]) * distance(i, n, j, m);
      }
    }
    return sum;
  }

  // Chooses the tension under which the model expects the distance from the
  // diagonal that was observed. The expectation falls as the tension grows.
  void fit_tension() {
    const double links_share = 1 - options_.null_probability;
    const auto expected = [&](double tension) {
      double sum = 0;
      for (const auto& [shape, count] : shapes_) {
        const auto& [n, m] = shape;
        for (std::size_t j = 0; j < m; ++j) {
          double z = 0;
          double d = 0;
          for (std::size_t i = 0; i < n; ++i) {
            const double far = distance(i, n, j, m);
            const double w = std::exp(-tension * far);
            z += w;
            d += w * far;
          }
          sum += links_share * d / z * static_cast<double>(count);
        }
      }
      return sum;
    };
    double low = 0.1;
    double high = 30;
    for (int step = 0; step < 9; ++step) {
      const double middle = (low + high) / 2;
      (expected(middle) > observed_distance_ ? low : high) = middle;
    }
    tension_ = (low + high) / 2;
  }

  static std::size_t jump_class(int width) {
    return static_cast<std::size_t>(std::clamp(width, -kFarthest, kFarthest) + kFarthest);
  }
  static std::size_t start_class(std::size_t position) {
    return std::min<std::size_t>(position, kFarthest);
  }

  void count_jumps(std::size_t n, const Scratch& s) {
    const JumpMatrix& jump = matrices_[n];
    std::vector<double> by_class(jumps_.size());
    for (std::size_t i = 0; i < n; ++i) {
      add_fixed(start_counts_[start_class(i)],
                static_cast<double>(s.moves[i]) * static_cast<double>(jump.by_from[i]));
    }
    for (std::size_t from = 1; from <= n; ++from) {
      for (std::size_t i = 0; i < n; ++i) {
        const int width = static_cast<int>(i) - static_cast<int>(from) + 1;
        by_class[jump_class(width)] += static_cast<double>(s.moves[from * n + i]) *
                                       static_cast<double>(jump.by_from[from * n + i]);
      }
    }
    for (std::size_t c = 0; c < by_class.size(); ++c) {
      if (by_class[c] > 0) {
        add_fixed(jump_counts_[c], by_class[c]);
      }
    }
  }

  void take_jumps() {
    const auto take = [](std::vector<std::uint64_t>& counts, std::vector<double>& weights) {
      for (std::size_t c = 0; c < counts.size(); ++c) {
        weights[c] = from_fixed(counts[c]) + 0.5;
        counts[c] = 0;
      }
    };
    take(jump_counts_, jumps_);
    take(start_counts_, starts_);
  }

  void set_jumps() {
    std::size_t longest = 0;
    for (const auto& [shape, count] : shapes_) {
      longest = std::max(longest, shape.first);
    }
    matrices_.assign(longest + 1, {});
    parallel_for(longest, options_.threads, [&](std::size_t item, unsigned) {
      const std::size_t n = item + 1;
      JumpMatrix& jump = matrices_[n];
      jump.by_from.resize((n + 1) * n);
      jump.by_to.resize((n + 1) * n);
      for (std::size_t from = 0; from <= n; ++from) {
        double total = 0;
        const auto weight = [&](std::size_t i) {
          return from == 0 ? starts_[start_class(i)]
                           : jumps_[jump_class(static_cast<int>(i) - static_cast<int>(from) + 1)];
        };
        for (std::size_t i = 0; i < n; ++i) {
          total += weight(i);
        }
        for (std::size_t i = 0; i < n; ++i) {
          const float p = (1 - kUniformJump) * static_cast<float>(weight(i) / total) +
                          kUniformJump / static_cast<float>(n);
          jump.by_from[from * n + i] = p;
          jump.by_to[i * (n + 1) + from] = p;
        }
      }
    });
  }

  // The likeliest source of each word by itself.
  DirectedAlignment decide(bool use_markov, const Progress& progress) const {
    DirectedAlignment alignment;
    alignment.from.assign(generated_.tokens(), DirectedAlignment::kUnaligned);
    for_each_pair(progress, [&](std::size_t pair, Scratch& s) {
      if (use_markov) {
        markov(pair, s, false);
      } else {
        diagonal(pair, s);
      }
      const std::size_t columns = given_.length(pair) + 1;
      for (std::size_t j = 0; j < generated_.length(pair); ++j) {
        const auto row = s.posterior.begin() + static_cast<std::ptrdiff_t>(j * columns);
        const auto best = std::max_element(row, row + static_cast<std::ptrdiff_t>(columns)) - row;
        alignment.from[generated_.start(pair) + j] = static_cast<std::int16_t>(best - 1);
      }
    });
    return alignment;
  }

  const TokenText& given_;
  const TokenText& generated_;
  const AlignOptions& options_;
  MeetingTable table_;
  std::vector<std::size_t> cell_starts_;
  std::vector<std::uint32_t> cells_;                                   // empty: look up each time
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> shapes_;  // lengths and how often
  double tension_;
  double observed_distance_ = 0;
  std::vector<double> jumps_;   // weight of each jump class
  std::vector<double> starts_;  // weight of each first position
  std::vector<std::uint64_t> jump_counts_;
  std::vector<std::uint64_t> start_counts_;
  std::vector<JumpMatrix> matrices_;  // by sentence length
};

}  // namespace

AlignResult align(const TokenText& given, const TokenText& generated, std::size_t given_words,
                  std::size_t generated_words, const AlignOptions& options,
                  const Progress& progress, std::string_view stage) {
  if (given.size() != generated.size()) {
    throw std::runtime_error("texts of different length cannot be aligned");
  }
  if (options.max_words < 1 || options.max_words > 10000) {
    throw std::runtime_error("the longest sentence to align must have 1 to 10000 words");
  }
  return Trainer(given, generated, given_words, generated_words, options).run(progress, stage);
}

Alignment align_both(const Bitext& bitext, const AlignOptions& options, const Progress& progress) {
  const AlignResult forward =
      align(bitext.source, bitext.target, bitext.source_words.size(), bitext.target_words.size(),
            options, progress, "align source to target");
  const AlignResult backward =
      align(bitext.target, bitext.source, bitext.target_words.size(), bitext.source_words.size(),
            options, progress, "align target to source");
  return symmetrize(bitext, forward.alignment, backward.alignment,
                    Symmetrization::kGrowDiagFinalAnd, options.threads);
}

}  // namespace koralite::toolkit
