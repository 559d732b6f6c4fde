// The search as its rules read, without a thought for speed: every extension is
// built, scored in full and offered. What the engine's search finds must be equal
// to the last bit.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "decoder/compact_trans_model.h"
#include "decoder/constraint.h"
#include "decoder/shared_member.h"

namespace kora_test {

namespace decoder = koralite::decoder;

struct ReferenceOption {
  int start = 0;
  int end = 0;
  std::vector<int> words;
  unsigned alignment = 0;
  float future = 0;
  float score = 0;
  std::array<float, 6> reorder{};
};

struct ReferenceHypothesis {
  std::uint64_t coverage = 0;
  int last_end = 0;
  std::vector<int> context;
  std::shared_ptr<const ReferenceHypothesis> previous;
  const ReferenceOption* option = nullptr;
  float score = 0;
  float future = 0;
  float total = 0;
};

class ReferenceSearch {
 public:
  using hypothesis_t = std::shared_ptr<ReferenceHypothesis>;

  // `constraint` (null: none) must have been built for the sentence.
  ReferenceSearch(decoder::SharedMember& shared, const decoder::Constraint* constraint);

  // The complete hypotheses, best first, for a sentence of search ids.
  std::vector<hypothesis_t> run(std::span<const int> ids);

  const std::vector<ReferenceOption>& cell(int start, int end) const {
    return cells_[static_cast<std::size_t>(start)][static_cast<std::size_t>(end)];
  }
  float future(int i, int j) const {
    return matrix_[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
  }

 private:
  struct stack_t {
    std::vector<hypothesis_t> heap;  // worst on top
    float best = std::numeric_limits<float>::lowest();
  };

  void collect(std::span<const int> ids);
  bool align(std::span<const int> ids, ReferenceOption& option) const;
  void estimate();
  void expand(const hypothesis_t& from, std::size_t stack);
  hypothesis_t extend(const hypothesis_t& from, const ReferenceOption& option) const;
  void offer(stack_t& stack, hypothesis_t hypothesis) const;
  bool covered(std::uint64_t coverage, int p) const { return (coverage >> p & 1) != 0; }

  decoder::SharedMember& shared_;
  const decoder::Parameter& parameter_;
  const decoder::CompactLmModel& lang_model_;
  const decoder::Constraint* constraint_;
  decoder::CompactTransModel trans_model_;
  int size_ = 0;
  std::vector<std::vector<std::vector<ReferenceOption>>> cells_;
  std::vector<std::vector<float>> matrix_;
  std::vector<stack_t> stacks_;
};

}  // namespace kora_test
