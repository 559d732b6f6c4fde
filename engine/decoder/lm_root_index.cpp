#include "decoder/lm_root_index.h"

#include <limits>

namespace koralite::decoder {

namespace format = lang_model_format;

namespace {

constexpr std::uint16_t kMinChildren = 64;

}  // namespace

LmRootIndex::lines_t LmRootIndex::add(const unsigned char* nodes, std::size_t file_size) {
  const format::node_t root = format::read_node(nodes);
  if (!root.is_header() || root.link < kMinChildren) {
    return {};
  }
  if (lines_.size() + line_count(root.link) > file_size / 8 / sizeof(key_line_t)) {
    return {};
  }
  const lines_t added{static_cast<std::uint32_t>(lines_.size()), root.link};
  std::size_t slot = kLineKeys;
  for (std::size_t i = kBlock; i < root.link; i += kBlock, ++slot) {
    if (slot == kLineKeys) {
      lines_.emplace_back().keys.fill(std::numeric_limits<std::uint16_t>::max());
      slot = 0;
    }
    lines_.back().keys[slot] = format::read_key(nodes + (1 + i) * format::kNodeSize);
  }
  return added;
}

LmRootIndex::Search LmRootIndex::search(const lines_t& lines, const unsigned char* nodes) const {
  Search search;
  if (lines.children > 0) {
    search.records_ = nodes + format::kNodeSize;
    search.lines_ = lines_.data() + lines.begin;
    search.children_ = lines.children;
    search.line_count_ = line_count(lines.children);
  }
  return search;
}

const unsigned char* LmRootIndex::Search::find(int word, std::size_t& index) {
  while (line_ + 1 < line_count_ && lines_[line_ + 1].keys[0] <= word) {
    ++line_;
  }
  const std::size_t begin = (line_ * kLineKeys + keys_to(lines_[line_], word)) * kBlock;
  const unsigned char* found = find_record(records_ + begin * format::kNodeSize,
                                           std::min<std::size_t>(kBlock, children_ - begin), word);
  if (found != nullptr) {
    index = static_cast<std::size_t>(found - records_) / format::kNodeSize;
  }
  return found;
}

}  // namespace koralite::decoder
