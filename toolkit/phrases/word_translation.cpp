#include "toolkit/phrases/word_translation.h"

#include <algorithm>

namespace koralite::toolkit {

WordTranslation::WordTranslation(const Bitext& bitext, const Alignment& alignment)
    : rows_(bitext.source_words.size() + 2),
      source_totals_(bitext.source_words.size() + 1),
      target_totals_(bitext.target_words.size() + 1) {
  std::vector<std::uint64_t> all;
  all.reserve(alignment.links() + bitext.target.tokens() / 4);
  std::vector<bool> source_used;
  std::vector<bool> target_used;
  for (std::size_t pair = 0; pair < bitext.size(); ++pair) {
    const auto source = bitext.source[pair];
    const auto target = bitext.target[pair];
    source_used.assign(source.size(), false);
    target_used.assign(target.size(), false);
    for (const Link& link : alignment[pair]) {
      all.push_back(static_cast<std::uint64_t>(source[link.source]) << 32U | target[link.target]);
      source_used[link.source] = target_used[link.target] = true;
    }
    // A pair without any link was not aligned at all and says nothing.
    if (alignment[pair].empty()) {
      continue;
    }
    for (std::size_t s = 0; s < source.size(); ++s) {
      if (!source_used[s]) {
        all.push_back(static_cast<std::uint64_t>(source[s]) << 32U | kEmpty);
      }
    }
    for (std::size_t t = 0; t < target.size(); ++t) {
      if (!target_used[t]) {
        all.push_back(static_cast<std::uint64_t>(kEmpty) << 32U | target[t]);
      }
    }
  }
  std::sort(all.begin(), all.end());
  for (std::size_t begin = 0; begin < all.size();) {
    std::size_t end = begin;
    while (end < all.size() && all[end] == all[begin]) {
      ++end;
    }
    keys_.push_back(all[begin]);
    counts_.push_back(static_cast<std::uint32_t>(end - begin));
    const std::size_t source = std::min<std::size_t>(all[begin] >> 32U, source_totals_.size() - 1);
    const std::size_t target =
        std::min<std::size_t>(all[begin] & kEmpty, target_totals_.size() - 1);
    source_totals_[source] += static_cast<double>(end - begin);
    target_totals_[target] += static_cast<double>(end - begin);
    rows_[source + 1] = keys_.size();
    begin = end;
  }
  for (std::size_t row = 1; row < rows_.size(); ++row) {
    rows_[row] = std::max(rows_[row], rows_[row - 1]);
  }
}

double WordTranslation::count(WordId source, WordId target) const {
  const std::size_t row = std::min<std::size_t>(source, source_totals_.size() - 1);
  const auto begin = keys_.begin() + static_cast<std::ptrdiff_t>(rows_[row]);
  const auto end = keys_.begin() + static_cast<std::ptrdiff_t>(rows_[row + 1]);
  const std::uint64_t key = static_cast<std::uint64_t>(source) << 32U | target;
  const auto found = std::lower_bound(begin, end, key);
  if (found == end || *found != key) {
    return 0;
  }
  return counts_[static_cast<std::size_t>(found - keys_.begin())];
}

double WordTranslation::forward(WordId source, WordId target) const {
  const double total = source_totals_[std::min<std::size_t>(source, source_totals_.size() - 1)];
  return total > 0 ? count(source, target) / total : 0;
}

double WordTranslation::backward(WordId source, WordId target) const {
  const double total = target_totals_[std::min<std::size_t>(target, target_totals_.size() - 1)];
  return total > 0 ? count(source, target) / total : 0;
}

namespace {

// The product over `words` of each one's mean probability given the words it is linked with, or
// given the empty word. linked(i, k) and probability(i, k) are of word i and other word k.
template <class Linked, class Probability, class Alone>
double lexical_weight(std::size_t words, std::size_t others, Linked&& linked,
                      Probability&& probability, Alone&& alone) {
  double weight = 1;
  for (std::size_t i = 0; i < words; ++i) {
    double sum = 0;
    int links = 0;
    for (std::size_t k = 0; k < others; ++k) {
      if (linked(i, k)) {
        sum += probability(i, k);
        ++links;
      }
    }
    weight *= links > 0 ? sum / links : alone(i);
  }
  return weight;
}

bool has_link(std::uint64_t links, std::size_t source, std::size_t target) {
  return (links >> (source * 8 + target) & 1U) != 0;
}

}  // namespace

double WordTranslation::forward_weight(std::span<const WordId> source,
                                       std::span<const WordId> target, std::uint64_t links) const {
  return lexical_weight(
      target.size(), source.size(),
      [&](std::size_t t, std::size_t s) { return has_link(links, s, t); },
      [&](std::size_t t, std::size_t s) { return forward(source[s], target[t]); },
      [&](std::size_t t) { return forward(kEmpty, target[t]); });
}

double WordTranslation::backward_weight(std::span<const WordId> source,
                                        std::span<const WordId> target, std::uint64_t links) const {
  return lexical_weight(
      source.size(), target.size(),
      [&](std::size_t s, std::size_t t) { return has_link(links, s, t); },
      [&](std::size_t s, std::size_t t) { return backward(source[s], target[t]); },
      [&](std::size_t s) { return backward(source[s], kEmpty); });
}

}  // namespace koralite::toolkit
