#include "toolkit/lm/lang_model_builder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "decoder/lang_model.h"
#include "decoder/lang_model_format.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"
#include "toolkit/lm/lang_model_pruner.h"

namespace koralite::toolkit {

namespace format = decoder::lang_model_format;

namespace {

using format::node_t;
using item_t = LangModelBuilder::item_t;

constexpr std::size_t kMaxOrder = decoder::LangModel::kMaxOrder;

// Scores to codes, for one model: its offset makes the smallest back-off weight code 0.
class Codes {
 public:
  Codes(std::span<const item_t> items, lang_model_report_t& report) : report_(report) {
    double least = 0.0;
    for (const item_t& item : items) {
      least = std::min(least, double{item.back_off});
    }
    // An offset of whole thousandths gives the weight 0 a code that is exactly 0. It must be one
    // that trees can hold.
    thousandths_ =
        static_cast<std::int64_t>(std::max(std::floor(least * double{format::kBackOffSteps}),
                                           -static_cast<double>(format::kBackOffMask)));
  }

  float offset() const { return static_cast<float>(thousandths_) / format::kBackOffSteps; }

  std::uint16_t probability(float value) {
    if (value > 0.0F) {
      ++report_.positive;
    }
    return clamp(std::max(-static_cast<double>(value) * double{format::kProbabilitySteps}, 0.0),
                 format::kMaxHeadCode);
  }
  std::uint16_t back_off(float value, std::int64_t largest) {
    return clamp(static_cast<double>(value) * double{format::kBackOffSteps} -
                     static_cast<double>(thousandths_),
                 largest);
  }

 private:
  std::uint16_t clamp(double code, std::int64_t largest) {
    const double nearest = std::round(code);
    if (nearest >= 0.0 && nearest <= static_cast<double>(largest)) {
      return static_cast<std::uint16_t>(nearest);
    }
    ++report_.clamped;
    return static_cast<std::uint16_t>(nearest < 0.0 ? 0 : largest);
  }

  std::int64_t thousandths_ = 0;
  lang_model_report_t& report_;
};

struct range_t {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// The nodes of a tree, group by group, level by level. A group is the n-grams that agree in the
// words before; it hangs on the node of the last of these.
class TreeLayout {
 public:
  TreeLayout(std::span<const item_t> tree, Codes& codes) : tree_(tree), codes_(codes) {
    if (tree.empty()) {
      return;
    }
    pending_.push_back({{0, tree.size()}, 1, 0});
    for (std::size_t i = 0; i < pending_.size(); ++i) {
      lay(pending_[i]);
    }
  }

  const std::vector<node_t>& nodes() const { return nodes_; }

 private:
  struct pending_t {
    range_t items;
    std::size_t depth = 1;
    std::size_t parent = 0;
  };

  void lay(const pending_t group) {
    const std::size_t start = nodes_.size();
    if (group.depth > 1) {
      nodes_[group.parent].link = static_cast<std::uint16_t>(start + 1);
    }
    nodes_.emplace_back();  // the header, should there be more than one child
    std::uint32_t children = 0;
    for (std::size_t i = group.items.begin; i < group.items.end; ++children) {
      const int word = tree_[i].word(group.depth);
      std::size_t end = i;
      while (end < group.items.end && tree_[end].word(group.depth) == word) {
        ++end;
      }
      if (children > 0 || end < group.items.end) {
        nodes_.emplace_back();
      }
      lay_child(i, end, group.depth);
      i = end;
    }
    if (children > 1) {
      nodes_[start] = {format::kGroupKey, static_cast<std::uint16_t>(children), 0, 0};
    }
  }

  // Fills the last node with the n-grams [begin, end) that go through it.
  void lay_child(std::size_t begin, std::size_t end, std::size_t depth) {
    node_t& node = nodes_.back();
    node.key = static_cast<std::uint16_t>(tree_[begin].word(depth));
    const bool entry = depth + 1 == kMaxOrder || tree_[begin].word(depth + 1) < 0;
    if (entry) {
      node.probability = codes_.probability(tree_[begin].probability);
      node.flag_and_back_off = static_cast<std::uint16_t>(
          format::kEntryFlag | codes_.back_off(tree_[begin].back_off, format::kBackOffMask));
      ++begin;
    }
    if (begin < end) {
      pending_.push_back({{begin, end}, depth + 1, nodes_.size() - 1});
    }
  }

