// All target phrases of one source phrase, as the packed bytes of the phrase
// table, with a cursor that reads one phrase (entry) after the other.
//
// Loaded from a mapped table, a block is a view: it copies nothing and must not
// outlive the table. A block that entries are inserted into owns its bytes;
// copying it copies them. One thread at a time, because of the cursor.
//
// The number of scores of a plain entry is process-wide (`s_score_size`).
// Decoding never leaves the block: an entry that runs past its end throws
// "can't load target data in TargetData::load()".
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <utility>
#include <vector>

#include "decoder/phrase_table_format.h"

namespace koralite::common {
class ByteReader;
}

namespace koralite::decoder {

class Compressor;

// One entry decoded into place, for readers that must not allocate.
struct target_entry_t {
  static constexpr std::size_t kMaxWords = 8;
  static constexpr std::size_t kMaxScores = phrase_table_format::kScores;

  std::uint32_t word_count = 0;  // as stored; above kMaxWords only the first kMaxWords are in `ids`
  std::uint32_t score_count = 0;  // 7 or 9
  std::array<int, kMaxWords> ids;
  std::array<float, kMaxScores> scores;  // translation scores, then two reordering triples

  // The words; call only when `fits`.
  std::span<const int> words() const { return {ids.data(), word_count}; }
  bool fits() const { return word_count <= kMaxWords; }
};

class TargetData {
 public:
  // Scores of an entry: 9, or 7 when the table is pruned. Written by every set-up
  // of a decoder's models, read whenever a plain entry is read or inserted.
  static inline std::atomic<int> s_score_size{phrase_table_format::kScores};

  TargetData() = default;
  TargetData(const TargetData& other) { *this = other; }
  TargetData& operator=(const TargetData& other);
  TargetData(TargetData&& other) noexcept { *this = std::move(other); }
  TargetData& operator=(TargetData&& other) noexcept;
  ~TargetData() = default;

  // Makes this a view of the block at the reader (4-byte length L, then L bytes)
  // and moves the reader past it. Throws "can't load target data in
  // TargetData::load()" when the block does not fit, and is empty then.
  void load(common::ByteReader& file);

  // Makes this a view of the bytes of a block (without its length).
  void view(std::span<const unsigned char> block);

  // Writes length and bytes. Throws "can't save target data in TargetData::save()".
  void save(std::ostream& file) const;

  // Empties the block; keeps owned memory for the next inserts.
  void clear();

  bool empty() const { return bytes_.empty(); }
  std::span<const unsigned char> bytes() const { return bytes_; }

  // Puts the cursor at the first entry.
  void begin() { cursor_ = bytes_; }

  // Reads the plain entry at the cursor; false, with the lists untouched, at the
  // end. `scores` receives s_score_size values.
  bool next(std::vector<int>& ids, std::vector<float>& scores);

  // Reads a compact entry if there is a compressor, else a plain one. A compact
  // entry has the score count of its compressor.
  bool next(const Compressor* compressor, std::vector<int>& ids, std::vector<float>& scores);

  // The same without allocation. An entry of more than target_entry_t::kMaxWords
  // words is read over (`entry.fits()` is false), not refused. Throws the load
  // message also if the score size exceeds kMaxScores.
  bool next(const Compressor* compressor, target_entry_t& entry);

  // Append one plain entry: with all S scores, or with S - 6 scores and the six
  // occurrence counts whose reordering scores are stored. Throw "unmatched score
  // size in TargetData::insert()".
  void insert(std::span<const int> ids, std::span<const float> scores);
  void insert(std::span<const int> ids, std::span<const float> scores,
              std::span<const std::int64_t> counts);

  // Appends one compact entry, or a plain one when `compressor` is null.
  void insert(const Compressor* compressor, std::span<const int> ids, std::span<const float> scores,
              std::span<const std::int64_t> counts);

 private:
  void append(std::span<const unsigned char> entry);

  std::span<const unsigned char> bytes_;   // the block: a view, or own_
  std::span<const unsigned char> cursor_;  // what is still to be read
  std::vector<unsigned char> own_;         // backs bytes_ once something was inserted
};

}  // namespace koralite::decoder
