// Chooses how wide a finished model folder searches: translates a set under several limits,
// measures speed and quality, and takes the fastest that is hardly worse than the best.
//
// Speed is words per second of one thread's processor time, so that other work on the machine
// changes it little; quality is BLEU.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "decoder/parameter.h"
#include "toolkit/eval/bleu.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

struct limits_point_t {
  decoder::search_limits_t limits;
  double words_per_second = 0;  ///< words between blanks, or characters where there are none
  double bleu = 0;
};

// Points to measure: the folder's own, and what is usual for each limit, with no wider distortion
// limit than the folder's.
std::vector<decoder::search_limits_t> usual_limits(const decoder::search_limits_t& own);
// Narrower beams at these limits, to be tried once the others are chosen.
std::vector<decoder::search_limits_t> narrower_beams(const decoder::search_limits_t& limits);

// Measures one point on one handle, whose limits are `limits` afterwards. `source` are lines,
// as many as the scorer has references. Errors are those of the translation.
limits_point_t measure_limits(translator::TransImpl& handle, std::span<const std::string> source,
                              const BleuScorer& scorer, const decoder::search_limits_t& limits);

// The fastest point at most `loss` BLEU below the best one; of equally fast ones the first.
// `points` is not empty.
const limits_point_t& choose_limits(std::span<const limits_point_t> points, double loss);

// An HTML section: a picture of BLEU over speed, and a table. `chosen` is one of the points.
std::string format_limits(std::span<const limits_point_t> points, const limits_point_t& chosen);

}  // namespace koralite::toolkit
