#include "toolkit/lm/ngram_estimator.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

#include "toolkit/io/parallel.h"
#include "toolkit/lm/discounts.h"

namespace koralite::toolkit {
namespace {

using Index = std::uint32_t;

// All different n-grams of one length, in the order of their last words.
struct Level {
  std::vector<Index> place;     // position of the last word of an occurrence
  std::vector<Index> seen;      // occurrences
  std::vector<Index> adjusted;  // different words before it; occurrences for the
                                // longest ones and those that begin a sentence
  std::vector<float> probability;
  std::vector<float> backoff;
  std::vector<bool> kept;

  std::size_t size() const { return place.size(); }
};

class Estimator {
 public:
  Estimator(const NgramText& text, const NgramOptions& options, const Progress& progress)
      : text_(text),
        tokens_(text.tokens()),
        options_(options),
        progress_(progress),
        order_(options.order),
        levels_(order_),
        ids_(order_) {}

  NgramModel run(NgramStatistics* statistics) {
    count();
    report(progress_, kStage, 0.6);
    for (std::size_t n = 1; n <= order_; ++n) {
      estimate(n);
    }
    report(progress_, kStage, 0.8);
    if (statistics != nullptr) {
      for (const Level& level : levels_) {
        statistics->counted.push_back(level.size());
      }
      statistics->discounts = discounts_;
    }
    prune();
    NgramModel model = collect();
    if (statistics != nullptr) {
      for (std::size_t n = 1; n <= order_; ++n) {
        statistics->kept.push_back(model.level(n).size());
      }
    }
    report(progress_, kStage, 1);
    return model;
  }

 private:
  static constexpr std::string_view kStage = "language model";

  Level& level(std::size_t n) { return levels_[n - 1]; }
  const Level& level(std::size_t n) const { return levels_[n - 1]; }
  std::vector<Index>& ids(std::size_t n) { return ids_[n - 1]; }
  // The n-gram without its last word, and without its first.
  Index context(std::size_t n, std::size_t entry) const {
    return ids_[n - 2][level(n).place[entry] - 1];
  }
  Index shorter(std::size_t n, std::size_t entry) const {
    return ids_[n - 2][level(n).place[entry]];
  }

  // Positions sorted by their word, the word before it, ... up to `order` words
  // or the beginning of the sentence, and how many words that is.
  std::vector<Index> sorted_positions(std::vector<std::uint8_t>& reach) const {
    reach.resize(tokens_.size());
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      const bool begin = tokens_[i] == NgramText::kBegin;
      reach[i] =
          begin ? 1 : static_cast<std::uint8_t>(std::min<std::size_t>(order_, reach[i - 1] + 1U));
    }
    // By word first, then each word's positions by themselves.
    const std::size_t words = text_.words().size();
    std::vector<std::size_t> starts(words + 1);
    for (const WordId word : tokens_) {
      ++starts[word + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
    struct Keyed {
      std::uint64_t key;  // the two words before, shifted by one; 0 beyond the beginning
      Index at;
    };
    std::vector<Keyed> keyed(tokens_.size());
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      std::uint64_t key = 0;
      if (reach[i] > 1) {
        key = (tokens_[i - 1] + 1ULL) << 32U;
      }
      if (reach[i] > 2) {
        key |= tokens_[i - 2] + 1ULL;
      }
      keyed[next[tokens_[i]]++] = {key, static_cast<Index>(i)};
    }
    const auto before = [&](const Keyed& a, const Keyed& b) {
      if (a.key != b.key) {
        return a.key < b.key;
      }
      const std::size_t shared = std::min(reach[a.at], reach[b.at]);
      for (std::size_t k = 3; k < shared; ++k) {
        const WordId x = tokens_[a.at - k];
        const WordId y = tokens_[b.at - k];
        if (x != y) {
          return x < y;
        }
      }
      return reach[a.at] != reach[b.at] ? reach[a.at] < reach[b.at] : a.at < b.at;
    };
    const auto place = [&](std::size_t i) {
      return keyed.begin() + static_cast<std::ptrdiff_t>(i);
    };
    parallel_blocks(words, 256, options_.threads,
                    [&](std::size_t begin, std::size_t end, unsigned) {
                      for (std::size_t word = begin; word < end; ++word) {
                        std::sort(place(starts[word]), place(starts[word + 1]), before);
                      }
                    });
    std::vector<Index> positions(tokens_.size());
    for (std::size_t i = 0; i < keyed.size(); ++i) {
      positions[i] = keyed[i].at;
    }
    return positions;
  }

