// Which trees of a language model take part in scoring, and what is known about each. Visible are
// those at the front of the file that fit the memory budget ("resident"), and those that the last
// `show` named. Every byte is mapped anyway; visibility is kept because scores depend on it, and
// costs one comparison of a generation number.
//
// A tree is checked and measured when it first becomes visible; walks then need no checks.
// `show` writes; all else is read-only. Borrows the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/lm_file.h"
#include "decoder/lm_root_index.h"

namespace koralite::decoder {

class LmTrees {
 public:
  struct tree_t {
    std::uint32_t position = 0;
    std::uint32_t visible = 0;  // the last generation in which it is visible
    LmRootIndex::lines_t root;
    std::uint16_t min_probability = 0xFFFF;  // codes over all its n-grams
    std::uint16_t max_back_off = 0;
    std::uint32_t deep = 0;        // where its codes begin in deep_codes_
    std::uint32_t deep_count = 0;  // 0: not measured, or no bound but that of the tree
    bool checked = false;
    bool measured = false;
    bool empty = true;  // no nodes
  };

  // Throws "damaged file in PackedLM" or "damaged tree in PackedLM".
  LmTrees(const LmFile& file, std::int64_t budget);

  // Makes the trees of these words visible, and of those that are not resident no others. Throws
  // "damaged tree in PackedLM"; then only the resident trees are visible.
  void show(std::span<const int> words);

  // The tree of a known word's head, if it is visible now and has nodes.
  const tree_t* visible(const lang_model_format::head_t& head) const {
    if (head.tree == lang_model_format::kNoTree || head.tree >= trees_.size()) {
      return nullptr;
    }
    const tree_t& tree = trees_[head.tree];
    return tree.visible >= generation_ && !tree.empty ? &tree : nullptr;
  }

  const unsigned char* nodes(const tree_t& tree) const {
    return file_.bytes().data() + tree.position + lang_model_format::kTreeCountSize;
  }
  std::uint32_t node_count(const tree_t& tree) const;
  const LmRootIndex& root_index() const { return root_index_; }

  // The smallest probability code of the n-grams beyond a pair of words, over all words before the
  // pair: one code for each record of the tree's root group, kNoCode where there is none. Empty if
  // the tree was not measured.
  std::span<const std::uint16_t> deep_codes(const tree_t& tree) const {
    return std::span<const std::uint16_t>(deep_codes_).subspan(tree.deep, tree.deep_count);
  }

  std::uint32_t resident_count() const { return resident_count_; }

 private:
  void make_resident(std::int64_t budget);
  void check_tree(tree_t& tree);
  void measure_tree(tree_t& tree);
  void show_tree(std::size_t index);
  void hide_trees();

  const LmFile& file_;
  std::vector<tree_t> trees_;
  LmRootIndex root_index_;
  std::vector<std::uint16_t> deep_codes_;  // of the trees that sentences asked for
  std::vector<std::uint16_t> node_codes_;  // while a tree is measured
  std::uint32_t resident_count_ = 0;
  std::uint32_t generation_ = 1;
};

}  // namespace koralite::decoder
