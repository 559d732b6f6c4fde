#include "lexicut/trie.h"

#include <cstring>
#include <utility>

#include "lexicut/trie_format.h"

namespace lexicut {

namespace format = lexicut_format;

std::optional<Trie> Trie::open(const koralite::common::FilePath& path, const char* magic) {
  auto file = koralite::common::MappedFile::open(path);
  if (!file) return std::nullopt;

  Trie trie;
  trie.m_file = std::move(*file);
  koralite::common::ByteReader reader(trie.m_file.data());
  std::span<const unsigned char> head;
  std::uint32_t extra_size = 0;
  if (!reader.read_bytes(format::magic_size, head) ||
      std::memcmp(head.data(), magic, format::magic_size) != 0 ||
      !reader.read_u32(trie.m_page_count) || !reader.read_u32(trie.m_node_count) ||
      !reader.read_u32(extra_size) || !reader.read_u32(trie.m_parameter)) {
    return std::nullopt;
  }
  // The root is always there, so that a walk can start without asking.
  if (trie.m_node_count == 0) return std::nullopt;

  const auto take = [&](std::uint64_t count, std::uint64_t width, const unsigned char*& array) {
    std::span<const unsigned char> view;
    if (!reader.fits(count, width) || !reader.read_bytes(count * width, view)) return false;
    array = view.data();
    return true;
  };
  trie.m_block_count = static_cast<std::uint32_t>(format::block_count);
  const bool whole =
      take(format::block_count, 2, trie.m_blocks) &&
      take(std::uint64_t{trie.m_page_count} * format::codes_per_page, 2, trie.m_pages) &&
      take(trie.m_node_count, 4, trie.m_base) && take(trie.m_node_count, 4, trie.m_check) &&
      take(trie.m_node_count, 2, trie.m_values) && reader.read_bytes(extra_size, trie.m_extra);
  if (!whole) return std::nullopt;
  return trie;
}

}  // namespace lexicut
