// Takes the least useful n-grams out of one word's tree until it fits the nodes
// that the packed format allows.
//
// An n-gram's use is what it changes in the model's expected score: the probability
// of the whole sequence times the distance between its score and the score that
// back-off would give without it. N-grams that serve longer ones as context go
// last, because their back-off weight would be lost for all of these; n-grams with
// longer ones below them stay while those stay. Borrows the n-grams; one thread.
//
// The measure is the weighted difference of Seymore and Rosenfeld, "Scalable backoff language
// models" (1996), with the model's own probability of the sequence for its count, which a packed
// model no longer has, and the distance without its sign, as back-off can also give too much.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "toolkit/lm/lang_model_builder.h"

namespace koralite::toolkit {

class LangModelPruner {
 public:
  using item_t = LangModelBuilder::item_t;

  // All n-grams of the model, sorted and without repetition, and for each word id whether its tree
  // is going to be pruned.
  LangModelPruner(std::span<const item_t> items, const std::vector<bool>& oversize);

  // The n-grams of `tree` (all of two or more words that end in one word, in sorted order) to keep,
  // in their order, so that they take at most `max_nodes` nodes.
  std::vector<item_t> prune(std::span<const item_t> tree, std::uint32_t max_nodes) const;

 private:
  const item_t* find(std::uint64_t high, std::uint64_t low) const;
  double score(std::uint64_t high, std::uint64_t low) const;
  double use(const item_t& item) const;
  bool is_context(const item_t& item) const;

  std::span<const item_t> items_;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> contexts_;  // sorted
};

}  // namespace koralite::toolkit
