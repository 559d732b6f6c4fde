// A double-array trie read where it lies in a mapped file: the word list, the
// surnames and the ambiguous strings of the segmenter are all of this kind.
//
// Owns the mapped file. Opening checks that every section fits the file; each
// step of a walk checks its own index, so damaged contents can only make
// lookups miss. Read-only after opening, safe from any number of threads.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "common/byte_reader.h"
#include "common/mapped_file.h"

namespace lexicut {

class Trie {
 public:
  static constexpr std::uint32_t no_node = 0xFFFFFFFF;
  static constexpr std::uint32_t root = 0;

  // Opens a file of the kind that `magic` names; nothing when it is no such file.
  static std::optional<Trie> open(const koralite::common::FilePath& path, const char* magic);

  // The code of a character, 0 when no key holds it.
  std::uint32_t code_of(std::uint32_t character) const {
    const std::uint32_t block = character >> 8;
    if (block >= m_block_count) return 0;
    const std::uint32_t page = load16(m_blocks, block);
    if (page >= m_page_count) return 0;
    return load16(m_pages, page * 256 + (character & 255U));
  }

  // The node behind `node` for a character code, or no_node.
  std::uint32_t step(std::uint32_t node, std::uint32_t code) const {
    if (code == 0) return no_node;
    const std::uint64_t next = std::uint64_t{load32(m_base, node)} + code;
    if (next >= m_node_count || load32(m_check, static_cast<std::uint32_t>(next)) != node) {
      return no_node;
    }
    return static_cast<std::uint32_t>(next);
  }

  // The value of a node, 0 when no key ends there.
  std::uint32_t value(std::uint32_t node) const { return load16(m_values, node); }

  std::uint32_t parameter() const { return m_parameter; }
  std::span<const unsigned char> extra() const { return m_extra; }

 private:
  Trie() = default;

  static std::uint32_t load16(const unsigned char* array, std::uint32_t i) {
    return koralite::common::load_le<std::uint16_t>(array + 2 * std::size_t{i});
  }
  static std::uint32_t load32(const unsigned char* array, std::uint32_t i) {
    return koralite::common::load_le<std::uint32_t>(array + 4 * std::size_t{i});
  }

  koralite::common::MappedFile m_file;
  const unsigned char* m_blocks = nullptr;
  const unsigned char* m_pages = nullptr;
  const unsigned char* m_base = nullptr;
  const unsigned char* m_check = nullptr;
  const unsigned char* m_values = nullptr;
  std::uint32_t m_block_count = 0;
  std::uint32_t m_page_count = 0;
  std::uint32_t m_node_count = 0;
  std::uint32_t m_parameter = 0;
  std::span<const unsigned char> m_extra;
};

}  // namespace lexicut
