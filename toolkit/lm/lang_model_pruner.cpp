#include "toolkit/lm/lang_model_pruner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <queue>
#include <tuple>

namespace koralite::toolkit {
namespace {

using item_t = LangModelBuilder::item_t;
using key_t = std::pair<std::uint64_t, std::uint64_t>;

constexpr std::size_t kMaxOrder = 8;

std::size_t order_of(const item_t& item) {
  std::size_t order = 0;
  while (order < kMaxOrder && item.word(order) >= 0) {
    ++order;
  }
  return order;
}

// The key without the predicted word, that is, of the context.
key_t without_last(std::uint64_t high, std::uint64_t low) {
  return {high << 16 | low >> 48, low << 16};
}

// The key of the last `order` words.
key_t suffix(std::uint64_t high, std::uint64_t low, std::size_t order) {
  const auto mask = [](std::size_t words) {
    return words == 0 ? 0 : ~std::uint64_t{0} << (64 - 16 * words);
  };
  return {high & mask(std::min<std::size_t>(order, 4)), low & mask(order > 4 ? order - 4 : 0)};
}

std::size_t order_of(std::uint64_t high, std::uint64_t low) {
  item_t item;
  item.high = high;
  item.low = low;
  return order_of(item);
}

// The tree with parents and numbers of children, from n-grams in the order of a walk.
struct trie_t {
  struct node_t {
    std::uint32_t parent = 0;
    std::uint32_t children = 0;
    std::int64_t item = -1;
  };
  std::vector<node_t> nodes{node_t{}};  // the first is the root

  explicit trie_t(std::span<const item_t> tree) {
    std::array<std::uint32_t, kMaxOrder> path{};  // node at each depth of the n-gram before
    std::size_t depth = 1;
    for (std::size_t i = 0; i < tree.size(); ++i) {
      const std::size_t order = order_of(tree[i]);
      std::size_t common = 1;
      while (i > 0 && common < std::min(order, depth) &&
             tree[i].word(common) == tree[i - 1].word(common)) {
        ++common;
      }
      for (depth = common; depth < order; ++depth) {
        const std::uint32_t parent = path[depth - 1];
        ++nodes[parent].children;
        path[depth] = static_cast<std::uint32_t>(nodes.size());
        nodes.push_back({parent, 0, -1});
      }
      nodes[path[order - 1]].item = static_cast<std::int64_t>(i);
    }
  }
};

// Nodes that a group of so many children takes: a header stands before more than one.
std::uint32_t group_size(std::uint32_t children) {
  return children > 1 ? children + 1 : children;
}

}  // namespace

LangModelPruner::LangModelPruner(std::span<const item_t> items, const std::vector<bool>& oversize)
    : items_(items) {
  for (const item_t& item : items) {
    const int last_of_context = item.word(1);
    if (item.word(2) < 0 || last_of_context < 0 ||
        !oversize[static_cast<std::size_t>(last_of_context)]) {
      continue;
    }
    contexts_.push_back(without_last(item.high, item.low));
  }
  std::sort(contexts_.begin(), contexts_.end());
  contexts_.erase(std::unique(contexts_.begin(), contexts_.end()), contexts_.end());
}

const LangModelPruner::item_t* LangModelPruner::find(std::uint64_t high, std::uint64_t low) const {
  const key_t key{high, low};
  const auto at = std::lower_bound(items_.begin(), items_.end(), key,
                                   [](const item_t& item, const key_t& wanted) {
                                     return key_t{item.high, item.low} < wanted;
                                   });
  return at != items_.end() && at->high == high && at->low == low ? &*at : nullptr;
}

// Log probability of the last word after the others, with back-off.
double LangModelPruner::score(std::uint64_t high, std::uint64_t low) const {
  const std::size_t order = order_of(high, low);
  double back_off = 0.0;
  for (std::size_t matched = order; matched > 0; --matched) {
    const auto [suffix_high, suffix_low] = suffix(high, low, matched);
    if (const item_t* item = find(suffix_high, suffix_low)) {
      return item->probability + back_off;
    }
    const auto context = without_last(suffix_high, suffix_low);
    if (matched > 1) {
      if (const item_t* item = find(context.first, context.second)) {
        back_off += item->back_off;
      }
    }
  }
  return -100.0 + back_off;
}

double LangModelPruner::use(const item_t& item) const {
  double sequence = item.probability;
  for (auto [high, low] = without_last(item.high, item.low); high != 0;
       std::tie(high, low) = without_last(high, low)) {
    sequence += score(high, low);
  }
  const std::size_t order = order_of(item);
  const auto [high, low] = suffix(item.high, item.low, order - 1);
  double without = score(high, low);
  const auto context = without_last(item.high, item.low);
  if (const item_t* found = find(context.first, context.second)) {
    without += found->back_off;
  }
  return std::exp(sequence) * std::fabs(item.probability - without);
}

bool LangModelPruner::is_context(const item_t& item) const {
  return item.back_off != 0.0F &&
         std::binary_search(contexts_.begin(), contexts_.end(), key_t{item.high, item.low});
}

std::vector<item_t> LangModelPruner::prune(std::span<const item_t> tree,
                                           std::uint32_t max_nodes) const {
  trie_t trie(tree);
  std::uint64_t size = 0;
  for (const trie_t::node_t& node : trie.nodes) {
    size += group_size(node.children);
  }

  // Leaves, the least useful on top; ties go by position, so that the result is one.
  using leaf_t = std::tuple<bool, double, std::uint32_t>;
  std::priority_queue<leaf_t, std::vector<leaf_t>, std::greater<>> leaves;
  const auto offer = [&](std::uint32_t node) {
    const std::int64_t item = trie.nodes[node].item;
    if (item < 0) {
      leaves.emplace(false, -1.0, node);  // a step that leads nowhere any more
    } else {
      const item_t& ngram = tree[static_cast<std::size_t>(item)];
      leaves.emplace(is_context(ngram), use(ngram), node);
    }
  };
  for (std::uint32_t i = 1; i < trie.nodes.size(); ++i) {
    if (trie.nodes[i].children == 0) {
      offer(i);
    }
  }
  std::vector<bool> dropped(tree.size(), false);
  while (!leaves.empty()) {
    const auto [context, use, node] = leaves.top();
    if (size <= max_nodes && use >= 0.0) {
      break;
    }
    leaves.pop();
    if (trie.nodes[node].item >= 0) {
      dropped[static_cast<std::size_t>(trie.nodes[node].item)] = true;
    }
    const std::uint32_t parent = trie.nodes[node].parent;
    std::uint32_t& siblings = trie.nodes[parent].children;
    size -= group_size(siblings) - group_size(siblings - 1);
    if (--siblings == 0 && parent != 0) {
      offer(parent);
    }
  }
  std::vector<item_t> kept;
  for (std::size_t i = 0; i < tree.size(); ++i) {
    if (!dropped[i]) {
      kept.push_back(tree[i]);
    }
  }
  return kept;
}

}  // namespace koralite::toolkit
