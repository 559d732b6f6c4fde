#include "decoder/compact_trans_model.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "common/byte_reader.h"
#include "common/causes.h"

namespace koralite::decoder {

namespace format = phrase_table_format;

namespace {

[[noreturn]] void not_supported() {
  throw std::runtime_error("This interface should not be called");
}

}  // namespace

CompactTransModel::CompactTransModel(const common::FilePath& path)
    : head_file_(common::MappedFile::need(path, "failed to open file in CompactTransModel")) {
  common::ByteReader reader(head_file_.data());
  if (!reader.read_u64(head_count_) || !reader.fits(head_count_, format::kHeadSize) ||
      !reader.read_bytes(head_count_ * format::kHeadSize, heads_) ||
      !reader.read_u64(trailing_count_)) {
    common::throw_caused("failed to read file in CompactTransModel", path.text());
  }
  node_file_ = common::MappedFile::need(path.with_suffix(format::kNodesSuffix),
                                        "failed to open nodes file in CompactTransModel");
  data_file_ = common::MappedFile::need(path.with_suffix(format::kDataSuffix),
                                        "failed to open data file in CompactTransModel");
  node_count_ = node_file_.size() / format::kRecordSize;
}

CompactTransModel::~CompactTransModel() = default;

bool CompactTransModel::search(std::span<const int> /*ids*/, TargetData& /*target*/) const {
  not_supported();
}

bool CompactTransModel::search_all(std::span<const int> /*ids*/,
                                   std::vector<TargetData>& /*targets*/) const {
  not_supported();
}

int CompactTransModel::TrieFind(std::span<const int> /*words*/) const {
  not_supported();
}

int CompactTransModel::TrieSearch(std::span<const int> /*words*/) const {
  not_supported();
}

void CompactTransModel::search_sentence(std::span<const int> ids, target_table_t& table) const {
  if (table.size() < ids.size()) {
    table.resize(ids.size());
  }
  common::ByteReader data(data_file_.data());
  std::array<std::uint32_t, kMaxPhrase> offsets{};
  std::array<bool, kMaxPhrase> has_data{};
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto found = static_cast<std::size_t>(TrieSearchAll(ids.subspan(i), offsets, has_data));
    for (std::size_t k = 0; k < kMaxPhrase; ++k) {
      TargetData& cell = table[i][k];
      if (k < found && has_data[k]) {
        // A place outside the file is the same damage as a block that runs past its end.
        if (!data.seek(offsets[k])) {
          data.seek(data.size());
        }
        cell.load(data);
      } else {
        cell.clear();
      }
    }
  }
}

int CompactTransModel::TrieSearchAll(std::span<const int> words,
                                     std::span<std::uint32_t, kMaxPhrase> offsets,
                                     std::span<bool, kMaxPhrase> has_data) const {
  const std::size_t count = std::min(words.size(), kMaxPhrase);
  if (count == 0 || words[0] < 0 || static_cast<std::uint64_t>(words[0]) >= head_count_) {
    return 0;
  }
  const format::head_t head =
      format::read_head(heads_.data() + static_cast<std::size_t>(words[0]) * format::kHeadSize);
  offsets[0] = head.offset;
  has_data[0] = head.offset != format::kNone;
  if (head.first_group == format::kNone) {
    return 1;
  }
  std::uint64_t group = head.first_group;
  for (std::size_t level = 1; level < count; ++level) {
    std::uint32_t found = 0;
    if (!TrieFindKey(group, words[level], found)) {
      return static_cast<int>(level);
    }
    const format::record_t node = record(group + found);
    if (node.link == 0) {
      throw std::runtime_error("damaged nodes file in CompactTransModel");
    }
    offsets[level] = node.offset;
    has_data[level] = node.has_block();
    if (!node.has_children()) {
      return static_cast<int>(level + 1);
    }
    group = std::uint64_t{head.first_group} + static_cast<std::uint64_t>(node.distance()) - 1;
  }
  return static_cast<int>(count);
}

bool CompactTransModel::TrieFindKey(std::uint64_t node, int word, std::uint32_t& found) const {
  const format::record_t first = record(node);
  const bool possible = word >= 0 && word <= format::kMaxInnerWord;
  if (!first.is_header()) {
    found = 0;
    return possible && first.key == word;
  }
  if (first.link < 1 || first.link > format::kMaxChildren ||
      static_cast<std::uint64_t>(first.link) > node_count_ - 1 - node) {
    throw std::runtime_error("damaged nodes file in CompactTransModel");
  }
  if (!possible) {
    return false;
  }
  const unsigned char* keys =
      node_file_.data().data() + static_cast<std::size_t>(node) * format::kRecordSize;
  std::int32_t low = 1;
  std::int32_t high = first.link;
  while (low <= high) {
    const std::int32_t middle = low + (high - low) / 2;
    const int key = format::read_key(keys + static_cast<std::size_t>(middle) * format::kRecordSize);
    if (key == word) {
      found = static_cast<std::uint32_t>(middle);
      return true;
    }
    if (key < word) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  return false;
}

format::record_t CompactTransModel::record(std::uint64_t index) const {
  if (index >= node_count_) {
    throw std::runtime_error("damaged nodes file in CompactTransModel");
  }
  return format::read_record(node_file_.data().data() +
                             static_cast<std::size_t>(index) * format::kRecordSize);
}

}  // namespace koralite::decoder
