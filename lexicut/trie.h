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
  static constexpr std::uint32_t kNoNode = 0xFFFFFFFF;
  static constexpr std::uint32_t kRoot = 0;

  // Opens a file of the kind that `magic` names; nothing when it is no such file.
  static std::optional<Trie> open(const koralite::common::FilePath& path, const char* magic);

  // The code of a character, 0 when no key holds it.
  std::uint32_t code_of(std::uint32_t character) const {
    const std::uint32_t block = character >> 8;
    if (block >= block_count_) {
      return 0;
    }
    const std::uint32_t page = load16(blocks_, block);
    if (page >= page_count_) {
      return 0;
    }
    return load16(pages_, page * 256 + (character & 255U));
  }

  // The node after `node` for a character code, or no_node.
  std::uint32_t step(std::uint32_t node, std::uint32_t code) const {
    if (code == 0) {
      return kNoNode;
    }
    const std::uint64_t next = std::uint64_t{load32(base_, node)} + code;
    if (next >= node_count_ || load32(check_, static_cast<std::uint32_t>(next)) != node) {
      return kNoNode;
    }
    return static_cast<std::uint32_t>(next);
  }

  // The value of a node, 0 when no key ends there.
  std::uint32_t value(std::uint32_t node) const { return load16(values_, node); }

  std::uint32_t parameter() const { return parameter_; }
  std::span<const unsigned char> extra() const { return extra_; }

 private:
  Trie() = default;

  static std::uint32_t load16(const unsigned char* array, std::uint32_t i) {
    return koralite::common::load_le<std::uint16_t>(array + 2 * std::size_t{i});
  }
  static std::uint32_t load32(const unsigned char* array, std::uint32_t i) {
    return koralite::common::load_le<std::uint32_t>(array + 4 * std::size_t{i});
  }

  koralite::common::MappedFile file_;
  const unsigned char* blocks_ = nullptr;
  const unsigned char* pages_ = nullptr;
  const unsigned char* base_ = nullptr;
  const unsigned char* check_ = nullptr;
  const unsigned char* values_ = nullptr;
  std::uint32_t block_count_ = 0;
  std::uint32_t page_count_ = 0;
  std::uint32_t node_count_ = 0;
  std::uint32_t parameter_ = 0;
  std::span<const unsigned char> extra_;
};

}  // namespace lexicut
