#include "decoder/beam_search.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace koralite::decoder {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

}  // namespace

BeamSearch::BeamSearch(const Parameter& parameter, const CompactLmModel& lang_model,
                       std::int32_t bos, std::int32_t eos)
    : parameter_(parameter),
      bounded_(parameter.lang_weight >= 0 && parameter.lang_weight < kInfinity),
      scorer_(lang_model, bos, eos),
      kernels_(lane_kernels()) {}

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
  extension.row = scorer_.row(hypothesis.context);
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

// Takes a closer look only at the options that their bounds let pass.
void BeamSearch::weigh_cell(const OptionTable& options, const extension_t& extension,
                            OptionTable::cell_t cell, HypoStack& target) {
  counts_.considered += cell.count;
  if (!bounded_) {
    for (std::uint32_t at = 0; at < cell.count; ++at) {
      insert_hypothesis(options, extension, cell.begin + at, target);
    }
    return;
  }
  if (weighed_.size() < cell.count + 2 * kLaneStep) {
    weighed_.resize(cell.count + 2 * kLaneStep);
  }
  cell_weights_t weights;
  weights.count = cell.count;
  weights.reorder = options.reorders(extension.kind) + cell.begin;
  weights.score = options.scores() + cell.begin;
  weights.first = scorer_.firsts() + cell.begin;
  weights.prefix = scorer_.prefixes() + cell.begin;
  weights.firsts = extension.row.scores;
  weights.others = extension.row.others;
  weights.distorted = extension.distorted;
  weights.previous_reorder = extension.previous_reorder;
  weights.reorder_weight = parameter_.reordering_weight;
  weights.lang_weight = parameter_.lang_weight;
  weights.future = extension.future;
  weights.beam = parameter_.beam_threshold;
  weights.best = target.best();
  weights.floor = target.floor();
  weights.before = extension.from->score;
  const std::uint32_t count = kernels_.weigh(weights, weighed_.data());
  for (std::uint32_t k = 0; k < count; ++k) {
    scorer_.prefetch(extension.row, cell.begin + weighed_[k].place);
  }
  for (std::uint32_t k = 0; k < count; ++k) {
    if (!target.refuses_bound(weighed_[k].total)) {
      insert_hypothesis(options, extension, cell.begin + weighed_[k].place, target);
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
  const float joint = scorer_.joint(extension.row, place, option.prefix, [&](float bound) {
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
