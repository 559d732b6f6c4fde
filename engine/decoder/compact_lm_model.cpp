#include "decoder/compact_lm_model.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace koralite::decoder {

namespace format = lang_model_format;

CompactLmModel::CompactLmModel(const common::FilePath& path, int order, std::int64_t budget)
    : LangModel(order), file_(path), trees_(file_, budget) {}

CompactLmModel::~CompactLmModel() = default;

void CompactLmModel::add_to_cache(const std::set<int>& words) {
  const std::vector<int> list(words.begin(), words.end());
  add_to_cache(std::span<const int>(list));
}

// Level 1, and where to go on from there. Touches no tree, but fetches what `walk` needs first:
// walks that are begun together wait for memory together.
CompactLmModel::start_t CompactLmModel::begin_walk(std::span<const int> ids,
                                                   lm_levels_t& levels) const {
  levels.count = 0;
  levels.longest = 0;
  if (ids.empty() || !file_.known(ids.back())) {
    return {};
  }
  const format::head_t head = file_.head(ids.back());
  levels.add({head.probability, head.back_off, true});
  if (ids.size() == 1) {
    return {};
  }
  const LmTrees::tree_t* tree = trees_.visible(head);
  const int word = ids[ids.size() - 2];
  if (tree == nullptr || !file_.known(word)) {
    return {};
  }
  const unsigned char* nodes = trees_.nodes(*tree);
  start_t start{nodes, {nodes, 0}};
  if (tree->root.children > 0) {
    start.block = trees_.root_index().find_block(tree->root, nodes, word);
  }
  __builtin_prefetch(start.block.records);
  return start;
}

// Adds the levels of two words and more.
lm_path_t CompactLmModel::walk(const start_t& start, std::span<const int> ids,
                               lm_levels_t& levels) const {
  if (start.nodes == nullptr) {
    return {};
  }
  const int word = ids[ids.size() - 2];
  return follow(start.nodes,
                start.block.count > 0 ? find_record(start.block.records, start.block.count, word)
                                      : find_child(start.block.records, word),
                ids, levels);
}

// Adds the level of `child`, if there is one, and those behind it.
lm_path_t CompactLmModel::follow(const unsigned char* nodes, const unsigned char* child,
                                 std::span<const int> ids, lm_levels_t& levels) const {
  const std::size_t limit = std::min(ids.size(), levels.level.size());
  while (child != nullptr) {
    const lm_step_t step = read_step(child);
    levels.add(step.level);
    const auto matched = static_cast<std::size_t>(levels.count);
    const lm_path_t path = lm_path_t::after(nodes, step);
    if (matched == limit || path.group == nullptr) {
      return path;
    }
    const int word = ids[ids.size() - 1 - matched];
    if (!file_.known(word)) {
      break;
    }
    child = find_child(path.group, word);
  }
  return {};
}

int CompactLmModel::TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels) const {
  walk(begin_walk(ids, levels), ids, levels);
  return levels.count;
}

int CompactLmModel::TrieSearchInvert(std::span<const int> ids, lm_levels_t& levels,
                                     lm_path_t& path) const {
  path = walk(begin_walk(ids, levels), ids, levels);
  return levels.count;
}

void CompactLmModel::walk_on(const lm_path_t& path, std::span<const int> ids,
                             lm_levels_t& levels) const {
  const auto matched = static_cast<std::size_t>(levels.count);
  if (matched >= std::min(ids.size(), levels.level.size())) {
    return;
  }
  const int word = ids[ids.size() - 1 - matched];
  if (file_.known(word)) {
    follow(path.nodes, find_child(path.group, word), ids, levels);
  }
}

float CompactLmModel::ngram_score(std::span<const int> ids, const lm_levels_t& before,
                                  lm_levels_t& levels) const {
  TrieSearchInvert(ids, levels);
  return score(static_cast<int>(ids.size()), levels, before);
}

float CompactLmModel::compute_ngram_score(std::span<const int> ids) const {
  if (ids.empty()) {
    return LM_UNK_PROB;
  }
  const std::span<const int> context = ids.first(ids.size() - 1);
  lm_levels_t levels;
  lm_levels_t before;
  const start_t start = begin_walk(ids, levels);
  const start_t context_start = begin_walk(context, before);
  walk(start, ids, levels);
  if (static_cast<std::size_t>(levels.longest) < ids.size()) {
    walk(context_start, context, before);
  }
  return score(static_cast<int>(ids.size()), levels, before);
}

void CompactLmModel::compute_phrase_score(std::span<const int> ids, float& complete,
                                          float& total) const {
  const auto window = static_cast<std::size_t>(order());
  std::array<lm_levels_t, 2> levels;  // of the word before and of this one, in turn
  float estimate = 0.0F;
  float windows = 0.0F;
  for (std::size_t end = 1; end <= ids.size(); ++end) {
    const std::size_t length = std::min(end, window);
    const float score =
        ngram_score(ids.subspan(end - length, length), levels[(end + 1) % 2], levels[end % 2]);
    (end < window ? estimate : windows) += score;
  }
  complete = windows;
  total = estimate + windows;
}

