#include "decoder/option_table.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "decoder/calculator.h"
#include "decoder/compact_lm_model.h"

namespace koralite::decoder {

OptionTable::OptionTable(const Parameter& parameter, const TransModel& trans_model,
                         CompactLmModel& lang_model, const Vocab& source_vocab,
                         const Vocab& target_vocab, const Compressor* compressor)
    : parameter_(parameter),
      trans_model_(trans_model),
      lang_model_(lang_model),
      source_vocab_(source_vocab),
      target_vocab_(target_vocab),
      compressor_(compressor) {}

void OptionTable::create_trans_option(std::span<const std::int32_t> ids) {
  size_ = static_cast<int>(ids.size());
  cells_.fill({});
  collected_.clear();
  target_ids_.clear();
  options_.clear();
  try {
    trans_model_.search_sentence(ids, blocks_);
    collect(ids);
  } catch (const std::runtime_error&) {
    std::throw_with_nested(std::runtime_error("failed to search sentence in translation model"));
  }
  lang_model_.add_to_cache(std::span<const std::int32_t>(target_ids_));
  for (int start = 0; start < size_; ++start) {
    for (int end = start; end < std::min(size_, start + Option::kMaxSource); ++end) {
      cell_t& cell = cells_[cell_index(start, end)];
      sort_trans_option(cell);
      if (start == end && cell.count == 0) {
        cell = {static_cast<std::uint32_t>(options_.size()), 0};
        create_unknown_option(ids, start);
        cell.count = static_cast<std::uint32_t>(options_.size()) - cell.begin;
      }
      Option unused;
      unused.score = -std::numeric_limits<float>::infinity();
      options_.resize((options_.size() + kLaneStep - 1) / kLaneStep * kLaneStep, unused);
    }
  }
  fill_columns();
}

void OptionTable::collect(std::span<const std::int32_t> ids) {
  for (int start = 0; start < size_; ++start) {
    for (int end = start; end < std::min(size_, start + Option::kMaxSource); ++end) {
      cell_t& cell = cells_[cell_index(start, end)];
      cell.begin = static_cast<std::uint32_t>(collected_.size());
      read_block(ids, start, end,
                 blocks_[static_cast<std::size_t>(start)][static_cast<std::size_t>(end - start)]);
      cell.count = static_cast<std::uint32_t>(collected_.size()) - cell.begin;
    }
  }
}

void OptionTable::read_block(std::span<const std::int32_t> ids, int start, int end,
                             TargetData& block) {
  target_entry_t entry;
  block.begin();
  for (std::int32_t read = 0; read < parameter_.translation_limit; ++read) {
    if (!block.next(compressor_, entry)) {
      break;
    }
    if (!entry.fits()) {
      continue;
    }
    const std::span<const int> words = entry.words();
    if (!std::all_of(words.begin(), words.end(),
                     [this](int id) { return target_vocab_.has_id(id); })) {
      continue;
    }
    Option option;
    option.start = static_cast<std::uint8_t>(start);
    option.end = static_cast<std::uint8_t>(end);
    option.word_count = static_cast<std::uint8_t>(words.size());
    std::copy(words.begin(), words.end(), option.words.begin());
    if (!compute_ne_alignment(ids, option)) {
      continue;
    }
    // A table without the language model's scores gets them once that is ready.
    const bool scored = entry.score_count == target_entry_t::kMaxScores;
    const float translation = entry.scores[scored ? 2 : 0];
    const auto score_with = [&](float language) {
      return Calculator::compute_trans_score(
          translation, parameter_.translation_weight, option.word_count, parameter_.word_weight,
          parameter_.phrase_weight, language, parameter_.lang_weight);
    };
    option.score = scored ? score_with(entry.scores[1]) : translation;
    option.future = scored ? score_with(entry.scores[0]) : translation;
    option.scored = scored;
    const std::size_t first = scored ? 3 : 1;
    std::copy_n(entry.scores.begin() + first, option.reorder.size(), option.reorder.begin());
    collected_.push_back(option);
    const auto target = option.target();
    target_ids_.insert(target_ids_.end(), target.begin(), target.end());
  }
}

// Points each tag word of the target at the source word that it stands for: the
// tag's digit says which one of those with the same tag in the span. False if
// there are not so many.
bool OptionTable::compute_ne_alignment(std::span<const std::int32_t> ids, Option& option) const {
  const auto span = ids.subspan(option.start, option.end - option.start + std::size_t{1});
  for (int k = 0; k < option.word_count; ++k) {
    std::int32_t& id = option.words[static_cast<std::size_t>(k)];
    int base = 0;
    int index = 0;
    if (!Vocab::get_ne_info(id, base, index)) {
      continue;
    }
    const std::size_t offset = source_vocab_.find_nth(span, target_vocab_.decode(base), index);
    if (offset == span.size()) {
      return false;
    }
    id = base;
    option.alignment |= static_cast<std::uint32_t>(offset) << (4 * k);
  }
  return true;
}

void OptionTable::finish_scores(Option& option) const {
  const float translation = option.score;
  float complete = 0;
  float total = 0;
  lang_model_.compute_phrase_score(option.target(), complete, total);
  const auto score_with = [&](float language) {
    return Calculator::compute_trans_score(
        translation, parameter_.translation_weight, option.word_count, parameter_.word_weight,
        parameter_.phrase_weight, language, parameter_.lang_weight);
  };
  option.score = score_with(complete);
  option.future = score_with(total);
}

void OptionTable::create_unknown_option(std::span<const std::int32_t> ids, int position) {
  const std::int32_t source = ids[static_cast<std::size_t>(position)];
  std::int32_t target = target_vocab_.unknown_id();
  if (source >= 0 && source < Vocab::kFirstWordId) {
    int found = 0;
    if (target_vocab_.find(source_vocab_.decode(source), found)) {
      target = found;
    }
  }
  Option option;
  option.start = static_cast<std::uint8_t>(position);
  option.end = option.start;
  option.word_count = 1;
  option.words[0] = target;
  float complete = 0;
  float total = 0;
  lang_model_.compute_phrase_score(option.target(), complete, total);
  const float penalty = parameter_.word_weight - parameter_.unknown_weight;
  option.score = penalty + complete * parameter_.lang_weight;
  option.future = penalty + total * parameter_.lang_weight;
  const bool numbers = option.score == option.score && option.future == option.future;
  if (numbers) {
    options_.push_back(option);
  }
}

// Moves a cell's options to their final place, best estimate first, equal ones in
// stored order; drops those whose scores are not numbers.
void OptionTable::sort_trans_option(cell_t& cell) {
  order_.clear();
  for (std::uint32_t place = cell.begin; place < cell.begin + cell.count; ++place) {
    Option& option = collected_[place];
    if (!option.scored) {
      finish_scores(option);
    }
    const bool numbers = option.score == option.score && option.future == option.future;
    if (numbers) {
      order_.push_back(place);
    }
  }
  std::sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
    const float first = collected_[a].future;
    const float second = collected_[b].future;
    return first > second || (first == second && a < b);
  });
  cell = {static_cast<std::uint32_t>(options_.size()), static_cast<std::uint32_t>(order_.size())};
  for (const std::uint32_t place : order_) {
    options_.push_back(collected_[place]);
  }
}

void OptionTable::fill_columns() {
  scores_.resize(options_.size());
  for (std::size_t place = 0; place < options_.size(); ++place) {
    scores_[place] = options_[place].score;
  }
  for (std::size_t kind = 0; kind < reorders_.size(); ++kind) {
    reorders_[kind].resize(options_.size());
    for (std::size_t place = 0; place < options_.size(); ++place) {
      reorders_[kind][place] = options_[place].reorder[kind];
    }
  }
}

std::size_t OptionTable::memory() const {
  std::size_t bytes = blocks_.capacity() * sizeof(blocks_[0]) +
                      (collected_.capacity() + options_.capacity()) * sizeof(Option) +
                      target_ids_.capacity() * sizeof(std::int32_t) +
                      order_.capacity() * sizeof(std::uint32_t) +
                      scores_.capacity() * sizeof(float);
  for (const auto& column : reorders_) {
    bytes += column.capacity() * sizeof(float);
  }
  return bytes;
}

}  // namespace koralite::decoder