  std::span<const item_t> tree_;
  Codes& codes_;
  std::vector<node_t> nodes_;
  std::vector<pending_t> pending_;
};

// Nodes that the layout takes, without laying it out: each group is its children and, if there is
// more than one, a header.
std::uint64_t count_nodes(std::span<const item_t> tree) {
  std::uint64_t nodes = 0;
  std::array<std::uint32_t, kMaxOrder> open{};  // children so far of the open group at each depth
  for (std::size_t i = 0; i < tree.size(); ++i) {
    std::size_t depth = 1;
    while (i > 0 && depth < kMaxOrder && tree[i].word(depth) == tree[i - 1].word(depth)) {
      ++depth;
    }
    for (std::size_t d = depth; d < kMaxOrder && tree[i].word(d) >= 0; ++d) {
      // A sibling of the n-gram before, unless that one ends here and this goes on from it.
      const bool sibling = d == depth && i > 0 && tree[i - 1].word(d) >= 0;
      open[d] = sibling ? open[d] + 1 : 1;
      nodes += open[d] == 2 ? 2 : 1;
    }
  }
  return nodes;
}

std::uint32_t place(std::uint64_t position, const std::string& path) {
  if (position > std::numeric_limits<std::uint32_t>::max()) {
    throw std::runtime_error("the language model " + path + " would exceed 4 GiB");
  }
  return static_cast<std::uint32_t>(position);
}

std::string count_of(std::uint64_t count, const char* what) {
  return std::to_string(count) + " " + what;
}

}  // namespace

std::vector<std::string> lang_model_report_t::warnings() const {
  std::vector<std::string> lines;
  const auto tell = [&](std::uint64_t count, const char* what) {
    if (count != 0) {
      lines.push_back(count_of(count, what));
    }
  };
  tell(repeated, "n-grams were given more than once: the last one counts");
  tell(bad_words, "n-grams dropped: a word id is negative or above 65534");
  tell(bad_length, "n-grams dropped: no word, or more than 8");
  tell(bad_scores, "n-grams dropped: a score is not a number");
  tell(positive, "probabilities above 1 were stored as 1");
  tell(clamped, "scores were out of the range of codes and stored as the nearest one");
  if (pruned != 0) {
    lines.push_back(count_of(pruned, "n-grams pruned, the least useful of ") +
                    count_of(oversize_trees, "words whose trees exceeded the format's size"));
  }
  tell(missing_words, "word ids without a one-word entry score as unknown");
  return lines;
}

void LangModelBuilder::add(std::span<const std::int32_t> ids, float probability, float back_off) {
  ++report_.added;
  if (ids.empty() || ids.size() > kMaxOrder) {
    ++report_.bad_length;
    return;
  }
  if (std::any_of(ids.begin(), ids.end(),
                  [](auto id) { return id < 0 || id > format::kMaxWord; })) {
    ++report_.bad_words;
    return;
  }
  if (std::isnan(probability) || std::isnan(back_off)) {
    ++report_.bad_scores;
    return;
  }
  item_t item;
  for (std::size_t k = 0; k < ids.size(); ++k) {
    const auto word = static_cast<std::uint64_t>(ids[ids.size() - 1 - k]) + 1;
    (k < 4 ? item.high : item.low) |= word << (48 - 16 * (k % 4));
  }
  item.probability = probability;
  item.back_off = back_off;
  items_.push_back(item);
}

void LangModelBuilder::sort_and_merge() {
  const auto less = [](const item_t& a, const item_t& b) {
    return a.high != b.high ? a.high < b.high : a.low < b.low;
  };
  std::stable_sort(items_.begin(), items_.end(), less);
  std::size_t kept = 0;
  for (const item_t& item : items_) {
    if (kept > 0 && !less(items_[kept - 1], item)) {
      ++report_.repeated;
      items_[kept - 1] = item;
    } else {
      items_[kept++] = item;
    }
  }
  items_.resize(kept);
}

lang_model_report_t LangModelBuilder::write(const std::string& path) {
  const std::uint32_t max_nodes = std::min(options_.max_tree_nodes, format::kMaxTreeNodes);
  sort_and_merge();
  if (items_.empty()) {
    throw std::runtime_error("no n-grams for the language model " + path);
  }

  // Per word: its one-word entry and the range of its longer n-grams.
  struct word_t {
    const item_t* unigram = nullptr;
    range_t tree;
    std::uint16_t index = format::kNoTree;
  };
  int last = 0;
  for (const item_t& item : items_) {
    for (std::size_t k = 0; k < kMaxOrder && item.word(k) >= 0; ++k) {
      last = std::max(last, item.word(k));
    }
  }
  std::vector<word_t> words(static_cast<std::size_t>(last) + 1);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    word_t& word = words[static_cast<std::size_t>(items_[i].word(0))];
    if (items_[i].word(1) < 0) {
      word.unigram = &items_[i];
      continue;
    }
    if (word.tree.end == 0) {
      word.tree.begin = i;
    }
    word.tree.end = i + 1;
  }