float CompactLmModel::compute_joint_score(std::span<const int> context,
                                          std::span<const int> ids) const {
  lm_levels_t before;
  if (order() > 1 && context.size() <= kMaxContext) {
    TrieSearchInvert(context, before);
  }
  return joint_score(context, before, ids);
}

float CompactLmModel::joint_score(std::span<const int> context, const lm_levels_t& before,
                                  std::span<const int> ids) const {
  if (context.size() > kMaxContext) {
    throw std::runtime_error("context overflow in LangModel::compute_joint_score()");
  }
  const auto window = static_cast<std::size_t>(order());
  const std::size_t count = std::min(ids.size(), window - 1);
  std::array<int, kMaxContext + kMaxOrder> joined;
  std::copy(context.begin(), context.end(), joined.begin());
  std::copy_n(ids.begin(), count, joined.begin() + static_cast<std::ptrdiff_t>(context.size()));
  std::array<lm_levels_t, kMaxContext> levels;
  std::array<start_t, kMaxContext> starts;
  const auto sequence = [&](std::size_t i) {
    const std::size_t end = context.size() + i + 1;
    const std::size_t length = std::min(end, window);
    return std::span<const int>(joined).subspan(end - length, length);
  };
  for (std::size_t i = 0; i < count; ++i) {
    starts[i] = begin_walk(sequence(i), levels[i]);
  }
  const lm_levels_t nothing{};
  const lm_levels_t* last = context.empty() ? &nothing : &before;
  float sum = 0.0F;
  for (std::size_t i = 0; i < count; ++i) {
    const std::span<const int> ids_here = sequence(i);
    walk(starts[i], ids_here, levels[i]);
    sum += score(static_cast<int>(ids_here.size()), levels[i], *last);
    last = &levels[i];
  }
  return sum;
}

bool CompactLmModel::find_ngram_score(std::span<const int> ids, float& probability_out,
                                      float& back_off_out) const {
  std::uint16_t probability_code = 0;
  std::uint16_t back_off_code = 0;
  if (!Search(ids, probability_code, back_off_code)) {
    return false;
  }
  probability_out = probability(probability_code);
  back_off_out = back_off(back_off_code);
  return true;
}

bool CompactLmModel::Search(std::span<const int> ids, std::uint16_t& probability_code,
                            std::uint16_t& back_off_code) const {
  lm_levels_t levels;
  if (ids.size() > levels.level.size() ||
      static_cast<std::size_t>(TrieSearchInvert(ids, levels)) != ids.size() || ids.empty()) {
    return false;
  }
  const lm_level_t& level = levels.level[ids.size() - 1];
  if (!level.entry) {
    return false;
  }
  probability_code = level.probability;
  back_off_code = level.back_off;
  return true;
}

float CompactLmModel::max_probability(int word) const {
  if (!file_.known(word)) {
    return LM_UNK_PROB;
  }
  const format::head_t head = file_.head(word);
  const LmTrees::tree_t* tree = trees_.visible(head);
  return probability(tree == nullptr ? head.probability
                                     : std::min(head.probability, tree->min_probability));
}

float CompactLmModel::max_behind(const unsigned char* nodes, const lm_step_t& step,
                                 int last) const {
  std::uint16_t best = kNoCode;
  return find_best_behind(nodes, step, best) ? probability_or_none(best) : max_probability(last);
}

float CompactLmModel::max_back_off(int word) const {
  if (!file_.known(word)) {
    return LM_UNK_BOW;
  }
  const format::head_t head = file_.head(word);
  const LmTrees::tree_t* tree = trees_.visible(head);
  const std::uint16_t code =
      tree == nullptr ? head.back_off : std::max(head.back_off, tree->max_back_off);
  return std::max(back_off(code), LM_UNK_BOW);
}

std::span<const std::uint16_t> CompactLmModel::deep_codes(int word) const {
  const LmTrees::tree_t* tree = visible_tree(word);
  return tree == nullptr ? std::span<const std::uint16_t>() : trees_.deep_codes(*tree);
}

LmRootIndex::Search CompactLmModel::root_search(int word) const {
  const LmTrees::tree_t* tree = visible_tree(word);
  return tree == nullptr ? LmRootIndex::Search()
                         : trees_.root_index().search(tree->root, trees_.nodes(*tree));
}

bool CompactLmModel::GetHeadValue(int word, float& probability_out, float& back_off_out) const {
  if (!file_.known(word)) {
    return false;
  }
  const format::head_t head = file_.head(word);
  probability_out = probability(head.probability);
  back_off_out = back_off(head.back_off);
  return true;
}

std::int64_t CompactLmModel::GetFilePos(int word) const {
  if (!file_.known(word)) {
    return -1;
  }
  const std::size_t tree = file_.head(word).tree;
  return tree == format::kNoTree || tree >= tree_count() ? -1 : std::int64_t{file_.trees()[tree]};
}

CompactLmModel::tree_t CompactLmModel::GetTree(int word) const {
  const LmTrees::tree_t* tree = visible_tree(word);
  return tree == nullptr ? tree_t() : tree_t{trees_.nodes(*tree), trees_.node_count(*tree)};
}

}  // namespace koralite::decoder
