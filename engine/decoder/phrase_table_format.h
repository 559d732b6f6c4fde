// Layout of a packed phrase table (docs/format-phrase-table.md), for the reader here and the
// builder and checker in the toolkit: a head file, a file of trie records and a file of target
// blocks. Constants, plain records and trivial helpers. All values here are embedded in model
// files; none may change.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "common/byte_reader.h"

namespace koralite::decoder::phrase_table_format {

inline constexpr char kNodesSuffix[] = ".nodes";
inline constexpr char kDataSuffix[] = ".data";
inline constexpr std::size_t kMaxSourceWords = 8;

// Head file: u64 N, N head entries, u64 number of records in the nodes file.
// Head entry of a first word: u32 block of the word alone, u32 its first child group.
inline constexpr std::size_t kHeadSize = 8;
inline constexpr std::uint32_t kNone = 0xFFFFFFFF;

struct head_t {
  std::uint32_t offset = kNone;
  std::uint32_t first_group = kNone;
};

inline head_t read_head(const unsigned char* at) {
  return {common::load_le<std::uint32_t>(at), common::load_le<std::uint32_t>(at + 4)};
}

// Nodes file: records of u16 key, i32 link, u32 offset.
inline constexpr std::size_t kRecordSize = 10;
inline constexpr std::uint16_t kGroupKey = 65535;
inline constexpr std::int32_t kMaxInnerWord = 65534;  // that keys can name
inline constexpr std::int32_t kMaxChildren = 65535;   // of a group

struct record_t {
  std::uint16_t key = 0;     // a word, or kGroupKey for the header of a group
  std::int32_t link = 1;     // negative: has a block; see distance(). Of a header: children
  std::uint32_t offset = 0;  // of its block in the data file

  bool is_header() const { return key == kGroupKey; }
  bool has_block() const { return link < 0; }
  // Of the child group from one record before the first word's first group; 1 for no children.
  std::int64_t distance() const { return link < 0 ? -std::int64_t{link} : link; }
  bool has_children() const { return distance() != 1; }
};

inline record_t read_record(const unsigned char* at) {
  return {common::load_le<std::uint16_t>(at), common::load_le<std::int32_t>(at + 2),
          common::load_le<std::uint32_t>(at + 6)};
}
inline std::uint16_t read_key(const unsigned char* record) {
  return common::load_le<std::uint16_t>(record);
}

// Data file: blocks of u32 length and that many bytes of target entries.
inline constexpr std::size_t kBlockLengthSize = 4;

// Plain entry: u32 word count, u32 words, f32 scores.
inline constexpr std::size_t kPlainWordSize = 4;
inline constexpr std::size_t kPlainScoreSize = 4;

// Compact entry: u8 word count, u16 words, u8 code of each translation score and of each
// reordering triple.
inline constexpr std::size_t kCompactCountSize = 1;
inline constexpr std::size_t kCompactWordSize = 2;
inline constexpr std::int32_t kMaxCompactWord = 65535;
inline constexpr int kMaxCompactWords = 15;
inline constexpr std::size_t kMaxSamples = 256;  // of a translation score

inline constexpr std::size_t kReorderTriples = 2;
inline constexpr int kReorderScores = 6;
inline constexpr std::size_t compact_entry_size(std::size_t words, std::size_t translation_scores) {
  return kCompactCountSize + kCompactWordSize * words + translation_scores + kReorderTriples;
}

// Scores of an entry: the language model's two, unless the table leaves them out, the
// translation's, two reordering triples.
inline constexpr int kScores = 9;
inline constexpr int kScoresWithoutLanguage = 7;

// A reordering code is three counts as digits.
inline constexpr int kMaxCount = 5;
inline constexpr int kReorderCodes = 216;
inline constexpr std::array<int, 3> reorder_counts(int code) {
  return {code / 36, code / 6 % 6, code % 6};
}
inline constexpr int reorder_code(int a, int b, int c) {
  return (a * 6 + b) * 6 + c;
}

}  // namespace koralite::decoder::phrase_table_format
