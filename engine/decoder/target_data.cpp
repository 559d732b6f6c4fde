#include "decoder/target_data.h"

#include <algorithm>
#include <array>
#include <limits>
#include <ostream>
#include <stdexcept>

#include "common/bits.h"
#include "common/byte_reader.h"
#include "decoder/compressor.h"

namespace koralite::decoder {

namespace format = phrase_table_format;

namespace {

[[noreturn]] void damaged() {
  throw std::runtime_error("can't load target data in TargetData::load()");
}

void append_u32(std::vector<unsigned char>& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) {
    out.push_back(static_cast<unsigned char>(value >> shift));
  }
}

// Words and scores of a plain entry as bytes, whose sizes are checked against what is left.
struct plain_entry_t {
  std::uint32_t words = 0;
  const unsigned char* ids = nullptr;
  const unsigned char* scores = nullptr;
};

plain_entry_t take_plain(std::span<const unsigned char>& cursor, std::size_t score_count) {
  common::ByteReader reader(cursor);
  plain_entry_t entry;
  std::span<const unsigned char> ids;
  std::span<const unsigned char> scores;
  if (!reader.read_u32(entry.words) || !reader.fits(entry.words, format::kPlainWordSize) ||
      !reader.read_bytes(std::uint64_t{entry.words} * format::kPlainWordSize, ids) ||
      !reader.read_bytes(std::uint64_t{score_count} * format::kPlainScoreSize, scores)) {
    damaged();
  }
  entry.ids = ids.data();
  entry.scores = scores.data();
  cursor = cursor.subspan(static_cast<std::size_t>(reader.position()));
  return entry;
}

std::size_t current_score_size() {
  return static_cast<std::size_t>(
      std::max(TargetData::s_score_size.load(std::memory_order_relaxed), 0));
}

}  // namespace

TargetData& TargetData::operator=(const TargetData& other) {
  if (this == &other) {
    return *this;
  }
  const auto read = static_cast<std::size_t>(other.bytes_.size() - other.cursor_.size());
  own_.assign(other.bytes_.begin(), other.bytes_.end());
  bytes_ = own_;
  cursor_ = bytes_.subspan(read);
  return *this;
}

TargetData& TargetData::operator=(TargetData&& other) noexcept {
  if (this == &other) {
    return *this;
  }
  // A moved vector keeps its memory, so views into it stay valid.
  own_ = std::move(other.own_);
  bytes_ = std::exchange(other.bytes_, {});
  cursor_ = std::exchange(other.cursor_, {});
  other.own_.clear();
  return *this;
}

void TargetData::load(common::ByteReader& file) {
  clear();
  common::ByteReader reader = file;
  std::uint32_t length = 0;
  std::span<const unsigned char> block;
  if (!reader.read_u32(length) || !reader.read_bytes(length, block)) {
    damaged();
  }
  file = reader;
  view(block);
}

void TargetData::view(std::span<const unsigned char> block) {
  bytes_ = block;
  cursor_ = block;
}

void TargetData::save(std::ostream& file) const {
  std::vector<unsigned char> length;
  append_u32(length, static_cast<std::uint32_t>(bytes_.size()));
  file.write(reinterpret_cast<const char*>(length.data()), format::kBlockLengthSize);
  file.write(reinterpret_cast<const char*>(bytes_.data()),
             static_cast<std::streamsize>(bytes_.size()));
  if (!file) {
    throw std::runtime_error("can't save target data in TargetData::save()");
  }
}

void TargetData::clear() {
  own_.clear();
  bytes_ = {};
  cursor_ = {};
}

bool TargetData::next(std::vector<int>& ids, std::vector<float>& scores) {
  if (cursor_.empty()) {
    return false;
  }
  const std::size_t count = current_score_size();
  const plain_entry_t entry = take_plain(cursor_, count);
  ids.resize(entry.words);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ids[i] = common::load_le<std::int32_t>(entry.ids + format::kPlainWordSize * i);
  }
  scores.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    scores[i] = common::load_le<float>(entry.scores + format::kPlainScoreSize * i);
  }
  return true;
}

bool TargetData::next(const Compressor* compressor, std::vector<int>& ids,
                      std::vector<float>& scores) {
  if (compressor == nullptr) {
    return next(ids, scores);
  }
  if (cursor_.empty()) {
    return false;
  }
  compressor->uncompress(cursor_, ids, scores);
  return true;
}

bool TargetData::next(const Compressor* compressor, target_entry_t& entry) {
  if (cursor_.empty()) {
    return false;
  }
  if (compressor != nullptr) {
    compressor->uncompress(cursor_, entry);
    return true;
  }
  const std::size_t count = current_score_size();
  if (count > target_entry_t::kMaxScores) {
    damaged();
  }
  const plain_entry_t plain = take_plain(cursor_, count);
  const std::size_t kept = std::min<std::size_t>(plain.words, target_entry_t::kMaxWords);
  for (std::size_t i = 0; i < kept; ++i) {
    entry.ids[i] = common::load_le<std::int32_t>(plain.ids + format::kPlainWordSize * i);
  }
  for (std::size_t i = 0; i < count; ++i) {
    entry.scores[i] = common::load_le<float>(plain.scores + format::kPlainScoreSize * i);
  }
  entry.word_count = plain.words;
  entry.score_count = static_cast<std::uint32_t>(count);
  return true;
}

void TargetData::insert(std::span<const int> ids, std::span<const float> scores) {
  if (scores.size() != current_score_size()) {
    throw std::runtime_error("unmatched score size in TargetData::insert()");
  }
  std::vector<unsigned char> entry;
  entry.reserve(4 * (1 + ids.size() + scores.size()));
  append_u32(entry, static_cast<std::uint32_t>(ids.size()));
  for (const int id : ids) {
    append_u32(entry, static_cast<std::uint32_t>(id));
  }
  for (const float score : scores) {
    append_u32(entry, common::bits_as<std::uint32_t>(score));
  }
  append(entry);
}

void TargetData::insert(std::span<const int> ids, std::span<const float> scores,
                        std::span<const std::int64_t> counts) {
  if (counts.size() != Compressor::kReorderCount) {
    throw std::runtime_error("unmatched score size in TargetData::insert()");
  }
  std::vector<float> all(scores.begin(), scores.end());
  all.resize(scores.size() + counts.size());
  for (std::size_t i = 0; i < counts.size(); i += 3) {
    Compressor::compute_reordering_score(counts[i], counts[i + 1], counts[i + 2],
                                         all.data() + scores.size() + i);
  }
  insert(ids, all);
}

void TargetData::insert(const Compressor* compressor, std::span<const int> ids,
                        std::span<const float> scores, std::span<const std::int64_t> counts) {
  if (compressor == nullptr) {
    insert(ids, scores, counts);
    return;
  }
  if (scores.size() + counts.size() != static_cast<std::size_t>(compressor->score_size())) {
    throw std::runtime_error("unmatched score size in TargetData::insert()");
  }
  std::vector<unsigned char> entry;
  compressor->compress(ids, scores, counts, entry);
  append(entry);
}

void TargetData::append(std::span<const unsigned char> entry) {
  const std::size_t read = bytes_.size() - cursor_.size();
  if (bytes_.size() + entry.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::runtime_error("can't allocate memory in TargetData::allocate()");
  }
  try {
    if (bytes_.data() != own_.data()) {
      own_.assign(bytes_.begin(), bytes_.end());
    }
    own_.insert(own_.end(), entry.begin(), entry.end());
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("can't allocate memory in TargetData::allocate()");
  }
  bytes_ = own_;
  cursor_ = bytes_.subspan(read);
}

}  // namespace koralite::decoder
