// Copies what the search found into plain values.

#include <algorithm>
#include <stdexcept>

#include "decoder/decoder_impl.h"
#include "decoder/explanation.h"

namespace koralite::decoder {

void Decoder::Impl::explain(unsigned n, words_t words, explanation_t& explanation) {
  explanation = {};
  if (words.empty()) {
    return;
  }
  if (words.size() > kMaxWords) {
    throw std::runtime_error("sentence too long in Decoder::explain()");
  }
  search_chunk(words, nullptr);
  explanation.size = options_.size();
  for (int start = 0; start < explanation.size; ++start) {
    for (int end = 0; end < explanation.size; ++end) {
      explanation.future.push_back(search_.future_matrix().at(start, end));
    }
  }
  // Places in the table, which has gaps, to places in the list.
  std::vector<std::size_t> places(options_.all().size());
  for (int start = 0; start < explanation.size; ++start) {
    const int last = std::min(explanation.size, start + Option::kMaxSource) - 1;
    for (int end = start; end <= last; ++end) {
      const OptionTable::cell_t cell = options_.cell(start, end);
      for (std::uint32_t place = cell.begin; place < cell.begin + cell.count; ++place) {
        places[place] = explanation.options.size();
        explanation.options.push_back(explain_option(options_.option(place)));
      }
    }
  }
  const HypoStack& complete = search_.final_stack();
  for (std::size_t k = 0; k < std::min<std::size_t>(n, complete.size()); ++k) {
    explanation.derivations.push_back(explain_derivation(words, complete.at(k), places));
  }
}

explained_option_t Decoder::Impl::explain_option(const Option& option) const {
  explained_option_t result;
  result.start = option.start;
  result.end = option.end;
  result.ids.assign(option.target().begin(), option.target().end());
  for (const std::int32_t id : option.target()) {
    if (!result.target.empty()) {
      result.target += ' ';
    }
    result.target += target_vocab_.decode(id);
  }
  result.score = option.score;
  result.future = option.future;
  result.reorder = option.reorder;
  return result;
}

derivation_t Decoder::Impl::explain_derivation(words_t words, const Hypothesis& hypothesis,
                                               const std::vector<std::size_t>& places) {
  derivation_t result;
  trace_back(words, hypothesis, result.text, nullptr);
  result.score = hypothesis.score;
  result.total = hypothesis.total;
  result.end_score = search_.suffix(hypothesis);
  for (const Hypothesis* at = &hypothesis; at->previous != nullptr; at = at->previous) {
    const Hypothesis& before = *at->previous;
    const Option& option = options_.option(at->option);
    const bool first = before.previous == nullptr;
    const Option* previous = first ? nullptr : &options_.option(before.option);
    const Reorder kind = Calculator::reorder_kind(first, first ? 0 : previous->start,
                                                  before.last_end - 1, option.start, option.end);
    explained_step_t step;
    step.option = places[at->option];
    output_option(words, option, step.text);
    step.distortion = Calculator::compute_distort_score(before.last_end, option.start);
    step.reordering = Calculator::compute_reorder_score(
        option.reorder[kind], first, first ? 0.0F : previous->reorder[3U + kind]);
    step.joint = search_.joint(before, option);
    step.score = at->score;
    step.future = at->future;
    step.total = at->total;
    result.steps.push_back(std::move(step));
  }
  std::reverse(result.steps.begin(), result.steps.end());
  return result;
}

}  // namespace koralite::decoder
