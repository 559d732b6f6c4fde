#include "toolkit/phrases/phrase_extract.h"

#include <algorithm>
#include <limits>

namespace koralite::toolkit {
namespace {

// A block whose named ends lie at a corner, so that a neighbour can touch it.
constexpr std::uint8_t kEndEnd = 1;      // its last source and its last target word
constexpr std::uint8_t kStartEnd = 2;    // its first source, last target word
constexpr std::uint8_t kStartStart = 4;  // its first source, first target word
constexpr std::uint8_t kEndStart = 8;    // its last source, first target word

}  // namespace

std::span<const ExtractedPhrase> PhraseExtractor::extract(std::size_t sources, std::size_t targets,
                                                          std::span<const Link> links) {
  constexpr int kNone = std::numeric_limits<int>::max();
  phrases_.clear();
  first_target_.assign(sources, kNone);
  last_target_.assign(sources, -1);
  first_source_.assign(targets, kNone);
  last_source_.assign(targets, -1);
  for (const Link& link : links) {
    const int s = link.source;
    const int t = link.target;
    first_target_[link.source] = std::min(first_target_[link.source], t);
    last_target_[link.source] = std::max(last_target_[link.source], t);
    first_source_[link.target] = std::min(first_source_[link.target], s);
    last_source_[link.target] = std::max(last_source_[link.target], s);
  }
  const int target_limit = static_cast<int>(max_target_);
  for (std::size_t begin = 0; begin < sources; ++begin) {
    int low = kNone;
    int high = -1;
    for (std::size_t end = begin; end < sources && end - begin < max_source_; ++end) {
      low = std::min(low, first_target_[end]);
      high = std::max(high, last_target_[end]);
      if (high < 0) {
        continue;
      }
      if (high - low >= target_limit) {
        break;
      }
      bool consistent = true;
      for (int t = low; t <= high && consistent; ++t) {
        const auto i = static_cast<std::size_t>(t);
        consistent = last_source_[i] < 0 || (first_source_[i] >= static_cast<int>(begin) &&
                                             last_source_[i] <= static_cast<int>(end));
      }
      if (!consistent) {
        continue;
      }
      for (int from = low; from == low || (from >= 0 && high - from < target_limit &&
                                           last_source_[static_cast<std::size_t>(from)] < 0);
           --from) {
        for (int to = high;
             to == high || (to < static_cast<int>(targets) && to - from < target_limit &&
                            last_source_[static_cast<std::size_t>(to)] < 0);
             ++to) {
          phrases_.push_back({static_cast<std::uint16_t>(begin), static_cast<std::uint16_t>(end),
                              static_cast<std::uint16_t>(from), static_cast<std::uint16_t>(to)});
        }
      }
    }
  }
  orient(sources, targets, links);
  return phrases_;
}

void PhraseExtractor::orient(std::size_t sources, std::size_t targets,
                             std::span<const Link> links) {
  // Index 0 is the place before the first word, so that no corner lies outside.
  const std::size_t width = targets + 2;
  corners_.assign((sources + 2) * width, 0);
  const auto mark = [&](std::size_t s, std::size_t t, std::uint8_t kind) {
    corners_[(s + 1) * width + t + 1] |= kind;
  };
  if (orientation_ == OrientationModel::kWord) {
    for (const Link& link : links) {
      mark(link.source, link.target, kEndEnd | kStartEnd | kStartStart | kEndStart);
    }
  } else {
    for (const ExtractedPhrase& p : phrases_) {
      mark(p.source_end, p.target_end, kEndEnd);
      mark(p.source_begin, p.target_end, kStartEnd);
      mark(p.source_begin, p.target_begin, kStartStart);
      mark(p.source_end, p.target_begin, kEndStart);
    }
  }
  // The borders of the sentence count as neighbours in place.
  corners_[0] |= kEndEnd;
  corners_[(sources + 1) * width + targets + 1] |= kStartStart;
  const auto at = [&](int s, int t, std::uint8_t kind) {
    return (corners_[static_cast<std::size_t>(s + 1) * width + static_cast<std::size_t>(t + 1)] &
            kind) != 0;
  };
  for (ExtractedPhrase& p : phrases_) {
    const int before = p.source_begin - 1;
    const int after = p.source_end + 1;
    p.previous = at(before, p.target_begin - 1, kEndEnd)    ? kMonotone
                 : at(after, p.target_begin - 1, kStartEnd) ? kSwap
                                                            : kDiscontinuous;
    p.next = at(after, p.target_end + 1, kStartStart)  ? kMonotone
             : at(before, p.target_end + 1, kEndStart) ? kSwap
                                                       : kDiscontinuous;
  }
}

}  // namespace koralite::toolkit
