#include "toolkit/align/meeting_table.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace koralite::toolkit {
namespace {

// Sentences in which each word of a text occurs, each sentence once.
struct Occurrences {
  std::vector<std::uint64_t> starts;
  std::vector<std::uint32_t> sentences;

  Occurrences(const TokenText& text, const TokenText& other, std::size_t words,
              std::size_t max_words)
      : starts(words + 1) {
    const auto each = [&](const auto& found) {
      std::vector<std::uint32_t> last(words, 0);  // sentence + 1 in which a word was seen last
      for (std::size_t s = 0; s < text.size(); ++s) {
        if (text.length(s) > max_words || other.length(s) > max_words) {
          continue;
        }
        for (const WordId word : text[s]) {
          if (last[word] == s + 1) {
            continue;
          }
          last[word] = static_cast<std::uint32_t>(s + 1);
          found(word, static_cast<std::uint32_t>(s));
        }
      }
    };
    each([&](WordId word, std::uint32_t) { ++starts[word + 1]; });
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    sentences.resize(starts.back());
    std::vector<std::uint64_t> next(starts.begin(), starts.end() - 1);
    each([&](WordId word, std::uint32_t s) { sentences[next[word]++] = s; });
  }
};

// exp(digamma(x)) without the exponential's cancellation for large x.
double exp_digamma(double x) {
  double shift = 0;
  while (x < 7) {
    shift -= 1 / x;
    x += 1;
  }
  const double y = x - 0.5;
  const double z = 1 / (y * y);
  return std::exp(shift + std::log(y) +
                  z * (1.0 / 24 - z * (7.0 / 960 - z * (31.0 / 8064 - z * 127.0 / 30720))));
}

}  // namespace

MeetingTable::MeetingTable(const TokenText& given, const TokenText& generated,
                           std::size_t given_words, std::size_t generated_words,
                           std::size_t max_words, unsigned threads)
    : rows_(given_words + 2) {
  const Occurrences where(given, generated, given_words, max_words);
  const auto gather = [&](WordId word, std::vector<WordId>& seen, auto&& found) {
    for (std::uint64_t i = where.starts[word]; i < where.starts[word + 1]; ++i) {
      for (const WordId other : generated[where.sentences[i]]) {
        if (seen[other] == word + 1) {
          continue;
        }
        seen[other] = word + 1;
        found(other);
      }
    }
  };
  // Once to count, once to fill: the big arrays never grow by doubling.
  std::vector<std::vector<WordId>> seen(thread_count(threads));
  const auto for_words = [&](const auto& body) {
    for (auto& mine : seen) {
      mine.assign(generated_words, 0);
    }
    parallel_blocks(given_words, 64, threads,
                    [&](std::size_t begin, std::size_t end, unsigned worker) {
                      for (std::size_t word = begin; word < end; ++word) {
                        body(static_cast<WordId>(word), seen[worker]);
                      }
                    });
  };
  rows_[1] = generated_words;
  for_words([&](WordId word, std::vector<WordId>& mine) {
    std::uint64_t count = 0;
    gather(word, mine, [&](WordId) { ++count; });
    rows_[word + 2] = count;
  });
  std::partial_sum(rows_.begin(), rows_.end(), rows_.begin());
  words_.resize(rows_.back());
  std::iota(words_.begin(), words_.begin() + static_cast<std::ptrdiff_t>(generated_words), 0U);
  for_words([&](WordId word, std::vector<WordId>& mine) {
    std::uint64_t at = rows_[word + 1];
    gather(word, mine, [&](WordId other) { words_[at++] = other; });
    std::sort(words_.begin() + static_cast<std::ptrdiff_t>(rows_[word + 1]),
              words_.begin() + static_cast<std::ptrdiff_t>(at));
  });
  probabilities_.assign(words_.size(),
                        1.0F / static_cast<float>(std::max<std::size_t>(generated_words, 1)));
  counts_.assign(words_.size(), 0);
}

std::size_t MeetingTable::entry(WordId given, WordId generated) const {
  const auto row = words_.begin();
  const auto begin = row + static_cast<std::ptrdiff_t>(rows_[given + 1]);
  const auto end = row + static_cast<std::ptrdiff_t>(rows_[given + 2]);
  return static_cast<std::size_t>(std::lower_bound(begin, end, generated) - row);
}

void MeetingTable::normalise(double prior, unsigned threads) {
  constexpr float kFloor = 1e-12F;
  parallel_blocks(rows_.size() - 1, 64, threads, [&](std::size_t begin, std::size_t end, unsigned) {
    for (std::size_t row = begin; row < end; ++row) {
      std::uint64_t total = 0;
      for (std::uint64_t i = rows_[row]; i < rows_[row + 1]; ++i) {
        total += counts_[i];
      }
      const double members = static_cast<double>(rows_[row + 1] - rows_[row]);
      const double scale =
          prior > 0 ? exp_digamma(from_fixed(total) + prior * members) : from_fixed(total);
      for (std::uint64_t i = rows_[row]; i < rows_[row + 1]; ++i) {
        const double count = from_fixed(counts_[i]);
        counts_[i] = 0;
        const double value = prior > 0 ? exp_digamma(count + prior) : count;
        const float share = scale > 0 ? static_cast<float>(value / scale) : 0.0F;
        probabilities_[i] = std::max(share, kFloor);
      }
    }
  });
}

}  // namespace koralite::toolkit
