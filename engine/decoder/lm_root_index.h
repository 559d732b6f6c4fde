// Keys of the large root groups of language model trees, every eighth one, side by side in cache
// lines: about a quarter byte per n-gram of two words. The first step of a walk, which is the
// widest, then stays within two or three cache lines.
//
// `add` writes; all else is read-only.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decoder/lm_walk.h"

namespace koralite::decoder {

class LmRootIndex {
  static constexpr std::size_t kBlock = 8;  // records of a cache line
  static constexpr std::size_t kLineKeys = 32;

  // The keys that begin blocks, the first block left out.
  struct alignas(64) key_line_t {
    std::array<std::uint16_t, kLineKeys> keys;
  };

 public:
  // The lines of one root group.
  struct lines_t {
    std::uint32_t begin = 0;
    std::uint16_t children = 0;  // 0: not indexed, search the group itself
  };

  // Records of a group, among which a word is if it is in the group at all.
  struct block_t {
    const unsigned char* records = nullptr;
    std::size_t count = 0;
  };

  // Looks for ascending words.
  class Search {
   public:
    bool usable() const { return children_ != 0; }
    // The record of `word` and its index in the group; null for none.
    const unsigned char* find(int word, std::size_t& index);

   private:
    friend class LmRootIndex;
    const unsigned char* records_ = nullptr;
    const key_line_t* lines_ = nullptr;
    std::size_t line_count_ = 0;
    std::size_t line_ = 0;
    std::size_t children_ = 0;
  };

  // Indexes the root group of the checked, not empty tree `nodes`, unless it is small. All lines
  // together stay within an eighth of `file_size`: trees that lie over one another could ask for
  // more, others never do.
  lines_t add(const unsigned char* nodes, std::size_t file_size);

  // Of an indexed group.
  block_t find_block(const lines_t& lines, const unsigned char* nodes, int word) const {
    // All lines before the one that holds the last key not above the word are full.
    const key_line_t* line = lines_.data() + lines.begin;
    std::size_t count = line_count(lines.children);
    const key_line_t* const first = line;
    while (count > 1) {
      const std::size_t half = count / 2;
      line = line[half].keys[0] <= word ? line + half : line;
      count -= half;
    }
    const std::size_t begin =
        (static_cast<std::size_t>(line - first) * kLineKeys + keys_to(*line, word)) * kBlock;
    return {nodes + (1 + begin) * lang_model_format::kNodeSize,
            std::min<std::size_t>(kBlock, lines.children - begin)};
  }

  Search search(const lines_t& lines, const unsigned char* nodes) const;

 private:
  static std::size_t line_count(std::size_t children) {
    return ((children - 1) / kBlock + kLineKeys - 1) / kLineKeys;
  }
  // The keys of a line that are not above the word.
  static std::size_t keys_to(const key_line_t& line, int word) {
    std::uint16_t count = 0;
    for (const std::uint16_t key : line.keys) {
      count = static_cast<std::uint16_t>(count + (key <= word ? 1 : 0));
    }
    return count;
  }

  std::vector<key_line_t> lines_;
};

}  // namespace koralite::decoder
