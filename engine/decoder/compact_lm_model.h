// The packed language model: a head table with the one-word scores and, per word,
// a tree of the longer n-grams that end in it, keyed backwards. The file is mapped
// and walked where it lies (LmFile); it must not change while the model lives.
//
// A word whose tree is not visible (LmTrees) has its one-word score alone, after
// every context. The head and the resident trees are checked when opening, other
// trees when `add_to_cache` first names them; then walks need no checks.
// `add_to_cache` writes; all else is read-only. One model per decoder handle.
//
// For the search. `TrieSearchInvert` gives all that the model knows about a
// sequence, as levels; `score` turns the levels of a sequence and of its context
// into its score. As the walk of a context is the walk that scored the context's
// last word, cut to one word less, each word of a hypothesis needs one walk:
//
//   lm_levels_t before;                      // once per context
//   model.TrieSearchInvert(context, before);
//   float j = model.joint_score(context, before, phrase);
//
// equals compute_joint_score(context, phrase) bit for bit. `max_probability` and
// `max_back_off` bound what a word can score in this sentence.
#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "common/file_path.h"
#include "decoder/lang_model.h"
#include "decoder/lm_file.h"
#include "decoder/lm_trees.h"
#include "decoder/lm_walk.h"

namespace koralite::decoder {

class CompactLmModel final : public LangModel {
 public:
  static constexpr std::int64_t kBudget = lang_model_format::kBudget;

  // Opens and checks the file. Throws "language model n-gram order overflow in
  // PackedLM", and the messages of LmFile and LmTrees.
  // `order` may differ from the order of the n-grams in the file.
  CompactLmModel(const common::FilePath& path, int order, std::int64_t budget = kBudget);
  ~CompactLmModel() override;

  void compute_phrase_score(std::span<const int> ids, float& complete, float& total) const override;
  float compute_joint_score(std::span<const int> context, std::span<const int> ids) const override;
  float compute_ngram_score(std::span<const int> ids) const override;
  bool find_ngram_score(std::span<const int> ids, float& probability,
                        float& back_off) const override;

  // Throws "damaged tree in PackedLM" when a tree that it would make visible is
  // damaged; then only the resident trees are visible.
  void add_to_cache(const std::set<int>& words) override;
  void add_to_cache(std::span<const int> words) {
    trees_.show(words);
  }  // repeated ones are welcome

  // --- walks, for the search ---

  // Walks the tree of the last word of `ids` (not empty; at most the last eight
  // words count). Returns levels.count.
  int TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels) const;
  // The same for two words or more, and where a longer sequence would go on.
  int TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels, lm_path_t& path) const;

  // Goes on along `path` (with a group), which the walk of the last `levels.count` words of `ids`
  // left: then `levels` is what TrieSearchInvert finds for all of `ids`.
  void walk_on(const lm_path_t& path, std::span<const int> ids, lm_levels_t& levels) const;

  // Score of a sequence of `length` words from its levels and those of the words
  // before its last one. Levels of `context` from `length` up are ignored, so the
  // levels of a longer context serve too.
  float score(int length, const lm_levels_t& levels, const lm_levels_t& context) const {
    if (levels.longest == 0) {
      return LM_UNK_PROB;
    }
    float score =
        probability(levels.level[static_cast<std::size_t>(levels.longest) - 1].probability);
    const int end = context.count < length - 1 ? context.count : length - 1;
    for (int k = levels.longest; k <= end; ++k) {
      const lm_level_t& level = context.level[static_cast<std::size_t>(k) - 1];
      if (level.entry) {
        score += back_off(level.back_off);
      }
    }
    return score;
  }

  // compute_joint_score with the context's levels at hand (`before` is not read
  // if the context is empty).
  float joint_score(std::span<const int> context, const lm_levels_t& before,
                    std::span<const int> ids) const;

  // compute_ngram_score with the levels of the words before the last at hand; the
  // levels of `ids` itself are left in `levels` for the next word.
  float ngram_score(std::span<const int> ids, const lm_levels_t& before, lm_levels_t& levels) const;

  // --- bounds for this sentence ---

  // The highest probability of an n-gram that ends in `word`: over its one-word
  // entry and, if visible, its tree. LM_UNK_PROB for an unknown word.
  float max_probability(int word) const;

  // The highest probability of the n-grams that lie behind a record of the visible tree `nodes`,
  // whose word is `last`: minus infinity for none, max_probability if they are too many to look at.
  float max_behind(const unsigned char* nodes, const lm_step_t& step, int last) const;

  // The largest back-off weight of an n-gram that ends in `word`, over the same
  // entries; LM_UNK_BOW at the least, so never negative.
  float max_back_off(int word) const;

  // LmTrees::deep_codes of the word's tree. Empty if it is not visible; then max_probability bounds
  // the n-grams beyond all its pairs.
  std::span<const std::uint16_t> deep_codes(int word) const;

  // --- values and internals ---

  float probability(std::uint16_t code) const { return file_.probability(code); }
  float back_off(std::uint16_t code) const { return file_.back_off(code); }
  // The probability of a code, minus infinity for kNoCode.
  float probability_or_none(std::uint16_t code) const {
    return code == kNoCode ? -std::numeric_limits<float>::infinity() : probability(code);
  }

  struct tree_t {
    const unsigned char* nodes = nullptr;  // 8 bytes each; null: no visible tree
    std::uint32_t count = 0;
  };

  // One-word scores of `word`; false for an unknown word.
  bool GetHeadValue(int word, float& probability, float& back_off) const;
  // Position of the word's tree in the file, -1 for none.
  std::int64_t GetFilePos(int word) const;
  // The word's tree, if it is visible now.
  tree_t GetTree(int word) const;
  // Raw codes of the n-gram `ids`; false unless it is an entry.
  bool Search(std::span<const int> ids, std::uint16_t& probability, std::uint16_t& back_off) const;
  // Looks for words before `word`; not usable if the word's tree is not indexed.
  LmRootIndex::Search root_search(int word) const;

  std::uint32_t head_count() const { return file_.head_count(); }
  std::uint32_t tree_count() const { return static_cast<std::uint32_t>(file_.trees().size()); }
  std::uint32_t resident_count() const { return trees_.resident_count(); }
  float back_off_offset() const { return file_.back_off_offset(); }

 private:
  // Where a walk begins: a block of the root group's records, or the whole group if the block's
  // count is 0. Null if there is nothing to walk.
  struct start_t {
    const unsigned char* nodes = nullptr;
    LmRootIndex::block_t block;
  };

  const LmTrees::tree_t* visible_tree(int word) const {
    return file_.known(word) ? trees_.visible(file_.head(word)) : nullptr;
  }
  start_t begin_walk(std::span<const int> ids, lm_levels_t& levels) const;
  lm_path_t walk(const start_t& start, std::span<const int> ids, lm_levels_t& levels) const;
  lm_path_t follow(const unsigned char* nodes, const unsigned char* child, std::span<const int> ids,
                   lm_levels_t& levels) const;

  LmFile file_;
  LmTrees trees_;
};

}  // namespace koralite::decoder