  std::vector<std::uint32_t> order;  // words with a tree, as the file has them
  std::vector<bool> oversize(words.size(), false);
  for (std::uint32_t id = 0; id < words.size(); ++id) {
    const range_t tree = words[id].tree;
    if (words[id].unigram == nullptr && id >= options_.first_word_id) {
      ++report_.missing_words;
    }
    if (tree.end == 0) {
      continue;
    }
    order.push_back(id);
    const auto items = std::span<const item_t>(items_).subspan(tree.begin, tree.end - tree.begin);
    if (count_nodes(items) > max_nodes) {
      oversize[id] = true;
      ++report_.oversize_trees;
    }
  }
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    const bool a_ends = static_cast<int>(a) == options_.end_id;
    const bool b_ends = static_cast<int>(b) == options_.end_id;
    if (a_ends != b_ends) {
      return a_ends;
    }
    const auto frequency = [&](std::uint32_t id) {
      return words[id].unigram == nullptr ? -std::numeric_limits<float>::infinity()
                                          : words[id].unigram->probability;
    };
    return frequency(a) > frequency(b);
  });

  Codes codes(items_, report_);
  const LangModelPruner pruner(items_, oversize);
  ByteWriter head;
  head.put_u16(static_cast<std::uint16_t>(words.size()));
  report_.by_order.assign(kMaxOrder, 0);
  std::uint16_t next_tree = 0;
  for (const std::uint32_t id : order) {
    words[id].index = next_tree++;
  }
  for (const word_t& word : words) {
    head.put_u16(word.index);
    head.put_u16(word.unigram == nullptr ? format::kUnknownCode
                                         : codes.probability(word.unigram->probability));
    head.put_u16(codes.back_off(word.unigram == nullptr ? 0.0F : word.unigram->back_off,
                                format::kMaxHeadCode));
    if (word.unigram != nullptr) {
      ++report_.by_order[0];
    }
  }
  head.put_f32(codes.offset());
  head.put_i32(static_cast<std::int32_t>(order.size() + 1));
  const std::size_t positions = head.size();
  for (std::size_t i = 0; i <= order.size(); ++i) {
    head.put_u32(0);
  }

  AtomicFile file(path);
  file.write(head.bytes());
  for (std::size_t t = 0; t < order.size(); ++t) {
    const range_t range = words[order[t]].tree;
    auto tree = std::span<const item_t>(items_).subspan(range.begin, range.end - range.begin);
    std::vector<item_t> kept;
    if (oversize[order[t]]) {
      kept = pruner.prune(tree, max_nodes);
      report_.pruned += tree.size() - kept.size();
      tree = kept;
    }
    const TreeLayout layout(tree, codes);
    ByteWriter out;
    while ((file.position() + out.size()) % format::kNodeAlignment !=
           format::kNodeAlignment - format::kTreeCountSize) {
      out.put_u8(0);
    }
    head.store(positions + format::kPositionSize * t, place(file.position() + out.size(), path));
    out.put_u32(static_cast<std::uint32_t>(layout.nodes().size()));
    for (const node_t& node : layout.nodes()) {
      out.put_u16(node.key);
      out.put_u16(node.link);
      out.put_u16(node.probability);
      out.put_u16(node.flag_and_back_off);
    }
    file.write(out.bytes());
    report_.nodes += layout.nodes().size();
    for (const item_t& item : tree) {
      std::size_t length = 1;
      while (length < kMaxOrder && item.word(length) >= 0) {
        ++length;
      }
      ++report_.by_order[length - 1];
    }
  }
  head.store(positions + format::kPositionSize * order.size(), place(file.position(), path));
  file.write_at(0, head.bytes());
  file.commit();

  report_.trees = order.size();
  report_.bytes = file.position();
  for (const std::uint64_t count : report_.by_order) {
    report_.written += count;
  }
  while (!report_.by_order.empty() && report_.by_order.back() == 0) {
    report_.by_order.pop_back();
  }
  items_ = {};
  return std::exchange(report_, {});
}

}  // namespace koralite::toolkit
