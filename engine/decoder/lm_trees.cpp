#include "decoder/lm_trees.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "common/byte_reader.h"

namespace koralite::decoder {

namespace format = lang_model_format;

namespace {

constexpr std::uint32_t kReachableNodes = 2 * 65535;  // a last group start, and its children
constexpr std::uint32_t kAlways = 0xFFFFFFFF;

[[noreturn]] void damaged_file() {
  throw std::runtime_error("damaged file in PackedLM");
}

[[noreturn]] void damaged_tree() {
  throw std::runtime_error("damaged tree in PackedLM");
}

}  // namespace

LmTrees::LmTrees(const LmFile& file, std::int64_t budget) : file_(file) {
  trees_.resize(file.trees().size());
  for (std::size_t i = 0; i < trees_.size(); ++i) {
    trees_[i].position = file.trees()[i];
  }
  make_resident(budget);
}

void LmTrees::make_resident(std::int64_t budget) {
  const std::span<const unsigned char> bytes = file_.bytes();
  std::int64_t used = 0;
  for (tree_t& tree : trees_) {
    std::uint32_t count = 0;
    if (!common::ByteReader(bytes).read_at(tree.position, count)) {
      damaged_file();
    }
    const std::int64_t size = std::int64_t{count} * static_cast<std::int64_t>(format::kNodeSize);
    if (size > static_cast<std::int64_t>(bytes.size())) {
      damaged_file();
    }
    used += size + format::kTreeOverhead;
    if (used > budget) {
      break;
    }
    check_tree(tree);
    tree.visible = kAlways;
    ++resident_count_;
  }
  // A tree is known by its position: trees that share the last resident one's are resident too.
  for (std::size_t i = resident_count_; i > 0 && i < trees_.size(); ++i) {
    if (trees_[i].position != trees_[i - 1].position) {
      break;
    }
    trees_[i] = trees_[i - 1];
  }
}

// Every node must stand as a header and as a child with what it says, wherever walks come from, so
// one pass in memory order settles the whole tree, whatever way its links run.
void LmTrees::check_tree(tree_t& tree) {
  if (tree.checked) {
    return;
  }
  const std::span<const unsigned char> bytes = file_.bytes();
  common::ByteReader reader(bytes);
  std::uint32_t count = 0;
  if (!reader.seek(tree.position) || !reader.read_u32(count) ||
      !reader.fits(count, format::kNodeSize)) {
    damaged_tree();
  }
  const unsigned char* at = bytes.data() + reader.position();
  std::uint16_t min_probability = std::numeric_limits<std::uint16_t>::max();
  std::uint16_t max_back_off = 0;
  bool sound = true;
  for (std::uint32_t i = 0; i < std::min(count, kReachableNodes); ++i, at += format::kNodeSize) {
    const format::node_t node = format::read_node(at);
    if (node.is_header()) {
      sound &= node.link != 0 && node.link < count - i;
    } else {
      sound &= node.link <= count;
      if (node.is_entry()) {
        min_probability = std::min(min_probability, node.probability);
        max_back_off = std::max(max_back_off, node.back_off());
      }
    }
  }
  if (!sound) {
    damaged_tree();
  }
  tree.empty = count == 0;
  tree.min_probability = min_probability;
  tree.max_back_off = max_back_off;
  tree.checked = true;
  if (count > 0) {
    tree.root = root_index_.add(nodes(tree), bytes.size());
  }
}

std::uint32_t LmTrees::node_count(const tree_t& tree) const {
  return common::load_le<std::uint32_t>(nodes(tree) - format::kTreeCountSize);
}

// Finds the best code behind each record of the root group in one pass from the last node to the
// first, as a builder writes children behind their parents. A tree with other links, or whose
// groups lie over one another, is left to the bound of the whole tree.
void LmTrees::measure_tree(tree_t& tree) {
  tree.measured = true;
  if (tree.empty) {
    return;
  }
  const unsigned char* first = nodes(tree);
  const std::size_t count = std::min(node_count(tree), kReachableNodes);
  const format::node_t root = format::read_node(first);
  const std::size_t root_begin = root.is_header() ? 1 : 0;
  const std::size_t root_count = root.is_header() ? root.link : 1;
  if (deep_codes_.size() + root_count > file_.bytes().size() / format::kNodeSize) {
    return;
  }
  // For a header the best code of its group, for another node the best one behind it.
  std::vector<std::uint16_t>& codes = node_codes_;
  codes.assign(count, kNoCode);
  const auto code_with_own = [&](std::size_t at) {
    const format::node_t node = format::read_node(first + at * format::kNodeSize);
    return node.is_entry() ? std::min(codes[at], node.probability) : codes[at];
  };
  std::size_t steps = 0;
  for (std::size_t at = count; at-- > 0;) {
    const format::node_t node = format::read_node(first + at * format::kNodeSize);
    if (node.is_header()) {
      steps += node.link;
      if (steps > count) {
        return;
      }
      const std::size_t end = std::min<std::size_t>(at + 1 + node.link, count);
      for (std::size_t child = at + 1; child < end; ++child) {
        codes[at] = std::min(codes[at], code_with_own(child));
      }
    } else if (node.has_children()) {
      const std::size_t group = node.child_group();
      if (group <= at) {
        return;
      }
      const bool header = format::read_key(first + group * format::kNodeSize) == format::kGroupKey;
      codes[at] = header ? codes[group] : code_with_own(group);
    }
  }
  tree.deep = static_cast<std::uint32_t>(deep_codes_.size());
  tree.deep_count = static_cast<std::uint32_t>(root_count);
  const auto begin = codes.begin() + static_cast<std::ptrdiff_t>(root_begin);
  deep_codes_.insert(deep_codes_.end(), begin, begin + static_cast<std::ptrdiff_t>(root_count));
}

// Trees at the same position are one tree. They stand side by side.
void LmTrees::show_tree(std::size_t index) {
  tree_t& tree = trees_[index];
  if (tree.visible >= generation_ && tree.measured) {
    return;
  }
  check_tree(tree);
  if (!tree.measured) {
    measure_tree(tree);
  }
  tree.visible = std::max(tree.visible, generation_);
  for (std::size_t i = index; i > 0 && trees_[i - 1].position == tree.position; --i) {
    trees_[i - 1] = tree;
  }
  for (std::size_t i = index + 1; i < trees_.size() && trees_[i].position == tree.position; ++i) {
    trees_[i] = tree;
  }
}

void LmTrees::hide_trees() {
  if (++generation_ < kAlways) {
    return;
  }
  for (tree_t& tree : trees_) {
    if (tree.visible != kAlways) {
      tree.visible = 0;
    }
  }
  generation_ = 1;
}

void LmTrees::show(std::span<const int> words) {
  hide_trees();
  try {
    for (const int word : words) {
      if (!file_.known(word)) {
        continue;
      }
      const std::uint16_t tree = file_.head(word).tree;
      if (tree != format::kNoTree && tree < trees_.size()) {
        show_tree(tree);
      }
    }
  } catch (...) {
    hide_trees();
    throw;
  }
}

}  // namespace koralite::decoder