  void count() {
    std::vector<std::uint8_t> reach;
    const std::vector<Index> positions = sorted_positions(reach);
    report(progress_, kStage, 0.4);
    for (auto& ids : ids_) {
      ids.assign(tokens_.size(), 0);
    }
    for (std::size_t i = 0; i < positions.size(); ++i) {
      const Index at = positions[i];
      std::size_t shared = 0;
      if (i > 0) {
        const Index last = positions[i - 1];
        const std::size_t most = std::min(reach[at], reach[last]);
        while (shared < most && tokens_[at - shared] == tokens_[last - shared]) {
          ++shared;
        }
      }
      for (std::size_t n = 1; n <= reach[at]; ++n) {
        Level& here = level(n);
        if (n > shared) {
          here.place.push_back(at);
          here.seen.push_back(0);
          here.adjusted.push_back(0);
          if (n > 1) {
            ++level(n - 1).adjusted.back();
          }
        }
        ++here.seen.back();
        ids(n)[at] = static_cast<Index>(here.size() - 1);
      }
    }
    for (std::size_t n = 1; n <= order_; ++n) {
      Level& here = level(n);
      for (std::size_t i = 0; i < here.size(); ++i) {
        const bool begins = tokens_[here.place[i] - (n - 1)] == NgramText::kBegin;
        if (n == order_ || begins) {
          here.adjusted[i] = here.seen[i];
        }
      }
    }
  }

  bool is_begin(std::size_t entry) const {
    return tokens_[level(1).place[entry]] == NgramText::kBegin;
  }

  void estimate(std::size_t n) {
    Level& here = level(n);
    std::array<std::uint64_t, 4> seen{};
    for (std::size_t i = 0; i < here.size(); ++i) {
      if (n == 1 && is_begin(i)) {
        continue;
      }
      if (here.adjusted[i] <= seen.size()) {
        ++seen[here.adjusted[i] - 1];
      }
    }
    const std::array<double, 3> discounts = modified_discounts(seen);
    discounts_.push_back(discounts);
    const auto discount = [&](Index count) { return discounts[std::min<Index>(count, 3) - 1]; };
    here.probability.resize(here.size());
    here.backoff.assign(here.size(), 1);
    if (n == 1) {
      double total = 0;
      double freed = 0;
      std::size_t words = 1;  // "<unk>" takes part although the text may lack it
      for (std::size_t i = 0; i < here.size(); ++i) {
        if (is_begin(i)) {
          continue;
        }
        if (tokens_[here.place[i]] != NgramText::kUnknown) {
          ++words;
        }
        total += here.adjusted[i];
        freed += discount(here.adjusted[i]);
      }
      const double flat = freed / total / static_cast<double>(words);
      unknown_ = flat;
      for (std::size_t i = 0; i < here.size(); ++i) {
        here.probability[i] =
            is_begin(i) ? 0.0F
                        : static_cast<float>(
                              (here.adjusted[i] - discount(here.adjusted[i])) / total + flat);
      }
      return;
    }
    Level& below = level(n - 1);
    std::vector<std::uint64_t> total(below.size());
    std::vector<std::array<Index, 3>> kinds(below.size());
    for (std::size_t i = 0; i < here.size(); ++i) {
      const Index c = context(n, i);
      total[c] += here.adjusted[i];
      ++kinds[c][std::min<Index>(here.adjusted[i], 3) - 1];
    }
    for (std::size_t c = 0; c < below.size(); ++c) {
      if (total[c] == 0) {
        continue;
      }
      const double freed =
          discounts[0] * kinds[c][0] + discounts[1] * kinds[c][1] + discounts[2] * kinds[c][2];
      below.backoff[c] = static_cast<float>(freed / static_cast<double>(total[c]));
    }
    parallel_blocks(here.size(), 65536, options_.threads,
                    [&](std::size_t begin, std::size_t end, unsigned) {
                      for (std::size_t i = begin; i < end; ++i) {
                        const Index c = context(n, i);
                        const double kept = here.adjusted[i] - discount(here.adjusted[i]);
                        const double own = kept / static_cast<double>(total[c]);
                        const double rest = static_cast<double>(below.backoff[c]) *
                                            static_cast<double>(below.probability[shorter(n, i)]);
                        here.probability[i] = static_cast<float>(own + rest);
                      }
                    });
  }

  // An n-gram can go unless one that stays contains it at its begin or end.
  void prune() {
    for (Level& here : levels_) {
      here.kept.assign(here.size(), true);
    }
    bool pruned = false;
    for (std::size_t n = order_; n >= 2; --n) {
      std::vector<bool> needed(level(n).size());
      if (n < order_) {
        for (std::size_t i = 0; i < level(n + 1).size(); ++i) {
          if (level(n + 1).kept[i]) {
            needed[context(n + 1, i)] = needed[shorter(n + 1, i)] = true;
          }
        }
      }
      const std::uint32_t least = n <= options_.min_counts.size() ? options_.min_counts[n - 1] : 1;
      if (least > 1) {
        Level& here = level(n);
        for (std::size_t i = 0; i < here.size(); ++i) {
          if (!needed[i] && here.seen[i] < least) {
            here.kept[i] = false;
          }
        }
        pruned = true;
      }
      if (options_.entropy_threshold > 0) {
        prune_by_entropy(n, needed);
        pruned = true;
      }
    }
    if (pruned) {
      for (std::size_t n = 2; n <= order_; ++n) {
        set_backoffs(n);
      }
    }
  }

