// The phrase pairs of one sentence pair, with the orientation of each towards
// its neighbours. Used by build_phrase_table; a PhraseExtractor is one thread's
// working space.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "toolkit/align/alignment.h"
#include "toolkit/phrases/phrase_table.h"

namespace koralite::toolkit {

// Positions are inclusive.
struct ExtractedPhrase {
  std::uint16_t source_begin = 0;
  std::uint16_t source_end = 0;
  std::uint16_t target_begin = 0;
  std::uint16_t target_end = 0;
  Orientation previous = kMonotone;
  Orientation next = kMonotone;
};

class PhraseExtractor {
 public:
  PhraseExtractor(std::size_t max_source, std::size_t max_target, OrientationModel orientation)
      : max_source_(max_source), max_target_(max_target), orientation_(orientation) {}

  // All pairs of spans within the limits that hold a link and that no link
  // leaves on one side only; unaligned words may lie at any edge. The result
  // stays until the next call. Links must lie inside the two lengths.
  std::span<const ExtractedPhrase> extract(std::size_t sources, std::size_t targets,
                                           std::span<const Link> links);

 private:
  void orient(std::size_t sources, std::size_t targets, std::span<const Link> links);

  std::size_t max_source_;
  std::size_t max_target_;
  OrientationModel orientation_;
  std::vector<ExtractedPhrase> phrases_;
  std::vector<int> first_target_, last_target_;  // per source word, its links
  std::vector<int> first_source_, last_source_;  // per target word
  // What lies at the corners, one bit per kind, for positions -1 to length.
  std::vector<std::uint8_t> corners_;
};

}  // namespace koralite::toolkit
