// Scores phrases after contexts for the search, and bounds those scores from
// above. Gives what CompactLmModel::compute_joint_score gives, bit for bit, asking
// the model as little as possible:
//
// - The options of a sentence share prefixes: each distinct sequence of leading
//   target words that a joint score sees is one number ("prefix"), linked to the
//   prefix without its last word. What the model knows about a prefix's last word
//   is walked once; where the model knows nothing longer, no context changes it, and
//   otherwise each context goes on where that walk ended.
// - A pair of words that the model does not know at all (BigramTable) needs no
//   walk: the first word has its one-word score and the context's back-offs. The
//   walk of a known pair begins at its record.
//
// Lives in one decoder; keeps its memory from sentence to sentence.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/bigram_table.h"
#include "decoder/compact_lm_model.h"
#include "decoder/context_table.h"
#include "decoder/lanes.h"
#include "decoder/option.h"

namespace koralite::decoder {

class JointScorer {
 public:
  JointScorer(const CompactLmModel& lang_model, std::int32_t bos, std::int32_t eos);

  // Prepares for the options of a sentence, whose trees are visible: gives each
  // its prefix and forgets everything about the last sentence. The number of
  // options is a multiple of the lane count.
  void start_sentence(std::span<Option> options);

  std::uint32_t start_context() { return contexts_.find({&bos_, 1}); }
  std::uint32_t end_prefix() const { return end_prefix_; }
  ContextTable& contexts() { return contexts_; }

  // Upper bounds, four options at a time, of the joint scores after one context.
  // `known` are bits of known_firsts() for the four.
  class Bounds {
   public:
    lanes_t at(std::uint32_t place, unsigned known) const {
      lanes_t unknown_pair = load_lanes(scorer_->single_.data() + place);
      for (std::size_t k = 0; k < context_.add_count; ++k) {
        unknown_pair += context_.adds[k];
      }
      lanes_t known_pair = load_lanes(scorer_->highest_.data() + place);
      if (context_.raise > 0) {
        known_pair += context_.raise;
      }
      return select_lanes(known, known_pair, unknown_pair) +
             load_lanes(scorer_->rest_.data() + place);
    }

   private:
    friend class JointScorer;
    const JointScorer* scorer_ = nullptr;
    ContextTable::knowledge_t context_;  // a copy, as the table grows
  };
  Bounds bounds(std::uint32_t context);

  // One bit for each of the first 32 options of the cell: whether its first word
  // may match more than itself after the context.
  std::uint32_t known_firsts(std::uint32_t context, std::uint32_t begin, std::uint32_t count);

  // The joint score of the prefix after the context.
  float joint(std::uint32_t context, std::uint32_t prefix) {
    return joint(context, prefix, [](float) { return false; });
  }

  // The same, but gives up and returns a bound once `refused(bound)` says that an
  // upper bound of the score is too low. Not asked about the score itself.
  template <typename Refused>
  float joint(std::uint32_t context, std::uint32_t prefix, Refused&& refused);

  std::uint64_t joint_count() const { return joint_count_; }
  std::uint64_t ngram_count() const { return ngram_count_; }
  std::size_t memory() const;

 private:
  static constexpr std::size_t kMaskSize = std::size_t{1} << 12;
  static constexpr std::uint32_t kNoFirst = 0xFFFFFFFFU;
  static constexpr std::size_t kMaxPrefix = LangModel::kMaxOrder - 1;

  struct prefix_t {
    std::uint32_t parent = 0;
    std::int32_t word = 0;
    std::uint32_t first = 0;  // place of its first word among the first words
    std::uint8_t length = 0;
    bool closed = false;  // no context changes the levels
    float upper = 0;      // bound of the last word's score
    lm_path_t path;       // where the words before go on; for one word, its tree
    lm_levels_t levels;   // of the prefix alone
  };
  struct mask_t {
    std::uint32_t context_word = 0;  // place among the words before, with the sentence's base
                                     // added, so old entries match nothing
    std::uint32_t begin = 0;
    std::uint32_t bits = 0;
  };

