// The packed language model: a head table with the one-word scores and, per word,
// a tree of the longer n-grams that end in it, keyed backwards. The file is mapped
// and walked where it lies; it must not change while the model lives.
//
// Visibility. Only some trees take part in scoring: those at the front of the file
// that fit the memory budget ("resident"), and those of the words given to the last
// `add_to_cache`. A word whose tree is not visible has its one-word score alone,
// after every context. Every byte is mapped anyway; visibility is kept because
// scores depend on it, and costs one comparison of a generation number.
//
// Safety. The head and the resident trees are checked when opening, other trees
// when `add_to_cache` first names them; then walks need no checks. `add_to_cache`
// writes; all else is read-only. One model per decoder handle.
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

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "common/byte_reader.h"
#include "common/mapped_file.h"
#include "decoder/lang_model.h"

namespace koralite::decoder {

// Level k - 1 stands for the last k words of the sequence that was searched.
struct lm_level_t {
  std::uint16_t probability;  // codes; see CompactLmModel::probability and back_off
  std::uint16_t back_off;
  bool entry;  // a real n-gram, not just a step towards longer ones
};

struct lm_levels_t {
  int count = 0;    // levels found, 0 for an unknown word
  int longest = 0;  // the highest level that is an entry (counted from 1), 0 for none
  std::array<lm_level_t, LangModel::kMaxOrder> level;
};

// A record of a tree: what one more word back is, and where the words before it stand.
struct lm_step_t {
  lm_level_t level;
  std::uint16_t link;  // group of the words before, 1 at the least; others: there are none
};

// The records of a group.
struct lm_group_t {
  const unsigned char* records = nullptr;
  std::size_t count = 0;

  explicit lm_group_t(const unsigned char* group);  // of a checked tree
  const unsigned char* record(std::size_t at) const { return records + at * 8; }
  std::int32_t key(std::size_t at) const { return common::load_le<std::uint16_t>(record(at)); }
};

// Where a walk that used up its words goes on. No group: no word before changes its levels.
struct lm_path_t {
  const unsigned char* nodes = nullptr;  // the visible tree
  const unsigned char* group = nullptr;
};

class CompactLmModel final : public LangModel {
  // Every eighth key of a root group, beyond the first; one cache line of them.
  struct alignas(64) key_line_t {
    std::array<std::uint16_t, 32> keys;
  };

 public:
  static constexpr std::int64_t kBudget = 3145728;
  static constexpr std::uint16_t kNoCode = 0xFFFF;

  // Opens and checks the file. Throws "language model n-gram order overflow in
  // PackedLM", "failed to open file in PackedLM", "Invalidate head size in
  // language model", or "damaged file in PackedLM" for what does not fit together.
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
  void add_to_cache(std::span<const int> words);  // repeated words are welcome

  // --- walks, for the search ---

