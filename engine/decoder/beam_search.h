// The stack beam search over one sentence. Hypotheses stand in stacks by the
// number of words they cover; each is extended by every option that order, limit
// and constraint allow, and the stacks decide what stays.
//
// The result is that of offering every extension in turn. Most are refused, so
// they are weighed in three steps, each dearer than the one before and none
// refusing what the full score would let pass: by an upper bound of the language
// model's score, four options at once; by the score of the option's first words
// and a bound for the others; by the score. A negative or infinite language model
// weight leaves only the last step.
//
// Borrows all that its constructor names; keeps its memory between sentences.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/calculator.h"
#include "decoder/decoder.h"
#include "decoder/future_matrix.h"
#include "decoder/hypo_group.h"
#include "decoder/hypo_stack.h"
#include "decoder/joint_scorer.h"
#include "decoder/option_table.h"
#include "decoder/parameter.h"

namespace koralite::decoder {

class BeamSearch {
 public:
  // Kept at a time for one piece of a sentence, whatever "[stack]" asks for: the stacks
  // share them evenly, about 30,000 each for a piece of 32 words.
  static constexpr std::size_t kMostHypotheses = std::size_t{1} << 20U;

  BeamSearch(const Parameter& parameter, const CompactLmModel& lang_model, std::int32_t bos,
             std::int32_t eos);

  // Fills the matrix from the options of the sentence.
  void compute_future_score(const OptionTable& options);

  // Searches. `constraint` may be null; `options` must have been given to
  // compute_future_score, and must not change while the result is in use.
  // `watch`, if set, sees each hypothesis before it is extended.
  template <typename Watch>
  void beam_search(OptionTable& options, const Constraint* constraint, Watch&& watch) {
    start(options);
    for (int covered = 0; covered < options.size(); ++covered) {
      HypoStack& stack = stacks_[static_cast<std::size_t>(covered)];
      group_.classify(options, matrix_, parameter_.distortion_limit, constraint);
      for (std::size_t place = 0; place < stack.size(); ++place) {
        watch(stack.at(place));
        expand_hypothesis(options, stack.at(place), covered);
      }
    }
    finish(options);
  }

  // The complete hypotheses, best first. Valid until the next search.
  const HypoStack& final_stack() const { return stacks_[static_cast<std::size_t>(size_)]; }
  const FutureMatrix& future_matrix() const { return matrix_; }

  // The language model's share of a step from `before` by `option`, unweighted, and
  // of the sentence's end after a complete hypothesis, weighted.
  float joint(const Hypothesis& before, const Option& option) {
    return scorer_.joint(before.context, option.prefix);
  }
  float suffix(const Hypothesis& complete) {
    return scorer_.joint(complete.context, scorer_.end_prefix()) * parameter_.lang_weight;
  }

  // A name for a hypothesis in trace lines: its stack and its place in the pool.
  struct name_t {
    int stack = 0;
    std::size_t slot = 0;
  };
  name_t name(const Hypothesis& hypothesis) const;

  const search_counts_t& counts();
  std::size_t memory() const;

 private:
  // What is the same for all options of a cell that extend one hypothesis.
  struct extension_t {
    const Hypothesis* from = nullptr;
    JointScorer::row_t row;
    int start = 0;
    int end = 0;
    bool first_phrase = false;
    Reorder kind = kMonotone;
    float previous_reorder = 0;  // what the phrase before says about the kind
    float distorted = 0;         // score so far and weighted distortion
    float future = 0;            // of the new hypothesis
  };

  void start(OptionTable& options);
  void expand_hypothesis(const OptionTable& options, const Hypothesis& hypothesis, int covered);
  void weigh_cell(const OptionTable& options, const extension_t& extension,
                  OptionTable::cell_t cell, HypoStack& target);
  void insert_hypothesis(const OptionTable& options, const extension_t& extension,
                         std::uint32_t place, HypoStack& target);
  void finish(const OptionTable& options);

  const Parameter& parameter_;
  bool bounded_;  // the language model's weight lets bounds work
  int size_ = 0;
  JointScorer scorer_;
  FutureMatrix matrix_;
  const lane_kernels_t& kernels_;
  HypoGroup group_;
  std::vector<weighed_t> weighed_;  // of the cell at hand
  std::vector<HypoStack> stacks_;
  search_counts_t counts_;
};

}  // namespace koralite::decoder
