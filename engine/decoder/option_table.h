// All options of one sentence, by span. The options of a cell stand side by side,
// best estimate first, and start at a multiple of kLaneStep: the columns beside them
// hold, at the same places, the numbers that decide most refusals, so that
// several options are weighed at once. Memory is kept from sentence to sentence.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/compressor.h"
#include "decoder/lanes.h"
#include "decoder/lang_model.h"
#include "decoder/option.h"
#include "decoder/parameter.h"
#include "decoder/target_data.h"
#include "decoder/trans_model.h"
#include "decoder/vocab.h"

namespace koralite::decoder {

class CompactLmModel;

class OptionTable {
 public:
  static constexpr int kMaxWords = Option::kMaxSentence;

  struct cell_t {
    std::uint32_t begin = 0;
    std::uint32_t count = 0;
  };

  OptionTable(const Parameter& parameter, const TransModel& trans_model, CompactLmModel& lang_model,
              const Vocab& source_vocab, const Vocab& target_vocab, const Compressor* compressor);

  // Collects the options of a sentence of at most kMaxWords search ids and makes
  // the language model ready for their words. Throws "failed to search sentence
  // in translation model", and the language model's errors.
  void create_trans_option(std::span<const std::int32_t> ids);

  int size() const { return size_; }
  cell_t cell(int start, int end) const { return cells_[cell_index(start, end)]; }
  const Option& option(std::uint32_t place) const { return options_[place]; }
  std::span<Option> all() { return options_; }  // with unused ones that round cells up

  // Columns, by option.
  const float* scores() const { return scores_.data(); }
  const float* reorders(int kind) const { return reorders_[static_cast<std::size_t>(kind)].data(); }

  std::size_t memory() const;

 private:
  static std::size_t cell_index(int start, int end) {
    return static_cast<std::size_t>(start * Option::kMaxSource + end - start);
  }

  void collect(std::span<const std::int32_t> ids);
  void read_block(std::span<const std::int32_t> ids, int start, int end, TargetData& block);
  bool compute_ne_alignment(std::span<const std::int32_t> ids, Option& option) const;
  void finish_scores(Option& option) const;
  void create_unknown_option(std::span<const std::int32_t> ids, int position);
  void sort_trans_option(cell_t& cell);
  void fill_columns();

  const Parameter& parameter_;
  const TransModel& trans_model_;
  CompactLmModel& lang_model_;
  const Vocab& source_vocab_;
  const Vocab& target_vocab_;
  const Compressor* compressor_;

  int size_ = 0;
  TransModel::target_table_t blocks_;
  std::vector<Option> collected_;         // cell by cell, in stored order
  std::vector<std::int32_t> target_ids_;  // of all options
  std::vector<std::uint32_t> order_;
  std::vector<Option> options_;
  std::vector<float> scores_;
  std::array<std::vector<float>, 3> reorders_;
  std::array<cell_t, kMaxWords * Option::kMaxSource> cells_{};
};

}  // namespace koralite::decoder
