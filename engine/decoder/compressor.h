// Reads and writes the compact form of target entries: word ids of two bytes,
// translation scores as one-byte codes into sample lists, and each triple of
// reordering scores as one of 216 combinations of small occurrence counts.
//
// Built once per decoder handle from the quantifier file; read-only afterwards,
// so safe to share.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/file_path.h"
#include "decoder/phrase_table_format.h"
#include "decoder/quantifier.h"
#include "decoder/target_data.h"

namespace koralite::decoder {

class Compressor {
 public:
  static constexpr int kReorderCount =
      phrase_table_format::kReorderScores;  // reordering scores of an entry
  static constexpr int kReorderIndexes =
      phrase_table_format::kReorderCodes;  // count triples that an index can name
  static constexpr int kMaxTargetWords =
      phrase_table_format::kMaxCompactWords;  // words of an entry that is written

  // Loads `score_size - 6` sample lists. Throws "unknown score size in
  // Compressor()" below 7, "failed to open quantifier file in Compressor()", and
  // the messages of Quantifier::load.
  Compressor(const common::FilePath& quantifier_path, int score_size);

  // The same over sample lists at hand, one per translation score (at least one).
  explicit Compressor(std::vector<Quantifier> quantifiers);

  int score_size() const { return score_size_; }
  const std::vector<Quantifier>& quantifiers() const { return quantifiers_; }

  // Decodes the entry at the front of `cursor` and moves `cursor` past it. Both
  // lists are replaced. An entry that runs past the cursor's end throws "can't
  // load target data in TargetData::load()" and leaves the cursor alone.
  void uncompress(std::span<const unsigned char>& cursor, std::vector<int>& ids,
                  std::vector<float>& scores) const;

  // The same without allocation; only the first words of an overlong phrase are
  // kept (see target_entry_t).
  void uncompress(std::span<const unsigned char>& cursor, target_entry_t& entry) const;

  // Appends the compact form of an entry to `out`: `scores` are the translation
  // scores, `counts` the two triples of occurrences. Throws "phrase size
  // overflow", "score size unmatched" or "unknown occurrence size", each "in
  // Compressor::compress()".
  void compress(std::span<const int> ids, std::span<const float> scores,
                std::span<const std::int64_t> counts, std::vector<unsigned char>& out) const;

  // Natural-log probabilities of three outcomes seen a, b and c times, each
  // count smoothed by a half.
  static void compute_reordering_score(std::int64_t a, std::int64_t b, std::int64_t c, float* out);

  // The same for the counts that `index` stands for. Throws "occurrence overflow
  // in Compressor::compute_reordering_score()" outside 0 to 215.
  static void compute_reordering_score(int index, float* out);

  // The index whose counts stand for (a, b, c): scaled down to at most 5 each.
  // Negative counts count as 0.
  static int reordering_index(std::int64_t a, std::int64_t b, std::int64_t c);

  // Scores of a reordering byte: zeros for 216 to 255.
  const std::array<float, 3>& reordering(unsigned char index) const { return reordering_[index]; }

 private:
  void fill_reordering();

  int score_size_;
  std::vector<Quantifier> quantifiers_;
  std::array<std::array<float, 3>, 256> reordering_{};  // all that one byte can name
};

}  // namespace koralite::decoder
