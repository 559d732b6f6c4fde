#include "decoder/compact_lm_model.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "common/byte_reader.h"

namespace koralite::decoder {
namespace {

constexpr std::uint16_t kNoTree = 65535;
constexpr std::uint16_t kGroupKey = 65535;
constexpr std::uint16_t kEntryFlag = 0x8000;
constexpr std::uint16_t kBackOffMask = 0x7FFF;
constexpr std::size_t kHeadSize = 6;
constexpr std::size_t kNodeSize = 8;
constexpr std::size_t kRootStep = 8;  // records of a cache line
constexpr std::size_t kLineKeys = 32;
constexpr std::uint16_t kMinRootChildren = 64;
constexpr std::uint32_t kReachableNodes = 2 * 65535;  // a last group start, and its children
constexpr std::int64_t kTreeOverhead = 20;            // counts against the budget beside the nodes
constexpr std::size_t kMaxLooks = 256;                // records that max_behind looks at
constexpr std::uint32_t kAlways = 0xFFFFFFFF;

[[noreturn]] void damaged_file() {
  throw std::runtime_error("damaged file in PackedLM");
}

// A node, loaded in one piece: key, link, probability code, flag and back-off code.
struct node_t {
  std::uint64_t bits;

  explicit node_t(const unsigned char* at) : bits(common::load_le<std::uint64_t>(at)) {}
  std::uint16_t key() const { return static_cast<std::uint16_t>(bits); }
  std::uint16_t link() const { return static_cast<std::uint16_t>(bits >> 16); }
  std::uint16_t probability() const { return static_cast<std::uint16_t>(bits >> 32); }
  std::uint16_t flag_and_back_off() const { return static_cast<std::uint16_t>(bits >> 48); }
};

// The record `word` among `count` (at least 1) in key order, or null.
const unsigned char* find_record(const unsigned char* base, std::size_t count, int word) {
  while (count > 1) {
    const std::size_t half = count / 2;
    const unsigned char* middle = base + half * kNodeSize;
    base = common::load_le<std::uint16_t>(middle) <= word ? middle : base;
    count -= half;
  }
  return common::load_le<std::uint16_t>(base) == word ? base : nullptr;
}

// The child `word` of the group that starts at `group`, or null. The tree was checked.
const unsigned char* find_child(const unsigned char* group, int word) {
  const node_t first(group);
  if (first.key() != kGroupKey) {
    return first.key() == word ? group : nullptr;
  }
  return find_record(group + kNodeSize, first.link(), word);
}

}  // namespace

lm_group_t::lm_group_t(const unsigned char* group) : records(group), count(1) {
  const node_t first(group);
  if (first.key() == kGroupKey) {
    records += kNodeSize;
    count = first.link();
  }
}

CompactLmModel::CompactLmModel(const common::FilePath& path, int order, std::int64_t budget)
    : LangModel(order) {
  file_ = common::MappedFile::need(path, "failed to open file in PackedLM");
  bytes_ = file_.data();

  common::ByteReader reader(bytes_);
  std::uint16_t heads = 0;
  if (!reader.read_u16(heads)) {
    damaged_file();
  }
  if (heads == 0) {
    throw std::runtime_error("Invalidate head size in language model");
  }
  head_count_ = heads;
  std::int32_t positions = 0;
  if (!reader.skip(head_count_ * kHeadSize) || !reader.read_f32(back_off_offset_) ||
      !reader.read_i32(positions) || positions < 0 ||
      !reader.fits(static_cast<std::uint64_t>(positions), 4)) {
    damaged_file();
  }
  trees_.resize(static_cast<std::size_t>(std::max(positions - 1, 0)));
  std::uint32_t last = 0;
  for (std::int32_t i = 0; i < positions; ++i) {
    std::uint32_t position = 0;
    reader.read_u32(position);
    if (position < last || position > bytes_.size()) {
      damaged_file();
    }
    last = position;
    if (static_cast<std::size_t>(i) < trees_.size()) {
      trees_[static_cast<std::size_t>(i)].position = position;
    }
  }
  make_resident(budget);
}

CompactLmModel::~CompactLmModel() = default;

void CompactLmModel::make_resident(std::int64_t budget) {
  std::int64_t used = 0;
  for (tree_state_t& tree : trees_) {
    common::ByteReader reader(bytes_);
    std::uint32_t count = 0;
    if (!reader.read_at(tree.position, count)) {
      damaged_file();
    }
    const std::int64_t size = std::int64_t{count} * static_cast<std::int64_t>(kNodeSize);
    if (size > static_cast<std::int64_t>(bytes_.size())) {
      damaged_file();
    }
    used += size + kTreeOverhead;
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
void CompactLmModel::check_tree(tree_state_t& tree) {
  if (tree.checked) {
    return;
  }
  common::ByteReader reader(bytes_);
  std::uint32_t count = 0;
  if (!reader.seek(tree.position) || !reader.read_u32(count) || !reader.fits(count, kNodeSize)) {
    throw std::runtime_error("damaged tree in PackedLM");
  }
  const unsigned char* at = bytes_.data() + reader.position();
  std::uint16_t min_probability = std::numeric_limits<std::uint16_t>::max();
  std::uint16_t max_back_off = 0;
  bool sound = true;
  for (std::uint32_t i = 0; i < std::min(count, kReachableNodes); ++i, at += kNodeSize) {
    const node_t node(at);
    if (node.key() == kGroupKey) {
      sound &= node.link() != 0 && node.link() < count - i;
    } else {
      sound &= node.link() <= count;
      if ((node.flag_and_back_off() & kEntryFlag) != 0) {
        min_probability = std::min(min_probability, node.probability());
        max_back_off =
            std::max<std::uint16_t>(max_back_off, node.flag_and_back_off() & kBackOffMask);
      }
    }
  }
  if (!sound) {
    throw std::runtime_error("damaged tree in PackedLM");
  }
  tree.empty = count == 0;
  tree.min_probability = min_probability;
  tree.max_back_off = max_back_off;
  tree.checked = true;
  if (count > 0) {
    add_root_keys(tree);
  }
}

void CompactLmModel::add_root_keys(tree_state_t& tree) {
  const node_t root(nodes(tree));
  if (root.key() != kGroupKey || root.link() < kMinRootChildren) {
    return;
  }
  // Trees that lie over one another could ask for more than the file justifies; others never do.
  const std::size_t lines = ((root.link() - 1U) / kRootStep + kLineKeys - 1) / kLineKeys;
  if (root_keys_.size() + lines > bytes_.size() / 8 / sizeof(key_line_t)) {
    return;
  }
  tree.root_children = root.link();
  tree.root_keys = static_cast<std::uint32_t>(root_keys_.size());
  std::size_t slot = kLineKeys;
  for (std::size_t i = kRootStep; i < tree.root_children; i += kRootStep, ++slot) {
    if (slot == kLineKeys) {
      root_keys_.emplace_back().keys.fill(std::numeric_limits<std::uint16_t>::max());
      slot = 0;
    }
    root_keys_.back().keys[slot] = node_t(nodes(tree) + (1 + i) * kNodeSize).key();
  }
}

// Finds the best code behind each record of the root group in one pass from the last node to the
// first, as a builder writes children behind their parents. A tree with other links, or whose
// groups lie over one another, is left to the bound of the whole tree.
void CompactLmModel::measure_tree(tree_state_t& tree) {
  tree.measured = true;
  if (tree.empty) {
    return;
  }
  const unsigned char* first = nodes(tree);
  const std::size_t count = std::min(common::load_le<std::uint32_t>(first - 4), kReachableNodes);
  const node_t root(first);
  const std::size_t root_begin = root.key() == kGroupKey ? 1 : 0;
  const std::size_t root_count = root_begin == 1 ? root.link() : 1;
  if (deep_codes_.size() + root_count > bytes_.size() / kNodeSize) {
    return;
  }
  // For a header the best code of its group, for another node the best one behind it.
  std::vector<std::uint16_t>& codes = node_codes_;
  codes.assign(count, kNoCode);
  const auto code_with_own = [&](std::size_t at) {
    const node_t node(first + at * kNodeSize);
    const bool entry = (node.flag_and_back_off() & kEntryFlag) != 0;
    return entry ? std::min(codes[at], node.probability()) : codes[at];
  };
  std::size_t steps = 0;
  for (std::size_t at = count; at-- > 0;) {
    const node_t node(first + at * kNodeSize);
    if (node.key() == kGroupKey) {
      steps += node.link();
      if (steps > count) {
        return;
      }
      const std::size_t end = std::min<std::size_t>(at + 1 + node.link(), count);
      for (std::size_t child = at + 1; child < end; ++child) {
        codes[at] = std::min(codes[at], code_with_own(child));
      }
    } else if (node.link() > 1) {
      const std::size_t group = node.link() - 1U;
      if (group <= at) {
        return;
      }
      const bool header = common::load_le<std::uint16_t>(first + group * kNodeSize) == kGroupKey;
      codes[at] = header ? codes[group] : code_with_own(group);
    }
  }
  tree.deep = static_cast<std::uint32_t>(deep_codes_.size());
  tree.deep_count = static_cast<std::uint32_t>(root_count);
  const auto begin = codes.begin() + static_cast<std::ptrdiff_t>(root_begin);
  deep_codes_.insert(deep_codes_.end(), begin, begin + static_cast<std::ptrdiff_t>(root_count));
}

// Trees at the same position are one tree. They stand side by side.
template <typename Change>
void CompactLmModel::change_tree(std::size_t index, Change&& change) {
  tree_state_t& tree = trees_[index];
  change(tree);
  for (std::size_t i = index; i > 0 && trees_[i - 1].position == tree.position; --i) {
    trees_[i - 1] = tree;
  }
  for (std::size_t i = index + 1; i < trees_.size() && trees_[i].position == tree.position; ++i) {
    trees_[i] = tree;
  }
}

void CompactLmModel::show_tree(std::size_t index) {
  const tree_state_t& tree = trees_[index];
  if (tree.visible < generation_ || !tree.measured) {
    change_tree(index, [this](tree_state_t& state) {
      check_tree(state);
      if (!state.measured) {
        measure_tree(state);
      }
      state.visible = std::max(state.visible, generation_);
    });
  }
}

void CompactLmModel::hide_trees() {
  if (++generation_ < kAlways) {
    return;
  }
  for (tree_state_t& tree : trees_) {
    if (tree.visible != kAlways) {
      tree.visible = 0;
    }
  }
  generation_ = 1;
}

void CompactLmModel::add_to_cache(const std::set<int>& words) {
  const std::vector<int> list(words.begin(), words.end());
  add_to_cache(std::span<const int>(list));
}

void CompactLmModel::add_to_cache(std::span<const int> words) {
  hide_trees();
  try {
    for (const int word : words) {
      const unsigned char* entry = head(word);
      if (entry == nullptr) {
        continue;
      }
      const auto tree = common::load_le<std::uint16_t>(entry);
      if (tree != kNoTree && tree < trees_.size()) {
        show_tree(tree);
      }
    }
  } catch (...) {
    hide_trees();
    throw;
  }
}

const unsigned char* CompactLmModel::head(int word) const {
  if (!known(word)) {
    return nullptr;
  }
  return bytes_.data() + 2 + static_cast<std::size_t>(word) * kHeadSize;
}

const CompactLmModel::tree_state_t* CompactLmModel::visible_tree(
    const unsigned char* head_entry) const {
  const auto index = common::load_le<std::uint16_t>(head_entry);
  if (index == kNoTree || index >= trees_.size()) {
    return nullptr;
  }
  const tree_state_t& tree = trees_[index];
  return tree.visible >= generation_ && !tree.empty ? &tree : nullptr;
}

// The keys of a line that are not above the word.
std::size_t CompactLmModel::keys_to(const key_line_t& line, int word) {
  std::uint16_t count = 0;
  for (const std::uint16_t key : line.keys) {
    count = static_cast<std::uint16_t>(count + (key <= word ? 1 : 0));
  }
  return count;
}

CompactLmModel::RootSearch CompactLmModel::root_search(int word) const {
  RootSearch search;
  const unsigned char* entry = head(word);
  const tree_state_t* tree = entry == nullptr ? nullptr : visible_tree(entry);
  if (tree != nullptr && tree->root_children > 0) {
    search.records_ = nodes(*tree) + kNodeSize;
    search.lines_ = root_keys_.data() + tree->root_keys;
    search.children_ = tree->root_children;
    search.line_count_ = (search.children_ - 1) / kRootStep;
    search.line_count_ = (search.line_count_ + kLineKeys - 1) / kLineKeys;
  }
  return search;
}

const unsigned char* CompactLmModel::RootSearch::find(int word, std::size_t& place) {
  while (line_ + 1 < line_count_ && lines_[line_ + 1].keys[0] <= word) {
    ++line_;
  }
  const std::size_t begin = (line_ * kLineKeys + keys_to(lines_[line_], word)) * kRootStep;
  const unsigned char* found = find_record(
      records_ + begin * kNodeSize, std::min<std::size_t>(kRootStep, children_ - begin), word);
  if (found != nullptr) {
    place = static_cast<std::size_t>(found - records_) / kNodeSize;
  }
  return found;
}

// Level 1, and where to go on from there. Touches no tree, but fetches what `walk` needs first:
// walks that are begun together wait for memory together.
CompactLmModel::start_t CompactLmModel::begin_walk(std::span<const int> ids,
                                                   lm_levels_t& levels) const {
  levels.count = 0;
  levels.longest = 0;
  const unsigned char* entry = ids.empty() ? nullptr : head(ids.back());
  if (entry == nullptr) {
    return {};
  }
  levels.level[0] = {common::load_le<std::uint16_t>(entry + 2),
                     common::load_le<std::uint16_t>(entry + 4), true};
  levels.count = 1;
  levels.longest = 1;
  if (ids.size() == 1) {
    return {};
  }
  const tree_state_t* tree = visible_tree(entry);
  const int word = ids[ids.size() - 2];
  if (tree == nullptr || !known(word)) {
    return {};
  }
  start_t start{nodes(*tree), nodes(*tree), 0};
  if (tree->root_children > 0) {
    // The block of records that begins with the last key not above the word: all lines before the
    // one that holds it are full.
    const std::size_t blocks = (tree->root_children - 1U) / kRootStep;
    const key_line_t* line = root_keys_.data() + tree->root_keys;
    std::size_t lines = (blocks + kLineKeys - 1) / kLineKeys;
    const key_line_t* const first = line;
    while (lines > 1) {
      const std::size_t half = lines / 2;
      line = line[half].keys[0] <= word ? line + half : line;
      lines -= half;
    }
    const std::size_t begin =
        (static_cast<std::size_t>(line - first) * kLineKeys + keys_to(*line, word)) * kRootStep;
    start.records += (1 + begin) * kNodeSize;
    start.count = std::min<std::size_t>(kRootStep, tree->root_children - begin);
  }
  __builtin_prefetch(start.records);
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
                start.count > 0 ? find_record(start.records, start.count, word)
                                : find_child(start.records, word),
                ids, levels);
}

// Adds the level of `child`, if there is one, and those behind it.
lm_path_t CompactLmModel::follow(const unsigned char* nodes, const unsigned char* child,
                                 std::span<const int> ids, lm_levels_t& levels) const {
  const std::size_t limit = std::min(ids.size(), levels.level.size());
  for (auto k = static_cast<std::size_t>(levels.count); child != nullptr;) {
    const lm_step_t step = read_step(child);
    levels.level[k] = step.level;
    levels.count = static_cast<int>(++k);
    if (step.level.entry) {
      levels.longest = levels.count;
    }
    const lm_path_t path = path_after(nodes, step);
    if (k == limit || path.group == nullptr) {
      return path;
    }
    const int word = ids[ids.size() - 1 - k];
    if (!known(word)) {
      break;
    }
    child = find_child(path.group, word);
  }
  return {};
}

lm_step_t CompactLmModel::read_step(const unsigned char* record) {
  const node_t node(record);
  return {{node.probability(), static_cast<std::uint16_t>(node.flag_and_back_off() & kBackOffMask),
           (node.flag_and_back_off() & kEntryFlag) != 0},
          node.link()};
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
  if (known(word)) {
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
  const unsigned char* entry = head(word);
  if (entry == nullptr) {
    return LM_UNK_PROB;
  }
  auto code = common::load_le<std::uint16_t>(entry + 2);
  if (const tree_state_t* tree = visible_tree(entry)) {
    code = std::min(code, tree->min_probability);
  }
  return probability(code);
}

std::span<const std::uint16_t> CompactLmModel::deep_codes(int word) const {
  const unsigned char* entry = head(word);
  const tree_state_t* tree = entry == nullptr ? nullptr : visible_tree(entry);
  if (tree == nullptr) {
    return {};
  }
  return std::span<const std::uint16_t>(deep_codes_).subspan(tree->deep, tree->deep_count);
}

bool CompactLmModel::find_best_behind(const unsigned char* nodes, const lm_step_t& step, int depth,
                                      std::size_t& budget, std::uint16_t& best) {
  const lm_path_t path = path_after(nodes, step);
  if (path.group == nullptr || depth == 0) {
    return true;
  }
  const lm_group_t group(path.group);
  if (group.count > budget) {
    return false;
  }
  budget -= group.count;
  for (std::size_t at = 0; at < group.count; ++at) {
    const lm_step_t child = read_step(group.record(at));
    if (child.level.entry) {
      best = std::min(best, child.level.probability);
    }
    if (!find_best_behind(nodes, child, depth - 1, budget, best)) {
      return false;
    }
  }
  return true;
}

float CompactLmModel::max_behind(const unsigned char* nodes, const lm_step_t& step,
                                 int last) const {
  std::size_t budget = kMaxLooks;
  std::uint16_t best = kNoCode;
  return find_best_behind(nodes, step, kMaxOrder, budget, best) ? probability_or_none(best)
                                                                : max_probability(last);
}

float CompactLmModel::max_back_off(int word) const {
  const unsigned char* entry = head(word);
  if (entry == nullptr) {
    return LM_UNK_BOW;
  }
  auto code = common::load_le<std::uint16_t>(entry + 4);
  if (const tree_state_t* tree = visible_tree(entry)) {
    code = std::max(code, tree->max_back_off);
  }
  return std::max(back_off(code), LM_UNK_BOW);
}

bool CompactLmModel::GetHeadValue(int word, float& probability_out, float& back_off_out) const {
  const unsigned char* entry = head(word);
  if (entry == nullptr) {
    return false;
  }
  probability_out = probability(common::load_le<std::uint16_t>(entry + 2));
  back_off_out = back_off(common::load_le<std::uint16_t>(entry + 4));
  return true;
}

std::int64_t CompactLmModel::GetFilePos(int word) const {
  const unsigned char* entry = head(word);
  if (entry == nullptr) {
    return -1;
  }
  const auto index = common::load_le<std::uint16_t>(entry);
  return index == kNoTree || index >= trees_.size() ? -1 : std::int64_t{trees_[index].position};
}

CompactLmModel::tree_t CompactLmModel::GetTree(int word) const {
  const unsigned char* entry = head(word);
  const tree_state_t* tree = entry == nullptr ? nullptr : visible_tree(entry);
  if (tree == nullptr) {
    return {};
  }
  return {nodes(*tree), common::load_le<std::uint32_t>(nodes(*tree) - 4)};
}

}  // namespace koralite::decoder