  // What a context's n-grams leave over, for themselves and in the shorter context.
  struct Rest {
    std::vector<double> own;
    std::vector<double> shorter;
  };
  Rest rest(std::size_t n) const {
    Rest left{std::vector<double>(level(n - 1).size(), 1.0),
              std::vector<double>(level(n - 1).size(), 1.0)};
    for (std::size_t i = 0; i < level(n).size(); ++i) {
      if (!level(n).kept[i]) {
        continue;
      }
      const Index c = context(n, i);
      left.own[c] -= static_cast<double>(level(n).probability[i]);
      left.shorter[c] -= static_cast<double>(level(n - 1).probability[shorter(n, i)]);
    }
    return left;
  }
  static double ratio(double own, double shorter) {
    // Where nothing is left over, no word can ask for it.
    return own > 1e-9 && shorter > 1e-9 ? own / shorter : 1e-9;
  }

  void prune_by_entropy(std::size_t n, const std::vector<bool>& needed) {
    Level& here = level(n);
    const Rest left = rest(n);
    const double tokens = static_cast<double>(tokens_.size());
    std::vector<std::uint8_t> drop(here.size());
    parallel_blocks(
        here.size(), 65536, options_.threads, [&](std::size_t begin, std::size_t end, unsigned) {
          for (std::size_t i = begin; i < end; ++i) {
            if (!here.kept[i] || needed[i]) {
              continue;
            }
            const Index c = context(n, i);
            const double p = static_cast<double>(here.probability[i]);
            const double q = static_cast<double>(level(n - 1).probability[shorter(n, i)]);
            const double old_backoff = ratio(left.own[c], left.shorter[c]);
            const double new_backoff = ratio(left.own[c] + p, left.shorter[c] + q);
            const double change = std::log(new_backoff) - std::log(old_backoff);
            const double loss = -(p * (std::log(q) + std::log(new_backoff) - std::log(p)) +
                                  std::max(left.own[c], 0.0) * change);
            const double share = static_cast<double>(level(n - 1).seen[c]) / tokens;
            drop[i] = share * loss < options_.entropy_threshold ? 1 : 0;
          }
        });
    for (std::size_t i = 0; i < here.size(); ++i) {
      if (drop[i] != 0) {
        here.kept[i] = false;
      }
    }
  }

  void set_backoffs(std::size_t n) {
    const Rest left = rest(n);
    std::vector<bool> used(level(n - 1).size());
    for (std::size_t i = 0; i < level(n).size(); ++i) {
      if (level(n).kept[i]) {
        used[context(n, i)] = true;
      }
    }
    for (std::size_t c = 0; c < used.size(); ++c) {
      level(n - 1).backoff[c] =
          used[c] ? static_cast<float>(ratio(left.own[c], left.shorter[c])) : 1.0F;
    }
  }

  NgramModel collect() {
    std::vector<std::string> words;
    for (WordId id = 0; id < text_.words().size(); ++id) {
      words.push_back(text_.words().word(id));
    }
    std::vector<NgramLevel> out(order_);
    for (std::size_t n = 1; n <= order_; ++n) {
      const Level& here = level(n);
      NgramLevel& made = out[n - 1];
      if (n == 1 && tokens_[here.place[0]] != NgramText::kUnknown) {
        made.words.push_back(NgramText::kUnknown);
        made.log_probability.push_back(static_cast<float>(std::log10(unknown_)));
        made.log_backoff.push_back(0);
      }
      for (std::size_t i = 0; i < here.size(); ++i) {
        if (!here.kept[i]) {
          continue;
        }
        const auto last = tokens_.begin() + static_cast<std::ptrdiff_t>(here.place[i]);
        made.words.insert(made.words.end(), last - static_cast<std::ptrdiff_t>(n - 1), last + 1);
        made.log_probability.push_back(n == 1 && is_begin(i) ? -99.0F
                                                             : std::log10(here.probability[i]));
        made.log_backoff.push_back(std::log10(here.backoff[i]));
      }
    }
    return {std::move(words), std::move(out)};
  }

  const NgramText& text_;
  std::span<const WordId> tokens_;
  const NgramOptions& options_;
  const Progress& progress_;
  std::size_t order_;
  std::vector<Level> levels_;
  std::vector<std::vector<Index>> ids_;  // by order: which n-gram ends at a position
  std::vector<std::array<double, 3>> discounts_;
  double unknown_ = 0;
};

}  // namespace

NgramModel estimate_ngrams(const NgramText& text, const NgramOptions& options,
                           NgramStatistics* statistics, const Progress& progress) {
  if (options.order < 1 || options.order > 8) {
    throw std::runtime_error("the order of a language model must be 1 to 8");
  }
  if (text.tokens().empty()) {
    throw std::runtime_error("no text for the language model");
  }
  if (text.tokens().size() > 0xFFFFFFFFULL) {
    throw std::runtime_error("more than 4,294,967,295 words for the language model");
  }
  return Estimator(text, options, progress).run(statistics);
}

}  // namespace koralite::toolkit