  std::uint32_t add_prefix(std::span<const std::int32_t> words);
  std::uint32_t make_prefix(std::uint32_t parent, std::span<const std::int32_t> words);
  void grow_prefix_slots();
  void find_words(std::span<const Option> options);
  void fill_columns(std::span<const Option> options);
  std::uint32_t place_before(std::int32_t word) const;
  float first_word(std::uint32_t context, std::uint32_t prefix, lm_levels_t& levels);

  const CompactLmModel& lang_model_;
  std::int32_t bos_;
  std::int32_t eos_;
  std::size_t order_;
  ContextTable contexts_;
  BigramTable bigrams_;
  std::uint32_t base_ = 1;
  std::uint32_t end_prefix_ = 0;
  std::vector<prefix_t> prefixes_;
  std::vector<std::uint32_t> prefix_slots_;  // open addressing: prefix, 0 for a free slot
  std::vector<std::int32_t> before_words_;   // that a context can end with, ascending
  std::vector<std::int32_t> first_words_;
  // By option: the place of its first word, kNoFirst if no context changes its score;
  // the first word's one-word score and its highest one; a bound of what the others add.
  std::vector<std::uint32_t> first_of_option_;
  std::vector<float> single_;
  std::vector<float> highest_;
  std::vector<float> rest_;
  std::vector<mask_t> masks_;
  std::uint64_t joint_count_ = 0;
  std::uint64_t ngram_count_ = 0;
};

template <typename Refused>
float JointScorer::joint(std::uint32_t context, std::uint32_t prefix, Refused&& refused) {
  ++joint_count_;
  if (prefix == 0) {
    return 0.0F;
  }
  std::array<std::uint32_t, kMaxPrefix> path;
  std::size_t length = prefixes_[prefix].length;
  for (std::uint32_t at = prefix; at != 0; at = prefixes_[at].parent) {
    path[prefixes_[at].length - 1U] = at;
  }
  // First word: known pairs need a walk, others have one level.
  const ContextTable::knowledge_t& known = contexts_.knowledge(context);
  const prefix_t& first = prefixes_[path[0]];
  float sum = 0.0F;
  std::array<lm_levels_t, 2> walked;  // of the word before and of this one, in turn
  const lm_levels_t* before = &first.levels;
  if (first.levels.count == 0) {
    sum += LangModel::LM_UNK_PROB;
  } else if (known.place != ContextTable::kNowhere && !bigrams_.known(known.place, first.first)) {
    float score = lang_model_.probability(first.levels.level[0].probability);
    for (std::size_t k = 0; k < known.add_count; ++k) {
      score += known.adds[k];
    }
    sum += score;
  } else {
    sum += first_word(context, path[0], walked[0]);
    before = &walked[0];
  }
  if (length == 1) {
    return sum;
  }

  std::array<std::int32_t, LangModel::kMaxContext + kMaxPrefix> words;
  const std::span<const std::int32_t> context_words = contexts_.words(context);
  std::int32_t* end = std::copy(context_words.begin(), context_words.end(), words.data());
  *end++ = first.word;
  for (std::size_t k = 1; k < length; ++k) {
    float bound = sum;
    for (std::size_t rest = k; rest < length; ++rest) {
      bound += prefixes_[path[rest]].upper;
    }
    if (refused(bound)) {
      return bound;
    }
    const prefix_t& here = prefixes_[path[k]];
    *end++ = here.word;
    const auto joined = static_cast<std::size_t>(end - words.data());
    const std::size_t window = std::min(joined, order_);
    if (here.closed) {
      sum += lang_model_.score(static_cast<int>(window), here.levels, *before);
      before = &here.levels;
    } else {
      lm_levels_t& levels = walked[k % 2];
      levels = here.levels;
      lang_model_.walk_on(here.path, {end - window, window}, levels);
      sum += lang_model_.score(static_cast<int>(window), levels, *before);
      ++ngram_count_;
      before = &levels;
    }
  }
  return sum;
}

}  // namespace koralite::decoder
