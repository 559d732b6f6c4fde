// Layout of a packed language model (docs/format-language-model.md), for the reader here and the
// builder and checker in the toolkit: a head table with the one-word scores, the positions of the
// trees, and per word a tree of the longer n-grams that end in it. Constants, plain records and
// trivial helpers. All values here are embedded in model files; none may change.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/byte_reader.h"

namespace koralite::decoder::lang_model_format {

// The file: u16 H, H head entries, f32 back-off offset, i32 number of positions, u32 positions of
// which the last one is where the last tree ends.
inline constexpr std::size_t kHeadsAt = 2;
inline constexpr std::size_t kPositionSize = 4;

// Head entry of a word: u16 tree, u16 probability code, u16 back-off code.
inline constexpr std::size_t kHeadSize = 6;
inline constexpr std::uint16_t kNoTree = 65535;
inline constexpr std::uint16_t kUnknownCode = 10000;  // of a word without a one-word entry: -100
inline constexpr std::uint16_t kMaxHeadCode = 65535;

struct head_t {
  std::uint16_t tree = kNoTree;
  std::uint16_t probability = kUnknownCode;
  std::uint16_t back_off = 0;
};

inline head_t read_head(const unsigned char* at) {
  return {common::load_le<std::uint16_t>(at), common::load_le<std::uint16_t>(at + 2),
          common::load_le<std::uint16_t>(at + 4)};
}

// A tree: u32 K, K nodes. Node: u16 key, u16 link, u16 probability code, u16 flag and back-off.
inline constexpr std::size_t kTreeCountSize = 4;
inline constexpr std::size_t kNodeSize = 8;
inline constexpr std::size_t kNodeAlignment = 8;  // of a builder; a reader needs none
inline constexpr std::uint16_t kGroupKey = 65535;
inline constexpr std::uint16_t kNoChildren = 1;
inline constexpr std::uint16_t kEntryFlag = 0x8000;
inline constexpr std::uint16_t kBackOffMask = 0x7FFF;
inline constexpr std::uint32_t kMaxTreeNodes = 65534;  // that links can reach
inline constexpr std::int32_t kMaxWord = 65534;        // that keys can name

struct node_t {
  std::uint16_t key = 0;             // a word, or kGroupKey for the header of a group
  std::uint16_t link = kNoChildren;  // first node of the child group, plus 1; of a header: children
  std::uint16_t probability = 0;
  std::uint16_t flag_and_back_off = 0;

  bool is_header() const { return key == kGroupKey; }
  bool is_entry() const { return (flag_and_back_off & kEntryFlag) != 0; }
  bool has_children() const { return link > kNoChildren; }
  std::size_t child_group() const { return std::size_t{link} - 1; }
  std::uint16_t back_off() const {
    return static_cast<std::uint16_t>(flag_and_back_off & kBackOffMask);
  }
};

// Loaded in one piece.
inline node_t read_node(const unsigned char* at) {
  const auto bits = common::load_le<std::uint64_t>(at);
  return {static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(bits >> 16),
          static_cast<std::uint16_t>(bits >> 32), static_cast<std::uint16_t>(bits >> 48)};
}
inline std::uint16_t read_key(const unsigned char* node) {
  return common::load_le<std::uint16_t>(node);
}

// Codes: hundredths below 0, and thousandths above the file's offset.
inline constexpr float kProbabilitySteps = 100.0F;
inline constexpr float kBackOffSteps = 1000.0F;

// Which trees are resident depends on these, so the order of the trees and these two numbers are
// part of the scores: trees in file order count node bytes and overhead against the budget.
inline constexpr std::int64_t kBudget = 3145728;
inline constexpr std::int64_t kTreeOverhead = 20;

}  // namespace koralite::decoder::lang_model_format
