#include "lexicut/trie.h"

#include <cstring>
#include <utility>

#include "lexicut/trie_format.h"

namespace lexicut {

namespace format = lexicut_format;

std::optional<Trie> Trie::open(const koralite::common::FilePath& path, const char* magic) {
  auto file = koralite::common::MappedFile::open(path);
  if (!file) {
    return std::nullopt;
  }

  Trie trie;
  trie.file_ = std::move(*file);
  koralite::common::ByteReader reader(trie.file_.data());
  std::span<const unsigned char> head;
  std::uint32_t extra_size = 0;
  if (!reader.read_bytes(format::kMagicSize, head) ||
      std::memcmp(head.data(), magic, format::kMagicSize) != 0 ||
      !reader.read_u32(trie.page_count_) || !reader.read_u32(trie.node_count_) ||
      !reader.read_u32(extra_size) || !reader.read_u32(trie.parameter_)) {
    return std::nullopt;
  }
  // The root is always there, so that a walk can start without asking.
  if (trie.node_count_ == 0) {
    return std::nullopt;
  }

  const auto take = [&](std::uint64_t count, std::uint64_t width, const unsigned char*& array) {
    std::span<const unsigned char> view;
    if (!reader.fits(count, width) || !reader.read_bytes(count * width, view)) {
      return false;
    }
    array = view.data();
    return true;
  };
  trie.block_count_ = static_cast<std::uint32_t>(format::kBlockCount);
  const bool whole =
      take(format::kBlockCount, 2, trie.blocks_) &&
      take(std::uint64_t{trie.page_count_} * format::kCodesPerPage, 2, trie.pages_) &&
      take(trie.node_count_, 4, trie.base_) && take(trie.node_count_, 4, trie.check_) &&
      take(trie.node_count_, 2, trie.values_) && reader.read_bytes(extra_size, trie.extra_);
  if (!whole) {
    return std::nullopt;
  }
  return trie;
}

}  // namespace lexicut
