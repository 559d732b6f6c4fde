// A packed language model file read the slow, obvious way, and a back-off scorer
// over a plain map of n-grams: what the engine's model must agree with, bit for bit.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kora_test {

// Everything a file says. Trusts the file.
struct lm_file_t {
  struct entry_t {
    float probability = 0;
    float back_off = 0;
    friend bool operator==(const entry_t&, const entry_t&) = default;
  };
  std::map<std::vector<int>, entry_t> ngrams;  // in reading order; all words below the head count
  std::map<int, std::size_t> tree_of;          // word to tree
  std::vector<std::int64_t> tree_nodes;        // nodes of each tree, in file order

  explicit lm_file_t(const std::string& file) : bytes_(file) {
    const auto heads = static_cast<int>(number(0, 2));
    const std::size_t after = 2 + 6 * static_cast<std::size_t>(heads);
    const auto offset_bits = static_cast<std::uint32_t>(number(after, 4));
    std::memcpy(&offset_, &offset_bits, 4);
    const std::size_t positions = number(after + 4, 4);
    for (std::size_t t = 0; t + 1 < positions; ++t) {
      tree_nodes.push_back(static_cast<std::int64_t>(number(number(after + 8 + 4 * t, 4), 4)));
    }
    for (int word = 0; word < heads; ++word) {
      const std::size_t at = 2 + 6 * static_cast<std::size_t>(word);
      ngrams[{word}] = entry(number(at + 2, 2), number(at + 4, 2));
      const std::size_t tree = number(at, 2);
      if (tree + 1 >= positions) {
        continue;
      }
      tree_of[word] = tree;
      const std::size_t start = number(after + 8 + 4 * tree, 4);
      if (number(start, 4) > 0) {
        read_group(start + 4, 0, {word});
      }
    }
  }

 private:
  std::size_t number(std::size_t at, int width) const {
    std::size_t value = 0;
    for (int i = width; i-- > 0;) {
      value = value << 8 | static_cast<unsigned char>(bytes_.at(at + static_cast<std::size_t>(i)));
    }
    return value;
  }
  entry_t entry(std::size_t probability, std::size_t back_off) const {
    return {-static_cast<float>(probability) / 100.0F,
            static_cast<float>(back_off) / 1000.0F + offset_};
  }
  void read_group(std::size_t nodes, std::size_t group, std::vector<int> ids) {
    const std::size_t at = nodes + 8 * group;
    if (number(at, 2) != 65535) {
      return read_node(nodes, group, std::move(ids));
    }
    for (std::size_t i = 1; i <= number(at + 2, 2); ++i) {
      read_node(nodes, group + i, ids);
    }
  }
  void read_node(std::size_t nodes, std::size_t node, std::vector<int> ids) {
    const std::size_t at = nodes + 8 * node;
    ids.insert(ids.begin(), static_cast<int>(number(at, 2)));
    const std::size_t flagged = number(at + 6, 2);
    if (flagged & 0x8000) {
      ngrams[ids] = entry(number(at + 4, 2), flagged & 0x7FFF);
    }
    const std::size_t link = number(at + 2, 2);
    if (link > 1) {
      read_group(nodes, link - 1, ids);
    }
  }

  const std::string& bytes_;
  float offset_ = 0;
};

// The scores of one sentence, whose words' trees are `shown` besides the resident ones.
class ReferenceScorer {
 public:
  ReferenceScorer(const lm_file_t& file, int order, std::int64_t budget, std::set<int> shown)
      : file_(file), order_(static_cast<std::size_t>(order)), shown_(std::move(shown)) {
    std::int64_t used = 0;
    for (const std::int64_t nodes : file.tree_nodes) {
      used += 8 * nodes + 20;
      if (used > budget) {
        break;
      }
      ++resident_;
    }
  }

  bool visible(int word) const {
    const auto tree = file_.tree_of.find(word);
    return tree != file_.tree_of.end() && (tree->second < resident_ || shown_.contains(word));
  }

  const lm_file_t::entry_t* find(std::span<const int> ids) const {
    const auto found = file_.ngrams.find({ids.begin(), ids.end()});
    if (found == file_.ngrams.end() || (ids.size() > 1 && !visible(ids.back()))) {
      return nullptr;
    }
    return &found->second;
  }

  float ngram(std::span<const int> ids) const {
    for (std::size_t matched = ids.size(); matched > 0; --matched) {
      const auto* entry = find(ids.last(matched));
      if (entry == nullptr) {
        continue;
      }
      float score = entry->probability;
      const auto context = ids.first(ids.size() - 1);
      for (std::size_t k = matched; k <= context.size(); ++k) {
        if (const auto* weight = find(context.last(k))) {
          score += weight->back_off;
        }
      }
      return score;
    }
    return -100.0F;
  }

  // The word that ends at `end` with the words before it, as many as fit the order.
  float word(std::span<const int> ids, std::size_t end) const {
    const std::size_t length = std::min(end, order_);
    return ngram(ids.subspan(end - length, length));
  }

  void phrase(std::span<const int> ids, float& complete, float& total) const {
    complete = 0;
    total = 0;
    for (std::size_t end = 1; end <= ids.size(); ++end) {
      (end < order_ ? total : complete) += word(ids, end);
    }
    total += complete;
  }

  float joint(std::span<const int> context, std::span<const int> ids) const {
    std::vector<int> all(context.begin(), context.end());
    float score = 0;
    for (std::size_t i = 0; i < std::min(ids.size(), order_ - 1); ++i) {
      all.push_back(ids[i]);
      score += word(all, all.size());
    }
    return score;
  }

 private:
  const lm_file_t& file_;
  std::size_t order_;
  std::set<int> shown_;
  std::size_t resident_ = 0;
};

}  // namespace kora_test
