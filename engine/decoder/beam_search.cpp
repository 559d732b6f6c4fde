#include "decoder/beam_search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "decoder/lanes.h"

namespace koralite::decoder {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

}  // namespace

BeamSearch::BeamSearch(const Parameter& parameter, const CompactLmModel& lang_model,
                       std::int32_t bos, std::int32_t eos)
    : parameter_(parameter),
      bounded_(parameter.lang_weight >= 0 && parameter.lang_weight < kInfinity),
      scorer_(lang_model, bos, eos) {}

void BeamSearch::compute_future_score(const OptionTable& options) {
  const int size = options.size();
  matrix_.initialize(size);
  for (int start = 0; start < size; ++start) {
    for (int end = start; end < std::min(size, start + Option::kMaxSource); ++end) {
      const OptionTable::cell_t cell = options.cell(start, end);
      if (cell.count != 0) {
        matrix_.at(start, end) = options.option(cell.begin).future;
      }
    }
  }
  matrix_.combine();
}

void BeamSearch::start(OptionTable& options) {
  size_ = options.size();
  ++counts_.sentences;
  const auto stack_count = static_cast<std::size_t>(size_) + 1;
  if (stacks_.size() < stack_count) {
    stacks_.resize(stack_count);
  }
  const std::size_t limit =
      std::min(static_cast<std::size_t>(parameter_.stack_limit), kMostHypotheses / stack_count);
  for (std::size_t k = 0; k < stack_count; ++k) {
    stacks_[k].reset(limit, parameter_.beam_threshold, parameter_.combine);
  }
  scorer_.start_sentence(options.all());
  Hypothesis empty;
  empty.context = scorer_.start_context();
  empty.future = matrix_.at(0, size_ - 1);
  empty.total = empty.future;
  stacks_[0].offer(empty);
}

void BeamSearch::expand_hypothesis(const OptionTable& options, const Hypothesis& hypothesis,
                                   int covered) {
  ++counts_.expanded;
  extension_t extension;
  extension.from = &hypothesis;
  extension.joint_bounds = scorer_.bounds(hypothesis.context);
  extension.first_phrase = hypothesis.previous == nullptr;
  const Option* previous = extension.first_phrase ? nullptr : &options.option(hypothesis.option);
  for (const next_span_t& span : group_.get_group(hypothesis.coverage)) {
    extension.start = span.start;
    extension.end = span.end;
    extension.kind =
        Calculator::reorder_kind(extension.first_phrase, previous != nullptr ? previous->start : 0,
                                 hypothesis.last_end - 1, span.start, span.end);
    extension.previous_reorder =
        previous != nullptr ? previous->reorder[3U + extension.kind] : 0.0F;
    extension.distorted =
        hypothesis.score + Calculator::compute_distort_score(hypothesis.last_end, span.start) *
                               parameter_.distortion_weight;
    extension.future = Calculator::compute_future_score(hypothesis.future, span.gap);
    const int covers = covered + span.end - span.start + 1;
    weigh_cell(options, extension, span.cell, stacks_[static_cast<std::size_t>(covers)]);
  }
}

// Goes through the options four at a time and takes a closer look only at those
// that the bound lets pass.
void BeamSearch::weigh_cell(const OptionTable& options, const extension_t& extension,
                            OptionTable::cell_t cell, HypoStack& target) {
  const float* own = options.reorders(extension.kind) + cell.begin;
  const float* scores = options.scores() + cell.begin;
  std::uint32_t known = scorer_.known_firsts(extension.from->context, cell.begin, cell.count);
  counts_.considered += cell.count;
  for (std::uint32_t at = 0; at < cell.count; at += OptionTable::kLane) {
    const lanes_t joint = extension.joint_bounds.at(cell.begin + at, at < 32 ? known >> at : 15U);
    lanes_t reorder = load_lanes(own + at);
    if (!extension.first_phrase) {
      reorder = reorder + extension.previous_reorder;
    }
    const lanes_t option_score = load_lanes(scores + at);
    lanes_t bound = extension.distorted + reorder * parameter_.reordering_weight;
    bound = bound + option_score;
    bound = bound + joint * parameter_.lang_weight;
    bound = bound + extension.future;
    const float floor = target.floor();
    const lane_mask_t refused = (bound + parameter_.beam_threshold < target.best()) |
                                (bound < floor) | (extension.from->score + option_score < floor);
    if (bounded_ && all_lanes(refused)) {
      continue;
    }
    const std::uint32_t count =
        std::min(static_cast<std::uint32_t>(OptionTable::kLane), cell.count - at);
    for (std::uint32_t lane = 0; lane < count; ++lane) {
      if (bounded_ && (refused[lane] != 0 || target.refuses_bound(bound[lane]))) {
        continue;
      }
      insert_hypothesis(options, extension, cell.begin + at + lane, target);
    }
  }
}

void BeamSearch::insert_hypothesis(const OptionTable& options, const extension_t& extension,
                                   std::uint32_t place, HypoStack& target) {
  const Option& option = options.option(place);
  const Hypothesis& from = *extension.from;
  // The stack may have changed since the bound was tried.
  if (from.score + option.score < target.floor()) {
    return;
  }
  const float reorder = Calculator::compute_reorder_score(
      option.reorder[extension.kind], extension.first_phrase, extension.previous_reorder);
  const float partial = Calculator::calculate(extension.distorted, reorder,
                                              parameter_.reordering_weight, option.score);
  const auto total_with = [&](float weighted_joint) {
    return partial + weighted_joint + extension.future;
  };
  ++counts_.scored;
  const float joint = scorer_.joint(from.context, option.prefix, [&](float bound) {
    return bounded_ && target.refuses_bound(total_with(bound * parameter_.lang_weight));
  });

  Hypothesis candidate;
  candidate.score = partial + joint * parameter_.lang_weight;
  candidate.future = extension.future;
  candidate.total = candidate.score + candidate.future;
  if (target.refuses(candidate.total)) {
    return;
  }
  candidate.previous = &from;
  candidate.option = place;
  const auto span_bits = static_cast<std::uint32_t>(((std::uint64_t{2} << extension.end) - 1) &
                                                    ~((std::uint64_t{1} << extension.start) - 1));
  candidate.coverage = from.coverage | span_bits;
  candidate.last_end = static_cast<std::uint8_t>(extension.end + 1);
  candidate.context = scorer_.contexts().extend(from.context, option.target());
  if (target.offer(candidate)) {
    ++counts_.kept;
  }
}

// Adds what the sentence's end scores after each complete hypothesis.
void BeamSearch::finish(const OptionTable& options) {
  HypoStack& last = stacks_[static_cast<std::size_t>(options.size())];
  for (std::size_t place = 0; place < last.size(); ++place) {
    Hypothesis& hypothesis = last.at(place);
    const float end = suffix(hypothesis);
    hypothesis.score += end;
    hypothesis.total += end;
  }
  last.sort();
}

BeamSearch::name_t BeamSearch::name(const Hypothesis& hypothesis) const {
  const int covered = std::popcount(hypothesis.coverage);
  return {covered, stacks_[static_cast<std::size_t>(covered)].slot(hypothesis)};
}

const search_counts_t& BeamSearch::counts() {
  counts_.joint_scores = scorer_.joint_count();
  counts_.ngram_scores = scorer_.ngram_count();
  return counts_;
}

std::size_t BeamSearch::memory() const {
  std::size_t bytes = scorer_.memory() + matrix_.memory() + group_.memory();
  for (const HypoStack& stack : stacks_) {
    bytes += stack.memory();
  }
  return bytes;
}

}  // namespace koralite::decoder
