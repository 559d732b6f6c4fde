// Scores phrases after contexts for the search, and bounds those scores from
// above. Gives what CompactLmModel::compute_joint_score gives, bit for bit, asking
// the model as little as possible:
//
// - The options of a sentence share prefixes: each distinct sequence of leading
//   target words that a joint score sees is one number ("prefix"), linked to the
//   prefix without its last word. What the model knows about a prefix's last word
//   is walked once. Which words before a prefix change that is found once per sentence
//   (ExtensionTable); after all others the walk's result stands.
// - The first words of all options are numbered too. After each context that
//   the search extends stands a row with one score for each of them. Most are exact at
//   once: the model does not know the pair of words, or nothing longer that ends in it.
//   The others are bounds until they are asked for, then exact too.
// - All contexts that end with the same word share bounds of what the other words of each
//   prefix add.
//
// Lives in one decoder; keeps its memory from sentence to sentence.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "decoder/context_table.h"
#include "decoder/extension_table.h"
#include "decoder/lanes.h"
#include "decoder/option.h"

namespace koralite::decoder {

class JointScorer {
 public:
  JointScorer(const CompactLmModel& lang_model, std::int32_t bos, std::int32_t eos);

  // Prepares for the options of a sentence, whose trees are visible: gives each
  // its prefix and forgets everything about the last sentence. The number of
  // options is a multiple of kLaneStep.
  void start_sentence(std::span<Option> options);

  std::uint32_t start_context() { return contexts_.find({&bos_, 1}); }
  std::uint32_t end_prefix() const { return end_prefix_; }
  ContextTable& contexts() { return contexts_; }

  // What is known about the first words after one context. Valid until the next row is asked for;
  // pass it back to learn more.
  struct row_t {
    std::uint32_t context = 0;
    first_score_t* scores = nullptr;
    std::uint32_t* walks = nullptr;    // kExact, kOpen, or where the walk's levels stand
    const others_t* others = nullptr;  // by prefix
    const unsigned char* const* groups = nullptr;  // where open ones go on
  };
  row_t row(std::uint32_t context);

  // Columns, by option: the place of its first word in a row, and its prefix.
  const std::uint32_t* firsts() const { return first_of_option_.data(); }
  const std::uint32_t* prefixes() const { return prefix_of_option_.data(); }

  // Fetches what the exact score of an option after a row's context will need.
  void prefetch(const row_t& row, std::uint32_t place) const {
    const std::uint32_t first = first_of_option_[place];
    if (row.walks[first] == kOpen) {
      __builtin_prefetch(row.groups[first]);
    }
  }

  // The joint score of the prefix after the context.
  float joint(std::uint32_t context, std::uint32_t prefix);

  // The same for an option after a row's context, but gives up and returns a bound once
  // `refused(bound)` says that an upper bound of the score is too low. Not asked about the score
  // itself.
  template <typename Refused>
  float joint(const row_t& row, std::uint32_t place, std::uint32_t prefix, Refused&& refused);

  std::uint64_t joint_count() const { return joint_count_; }
  std::uint64_t ngram_count() const { return ngram_count_; }
  std::size_t memory() const;

 private:
  static constexpr std::uint32_t kExact = 0;
  static constexpr std::uint32_t kOpen = 0xFFFFFFFFU;
  static constexpr float kNothing = -std::numeric_limits<float>::infinity();
  static constexpr std::size_t kMaxPrefix = LangModel::kMaxOrder - 1;
  static constexpr std::uint32_t kNoPlace = 0xFFFFFFFFU;

  struct prefix_t {
    std::uint32_t parent = 0;
    std::int32_t word = 0;
    std::uint32_t first = 0;  // place of its first word in a row
    std::uint8_t length = 0;
    float plain = 0;     // the last word's score after words that do not extend the prefix, for a
                         // second word without back-offs that other first words get
    float raise = 0;     // what further back-offs add at most, if they are positive
    lm_path_t path;      // where the words before go on
    lm_levels_t levels;  // of the prefix alone
  };
  // What all contexts with the same last word share.
  struct template_t {
    std::uint32_t before = kNoPlace;
    std::vector<float> base;  // see first_words_t
    std::vector<std::int32_t> pairs;
    std::vector<float> beyond;
    std::vector<float> extra;
    std::vector<const unsigned char*> groups;
    std::vector<others_t> others;  // by prefix
  };