  // Walks the tree of the last word of `ids` (not empty; at most the last eight
  // words count). Returns levels.count.
  int TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels) const;
  // The same for two words or more, and where a longer sequence would go on.
  int TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels, lm_path_t& path) const;

  // Goes on along `path` (with a group), which the walk of the last `levels.count` words of `ids`
  // left: then `levels` is what TrieSearchInvert finds for all of `ids`.
  void walk_on(const lm_path_t& path, std::span<const int> ids, lm_levels_t& levels) const;

  // A record, and the way on from it.
  static lm_step_t read_step(const unsigned char* record);
  static void add_level(const lm_step_t& step, lm_levels_t& levels) {
    levels.level[static_cast<std::size_t>(levels.count++)] = step.level;
    if (step.level.entry) {
      levels.longest = levels.count;
    }
  }
  static lm_path_t path_after(const unsigned char* nodes, const lm_step_t& step) {
    return {nodes, step.link > 1 ? nodes + (std::size_t{step.link} - 1) * 8 : nullptr};
  }

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

  // --- values and internals ---

  float probability(std::uint16_t code) const { return -static_cast<float>(code) / 100.0F; }
  float back_off(std::uint16_t code) const {
    return static_cast<float>(code) / 1000.0F + back_off_offset_;
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

  // The probability of a code, minus infinity for kNoCode.
  float probability_or_none(std::uint16_t code) const {
    return code == kNoCode ? -std::numeric_limits<float>::infinity() : probability(code);
  }

  // The smallest probability code of the n-grams beyond a pair of words, over all words before the
  // pair: one code for each record of the root group of the word's tree, in the group's order;
  // kNoCode where there is none. Empty if the tree is not visible, or was not measured: then
  // max_probability bounds them.
  std::span<const std::uint16_t> deep_codes(int word) const;

  // Looks for ascending words among the records of a large root group, through its key lines.
  class RootSearch {
   public:
    bool usable() const { return children_ != 0; }
    // The record of `word` and its place in the group; null for none.
    const unsigned char* find(int word, std::size_t& place);

   private:
    friend class CompactLmModel;
    const unsigned char* records_ = nullptr;
    const key_line_t* lines_ = nullptr;
    std::size_t line_count_ = 0;
    std::size_t line_ = 0;
    std::size_t children_ = 0;
  };
  RootSearch root_search(int word) const;  // not usable if the word's tree has no key lines

  std::uint32_t head_count() const { return head_count_; }
  std::uint32_t tree_count() const { return static_cast<std::uint32_t>(trees_.size()); }
  std::uint32_t resident_count() const { return resident_count_; }
  float back_off_offset() const { return back_off_offset_; }

 private:
  struct tree_state_t {
    std::uint32_t position = 0;
    std::uint32_t visible = 0;        // the last generation in which it is visible
    std::uint32_t root_keys = 0;      // where its lines begin in root_keys_
    std::uint16_t root_children = 0;  // 0: too few for key lines, search the group itself
    std::uint16_t min_probability = 0xFFFF;
    std::uint16_t max_back_off = 0;
    std::uint32_t deep = 0;        // where its codes begin in deep_codes_
    std::uint32_t deep_count = 0;  // 0: not measured, or no bound but that of the tree
    bool checked = false;
    bool measured = false;
    bool empty = true;  // no nodes
  };
  // Where a walk begins: `count` records of the root group, among which the word before is, if it
  // is in the group; or the whole group, if `count` is 0. Null if there is nothing to walk.
  struct start_t {
    const unsigned char* nodes = nullptr;
    const unsigned char* records = nullptr;
    std::size_t count = 0;
  };

  static std::size_t keys_to(const key_line_t& line, int word);
  bool known(int word) const { return word >= 0 && static_cast<std::uint32_t>(word) < head_count_; }
  const unsigned char* head(int word) const;  // null for an unknown word
  const tree_state_t* visible_tree(const unsigned char* head_entry) const;
  void make_resident(std::int64_t budget);
  void check_tree(tree_state_t& tree);
  void add_root_keys(tree_state_t& tree);
  void measure_tree(tree_state_t& tree);
  const unsigned char* nodes(const tree_state_t& tree) const {
    return bytes_.data() + tree.position + 4;
  }
  start_t begin_walk(std::span<const int> ids, lm_levels_t& levels) const;
  lm_path_t walk(const start_t& start, std::span<const int> ids, lm_levels_t& levels) const;
  lm_path_t follow(const unsigned char* nodes, const unsigned char* child, std::span<const int> ids,
                   lm_levels_t& levels) const;
  static bool find_best_behind(const unsigned char* nodes, const lm_step_t& step, int depth,
                               std::size_t& budget, std::uint16_t& best);
  void show_tree(std::size_t index);
  template <typename Change>
  void change_tree(std::size_t index, Change&& change);
  void hide_trees();

  common::MappedFile file_;
  std::span<const unsigned char> bytes_;
  std::uint32_t head_count_ = 0;
  float back_off_offset_ = 0.0F;
  std::vector<tree_state_t> trees_;  // without the final end position
  // Keys of the root groups of checked trees, about a quarter byte per n-gram of two words: the
  // first steps of a walk then stay within two or three cache lines.
  std::vector<key_line_t> root_keys_;
  std::vector<std::uint16_t> deep_codes_;  // of the trees that sentences asked for
  std::vector<std::uint16_t> node_codes_;  // while a tree is measured
  std::uint32_t resident_count_ = 0;
  std::uint32_t generation_ = 1;
};

}  // namespace koralite::decoder
