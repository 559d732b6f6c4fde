#include "decoder/bigram_table.h"

#include <algorithm>

#include "common/byte_reader.h"

namespace koralite::decoder {

namespace {

constexpr std::uint16_t kGroupKey = 65535;
constexpr std::size_t kNodeSize = 8;

// The children of a tree's root as an array of nodes.
struct group_t {
  const unsigned char* nodes = nullptr;
  std::size_t count = 0;

  const unsigned char* record(std::size_t at) const { return nodes + at * kNodeSize; }
  std::int32_t key(std::size_t at) const { return common::load_le<std::uint16_t>(record(at)); }
};

group_t root_group(const CompactLmModel::tree_t& tree) {
  if (tree.nodes == nullptr || tree.count == 0) {
    return {};
  }
  if (common::load_le<std::uint16_t>(tree.nodes) != kGroupKey) {
    return {tree.nodes, 1};
  }
  return {tree.nodes + kNodeSize, common::load_le<std::uint16_t>(tree.nodes + 2)};
}

// Calls `found(place in words, record)` for each of the ascending `words` that is a key.
template <typename Found>
void intersect(const group_t& group, std::span<const std::int32_t> words, Found&& found) {
  std::size_t low = 0;
  for (std::size_t k = 0; k < words.size() && low < group.count; ++k) {
    // Widening steps, then halving ones: cheap for dense and for thin lists.
    std::size_t step = 1;
    while (low + step < group.count && group.key(low + step) < words[k]) {
      step *= 2;
    }
    std::size_t high = std::min(low + step + 1, group.count);
    low += step / 2;
    while (low < high) {
      const std::size_t middle = (low + high) / 2;
      if (group.key(middle) < words[k]) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low < group.count && group.key(low) == words[k]) {
      found(k, group.record(low));
    }
  }
}

}  // namespace

void BigramTable::build(const CompactLmModel& lang_model, std::span<const std::int32_t> before,
                        std::span<const std::int32_t> first) {
  row_words_ = (before.size() + 63) / 64;
  steps_.clear();
  if (first.size() * row_words_ * 64 > kMaxBits) {
    row_words_ = 0;
    return;
  }
  rows_.assign(first.size() * row_words_, {});
  // Ids that the model cannot hold match nothing, whatever the trees say.
  const auto head_count = static_cast<std::int32_t>(lang_model.head_count());
  const auto usable_begin = std::lower_bound(before.begin(), before.end(), 0);
  const auto usable_end = std::lower_bound(usable_begin, before.end(), head_count);
  const auto offset = static_cast<std::size_t>(usable_begin - before.begin());
  for (std::size_t word = 0; word < first.size(); ++word) {
    intersect(root_group(lang_model.GetTree(first[word])), {usable_begin, usable_end},
              [&](std::size_t found, const unsigned char* record) {
                const std::size_t place = offset + found;
                rows_[word * row_words_ + place / 64].bits |= std::uint64_t{1} << (place % 64);
                steps_.push_back(CompactLmModel::read_step(record));
              });
    if (steps_.size() > kMaxPairs) {
      row_words_ = 0;
      return;
    }
  }
  std::size_t rank = 0;
  for (row_t& row : rows_) {
    row.rank = rank;
    rank += static_cast<std::size_t>(std::popcount(row.bits));
  }
}

}  // namespace koralite::decoder
