// Steps through the trees of a packed language model whose nodes were checked: records, groups of
// records, and what a walk from the last word of a sequence back to its first one finds.
//
// Plain values and pure functions over the mapped file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "decoder/lang_model.h"
#include "decoder/lang_model_format.h"

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

  void add(const lm_level_t& next) {
    level[static_cast<std::size_t>(count++)] = next;
    if (next.entry) {
      longest = count;
    }
  }
};

// A record of a tree: what one more word back is, and where the words before it stand.
struct lm_step_t {
  lm_level_t level;
  std::uint16_t link;  // the child group, see lm_path_t::after

  bool goes_on() const { return link > lang_model_format::kNoChildren; }
};

inline lm_step_t read_step(const unsigned char* record) {
  const lang_model_format::node_t node = lang_model_format::read_node(record);
  return {{node.probability, node.back_off(), node.is_entry()}, node.link};
}

// The records of a group, in key order.
struct lm_group_t {
  const unsigned char* records = nullptr;
  std::size_t count = 0;

  explicit lm_group_t(const unsigned char* group) : records(group), count(1) {
    const auto first = lang_model_format::read_node(group);
    if (first.is_header()) {
      records += lang_model_format::kNodeSize;
      count = first.link;
    }
  }
  const unsigned char* record(std::size_t at) const {
    return records + at * lang_model_format::kNodeSize;
  }
  std::int32_t key(std::size_t at) const { return lang_model_format::read_key(record(at)); }
};

// Where a walk that used up its words goes on. No group: no word before changes its levels.
struct lm_path_t {
  const unsigned char* nodes = nullptr;  // the visible tree
  const unsigned char* group = nullptr;

  static lm_path_t after(const unsigned char* nodes, const lm_step_t& step) {
    return {nodes, step.goes_on()
                       ? nodes + (std::size_t{step.link} - 1) * lang_model_format::kNodeSize
                       : nullptr};
  }
};

// The record `word` among `count` (at least 1) in key order, or null.
inline const unsigned char* find_record(const unsigned char* base, std::size_t count, int word) {
  while (count > 1) {
    const std::size_t half = count / 2;
    const unsigned char* middle = base + half * lang_model_format::kNodeSize;
    base = lang_model_format::read_key(middle) <= word ? middle : base;
    count -= half;
  }
  return lang_model_format::read_key(base) == word ? base : nullptr;
}

// The child `word` of the group that starts at `group`, or null.
inline const unsigned char* find_child(const unsigned char* group, int word) {
  const lm_group_t children(group);
  return find_record(children.records, children.count, word);
}

// The smallest probability code of the n-grams behind a record of the tree `nodes`, kNoCode for
// none. False if they are too many to look at.
inline constexpr std::uint16_t kNoCode = 0xFFFF;
bool find_best_behind(const unsigned char* nodes, const lm_step_t& step, std::uint16_t& best);

}  // namespace koralite::decoder