  std::uint32_t add_prefix(std::span<const std::int32_t> words);
  std::uint32_t make_prefix(std::uint32_t parent, std::span<const std::int32_t> words);
  void grow_prefix_slots();
  void find_words(std::span<const Option> options);
  void number_firsts();
  void fill_columns(std::span<const Option> options);
  void start_rows();
  void fill_row(std::size_t number, std::uint32_t context);
  const template_t& find_template(std::uint32_t before);
  void fill_template(template_t& filled, std::uint32_t before);
  void fill_firsts(template_t& filled, std::uint32_t before) const;
  void fill_others(template_t& filled, std::uint32_t before);
  const ExtensionTable::extension_t* find_extension(std::uint32_t before,
                                                    std::uint32_t prefix) const {
    return prefixes_[prefix].path.group == nullptr ? nullptr : extensions_.find(before, prefix);
  }
  void resolve(const row_t& row, std::uint32_t first);
  const lm_levels_t& levels_of(const row_t& row, std::uint32_t first, lm_levels_t& room);
  float first_word(std::uint32_t context, std::uint32_t prefix, lm_levels_t& levels);
  float other_words(std::uint32_t context, std::uint32_t prefix, float sum,
                    const lm_levels_t& first_levels);

  const CompactLmModel& lang_model_;
  std::int32_t bos_;
  std::int32_t eos_;
  std::size_t order_;
  const lane_kernels_t& kernels_;
  ContextTable contexts_;
  ExtensionTable extensions_;
  std::uint32_t end_prefix_ = 0;
  std::vector<prefix_t> prefixes_;
  std::vector<std::uint32_t> prefix_slots_;  // open addressing: prefix, 0 for a free slot
  std::vector<std::int32_t> before_words_;   // that a context can end with, ascending
  std::vector<std::int32_t> first_words_;    // ascending; place 0 of a row is the empty phrase's

  // By place in a row.
  std::size_t row_size_ = 0;
  std::vector<std::uint32_t> first_prefix_;
  std::vector<float> single_;           // its one-word score
  std::vector<float> raise_;            // what one more context of two words or more adds at most
  std::vector<std::uint32_t> unknown_;  // places of words that the model does not know

  // By option.
  std::vector<std::uint32_t> first_of_option_;
  std::vector<std::uint32_t> prefix_of_option_;

  // Rows, and templates for them, are taken in turn.
  std::size_t row_limit_ = 0;
  std::size_t row_count_ = 0;
  std::size_t next_row_ = 0;
  std::vector<first_score_t> row_scores_;
  std::vector<std::uint32_t> row_walks_;
  std::vector<std::uint32_t> row_context_;
  std::vector<std::uint32_t> row_of_context_;
  std::vector<lm_levels_t> walked_;
  std::size_t template_limit_ = 0;
  std::size_t next_template_ = 0;
  std::vector<template_t> templates_;
  std::vector<std::uint32_t> template_of_before_;

  std::uint64_t joint_count_ = 0;
  std::uint64_t ngram_count_ = 0;
};

template <typename Refused>
float JointScorer::joint(const row_t& row, std::uint32_t place, std::uint32_t prefix,
                         Refused&& refused) {
  ++joint_count_;
  const std::uint32_t first = first_of_option_[place];
  if (first == 0) {
    return 0.0F;
  }
  first_score_t& known = row.scores[first];
  if (row.walks[first] == kOpen) {
    resolve(row, first);
    const others_t& others = row.others[prefix];
    const float bound = known.score + std::max(others.apart, others.behind + known.extra);
    if (refused(bound)) {
      return bound;
    }
  }
  if (prefixes_[prefix].length == 1) {
    return 0.0F + known.score;
  }
  lm_levels_t room;
  return other_words(row.context, prefix, known.score, levels_of(row, first, room));
}

}  // namespace koralite::decoder
