#include "decoder/compressor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "common/byte_reader.h"
#include "common/mapped_file.h"

namespace koralite::decoder {

namespace format = phrase_table_format;

namespace {

[[noreturn]] void damaged() {
  throw std::runtime_error("can't load target data in TargetData::load()");
}

}  // namespace

Compressor::Compressor(const common::FilePath& quantifier_path, int score_size)
    : score_size_(score_size) {
  if (score_size <= kReorderCount) {
    throw std::runtime_error("unknown score size in Compressor()");
  }
  const auto file =
      common::MappedFile::need(quantifier_path, "failed to open quantifier file in Compressor()");
  common::ByteReader reader(file.data());
  for (int i = kReorderCount; i < score_size; ++i) {
    quantifiers_.emplace_back().load(reader);
  }
  fill_reordering();
}

Compressor::Compressor(std::vector<Quantifier> quantifiers)
    : score_size_(static_cast<int>(quantifiers.size()) + kReorderCount),
      quantifiers_(std::move(quantifiers)) {
  if (quantifiers_.empty()) {
    throw std::runtime_error("unknown score size in Compressor()");
  }
  fill_reordering();
}

void Compressor::fill_reordering() {
  for (int i = 0; i < kReorderIndexes; ++i) {
    compute_reordering_score(i, reordering_[static_cast<std::size_t>(i)].data());
  }
}

void Compressor::uncompress(std::span<const unsigned char>& cursor, std::vector<int>& ids,
                            std::vector<float>& scores) const {
  const std::size_t words = cursor.empty() ? 0 : cursor[0];
  if (cursor.size() < format::compact_entry_size(words, quantifiers_.size())) {
    damaged();
  }
  const unsigned char* at = cursor.data() + format::kCompactCountSize;
  ids.resize(words);
  for (int& id : ids) {
    id = common::load_le<std::uint16_t>(at);
    at += format::kCompactWordSize;
  }
  scores.clear();
  for (const Quantifier& quantifier : quantifiers_) {
    scores.push_back(quantifier.unquantify(*at++));
  }
  for (std::size_t triple = 0; triple < format::kReorderTriples; ++triple) {
    const auto& values = reordering(*at++);
    scores.insert(scores.end(), values.begin(), values.end());
  }
  cursor = cursor.subspan(static_cast<std::size_t>(at - cursor.data()));
}

void Compressor::uncompress(std::span<const unsigned char>& cursor, target_entry_t& entry) const {
  const std::size_t words = cursor.empty() ? 0 : cursor[0];
  const std::size_t size = format::compact_entry_size(words, quantifiers_.size());
  if (cursor.size() < size || quantifiers_.size() + kReorderCount > target_entry_t::kMaxScores) {
    damaged();
  }
  const unsigned char* at = cursor.data() + format::kCompactCountSize;
  const std::size_t kept = std::min(words, target_entry_t::kMaxWords);
  for (std::size_t i = 0; i < kept; ++i) {
    entry.ids[i] = common::load_le<std::uint16_t>(at + format::kCompactWordSize * i);
  }
  at += format::kCompactWordSize * words;
  float* score = entry.scores.data();
  for (const Quantifier& quantifier : quantifiers_) {
    *score++ = quantifier.unquantify(*at++);
  }
  for (std::size_t triple = 0; triple < format::kReorderTriples; ++triple) {
    const auto& values = reordering(*at++);
    score = std::copy(values.begin(), values.end(), score);
  }
  entry.word_count = static_cast<std::uint32_t>(words);
  entry.score_count = static_cast<std::uint32_t>(score_size_);
  cursor = cursor.subspan(size);
}

void Compressor::compress(std::span<const int> ids, std::span<const float> scores,
                          std::span<const std::int64_t> counts,
                          std::vector<unsigned char>& out) const {
  if (ids.size() > kMaxTargetWords) {
    throw std::runtime_error("phrase size overflow in Compressor::compress()");
  }
  if (scores.size() != quantifiers_.size()) {
    throw std::runtime_error("score size unmatched in Compressor::compress()");
  }
  if (counts.size() != kReorderCount) {
    throw std::runtime_error("unknown occurrence size in Compressor::compress()");
  }
  std::vector<unsigned char> entry;  // whole before any of it is appended: quantify may throw
  entry.reserve(format::compact_entry_size(ids.size(), scores.size()));
  entry.push_back(static_cast<unsigned char>(ids.size()));
  for (const int id : ids) {
    entry.push_back(static_cast<unsigned char>(id & 0xFF));
    entry.push_back(static_cast<unsigned char>((id >> 8) & 0xFF));
  }
  for (std::size_t i = 0; i < scores.size(); ++i) {
    float error = 0;
    const int code = quantifiers_[i].quantify(scores[i], error);
    entry.push_back(static_cast<unsigned char>(std::min(code, 255)));
  }
  for (std::size_t i = 0; i < counts.size(); i += 3) {
    entry.push_back(
        static_cast<unsigned char>(reordering_index(counts[i], counts[i + 1], counts[i + 2])));
  }
  out.insert(out.end(), entry.begin(), entry.end());
}

void Compressor::compute_reordering_score(std::int64_t a, std::int64_t b, std::int64_t c,
                                          float* out) {
  // Sum, quotient and logarithm are each rounded to single precision.
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum) || __builtin_add_overflow(sum, c, &sum)) {
    throw std::runtime_error("occurrence overflow in Compressor::compute_reordering_score()");
  }
  const float total = static_cast<float>(sum) + 1.5F;
  const std::int64_t counts[3] = {a, b, c};
  for (int i = 0; i < 3; ++i) {
    const float share = (static_cast<float>(counts[i]) + 0.5F) / total;
    out[i] = static_cast<float>(std::log(static_cast<double>(share)));
  }
}

void Compressor::compute_reordering_score(int index, float* out) {
  if (index < 0 || index >= kReorderIndexes) {
    throw std::runtime_error("occurrence overflow in Compressor::compute_reordering_score()");
  }
  const auto counts = format::reorder_counts(index);
  compute_reordering_score(counts[0], counts[1], counts[2], out);
}

int Compressor::reordering_index(std::int64_t a, std::int64_t b, std::int64_t c) {
  std::int64_t counts[3] = {std::max<std::int64_t>(a, 0), std::max<std::int64_t>(b, 0),
                            std::max<std::int64_t>(c, 0)};
  const std::int64_t largest = std::max({counts[0], counts[1], counts[2]});
  if (largest > format::kMaxCount) {
    // Halving counts that would overflow keeps their ratio to far below one part in five.
    const int shift =
        largest > std::numeric_limits<std::int64_t>::max() / format::kMaxCount ? 3 : 0;
    for (std::int64_t& count : counts) {
      count = (count >> shift) * format::kMaxCount / (largest >> shift);
    }
  }
  return format::reorder_code(static_cast<int>(counts[0]), static_cast<int>(counts[1]),
                              static_cast<int>(counts[2]));
}

}  // namespace koralite::decoder
