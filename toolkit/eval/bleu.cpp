#include "toolkit/eval/bleu.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "kora/kora.h"
#include "toolkit/eval/sentence_scores.h"
#include "toolkit/io/text_form.h"

namespace koralite::toolkit {
namespace {

std::uint64_t fingerprint(std::string_view word) {
  std::uint64_t x = 0xCBF29CE484222325ULL;
  for (const char c : word) {
    x = (x ^ static_cast<unsigned char>(c)) * 0x100000001B3ULL;
    x ^= x >> 32U;
  }
  x *= 0x9E3779B97F4A7C15ULL;
  x ^= x >> 29U;
  return x == 0 ? 1 : x;
}

}  // namespace

BleuStats& BleuStats::operator+=(const BleuStats& other) {
  for (std::size_t n = 0; n < 4; ++n) {
    matches[n] += other.matches[n];
    totals[n] += other.totals[n];
  }
  length += other.length;
  reference += other.reference;
  return *this;
}

BleuStats& BleuStats::operator-=(const BleuStats& other) {
  for (std::size_t n = 0; n < 4; ++n) {
    matches[n] -= other.matches[n];
    totals[n] -= other.totals[n];
  }
  length -= other.length;
  reference -= other.reference;
  return *this;
}

double BleuScore::ratio() const {
  return reference > 0 ? static_cast<double>(length) / static_cast<double>(reference) : 0;
}

std::string BleuScore::text() const {
  std::string out = fixed(score, 2);
  for (std::size_t n = 0; n < 4; ++n) {
    out += (n == 0 ? ' ' : '/') + fixed(precisions[n], 1);
  }
  return out + " (BP = " + fixed(brevity, 3) + " ratio = " + fixed(ratio(), 3) +
         " hyp_len = " + std::to_string(length) + " ref_len = " + std::to_string(reference) + ")";
}

BleuScore bleu(const BleuStats& stats) {
  BleuScore result;
  result.length = stats.length;
  result.reference = stats.reference;
  if (stats.length < stats.reference) {
    result.brevity =
        stats.length > 0
            ? std::exp(1 - static_cast<double>(stats.reference) / static_cast<double>(stats.length))
            : 0;
  }
  if (stats.matches[0] == 0) {
    return result;
  }
  double log_sum = 0;
  double halves = 1;
  for (std::size_t n = 0; n < 4; ++n) {
    // Translations too short for any n-gram of this length: no score.
    if (stats.totals[n] == 0) {
      return result;
    }
    const double total = static_cast<double>(stats.totals[n]);
    if (stats.matches[n] == 0) {
      halves *= 2;
    }
    result.precisions[n] = stats.matches[n] == 0
                               ? 100 / (halves * total)
                               : 100 * static_cast<double>(stats.matches[n]) / total;
    log_sum += std::log(result.precisions[n]);
  }
  result.score = result.brevity * std::exp(log_sum / 4);
  return result;
}

BleuScorer::BleuScorer(std::span<const std::vector<std::string>> references,
                       const BleuOptions& options)
    : options_(options), references_(references.size()) {
  sentences_.resize(sentence_count(references));
  for (const std::vector<std::string>& reference : references) {
    for (std::size_t i = 0; i < reference.size(); ++i) {
      const std::vector<std::uint64_t> cut = words(reference[i]);
      sentences_[i].lengths.push_back(static_cast<std::int64_t>(cut.size()));
      for (std::size_t n = 0; n < 4; ++n) {
        std::vector<Counted>& most = sentences_[i].grams[n];
        std::vector<Counted> merged;
        const std::vector<Counted> own = count(cut, n + 1);
        auto a = most.begin();
        auto b = own.begin();
        while (a != most.end() || b != own.end()) {
          if (b == own.end() || (a != most.end() && a->gram < b->gram)) {
            merged.push_back(*a++);
          } else if (a == most.end() || b->gram < a->gram) {
            merged.push_back(*b++);
          } else {
            merged.push_back({a->gram, std::max(a->count, b->count)});
            ++a;
            ++b;
          }
        }
        most = std::move(merged);
      }
    }
  }
}

std::vector<std::uint64_t> BleuScorer::words(std::string_view text) const {
  std::vector<std::uint64_t> prints;
  const std::string lowered = options_.lower_case ? lower_case(text) : std::string(text);
  for (const std::string& word : tokenize(lowered, options_.tokenizer)) {
    prints.push_back(fingerprint(word));
  }
  return prints;
}

std::vector<BleuScorer::Counted> BleuScorer::count(std::span<const std::uint64_t> words,
                                                   std::size_t n) {
  std::vector<Gram> grams;
  for (std::size_t i = 0; i + n <= words.size(); ++i) {
    Gram gram{};
    std::copy_n(words.begin() + static_cast<std::ptrdiff_t>(i), n, gram.begin());
    grams.push_back(gram);
  }
  std::sort(grams.begin(), grams.end());
  std::vector<Counted> counted;
  for (const Gram& gram : grams) {
    if (counted.empty() || counted.back().gram != gram) {
      counted.push_back({gram, 0});
    }
    ++counted.back().count;
  }
  return counted;
}

BleuStats BleuScorer::sentence(std::size_t index, std::string_view translation) const {
  const Sentence& reference = sentences_[index];
  const std::vector<std::uint64_t> cut = words(translation);
  BleuStats stats;
  stats.length = static_cast<std::int64_t>(cut.size());
  // The closest length, the shorter one of two equally close.
  stats.reference = *std::min_element(reference.lengths.begin(), reference.lengths.end(),
                                      [&](std::int64_t a, std::int64_t b) {
                                        const std::int64_t far_a = std::abs(a - stats.length);
                                        const std::int64_t far_b = std::abs(b - stats.length);
                                        return far_a != far_b ? far_a < far_b : a < b;
                                      });
  for (std::size_t n = 0; n < 4; ++n) {
    auto held = reference.grams[n].begin();
    for (const Counted& own : count(cut, n + 1)) {
      stats.totals[n] += own.count;
      while (held != reference.grams[n].end() && held->gram < own.gram) {
        ++held;
      }
      if (held != reference.grams[n].end() && held->gram == own.gram) {
        stats.matches[n] += std::min(own.count, held->count);
      }
    }
  }
  return stats;
}

std::vector<BleuStats> BleuScorer::sentences(std::span<const std::string> translations) const {
  return sentence_scores(*this, translations);
}

std::string BleuScorer::signature() const {
  return "nrefs:" + std::to_string(references_) +
         "|case:" + (options_.lower_case ? "lc" : "mixed") +
         "|eff:no|tok:" + std::string(name_of(options_.tokenizer)) + "|smooth:exp|version:kora-" +
         std::string(kora_get_version());
}

}  // namespace koralite::toolkit
