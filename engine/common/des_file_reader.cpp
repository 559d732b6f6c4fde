#include "common/des_file_reader.h"

#include <bit>
#include <cstring>
#include <utility>

#include "common/byte_reader.h"
#include "common/causes.h"

namespace koralite::common {
namespace {

constexpr std::uint64_t kHeadSize = 4;

}  // namespace

void unscramble_record(std::span<const unsigned char> record, std::string& line) {
  std::size_t length = record.size();
  while (length > 0 && record[length - 1] == 0) {
    --length;
  }
  line.resize(length);
  for (std::size_t i = 0; i < length; ++i) {
    line[i] = static_cast<char>(std::rotl(record[i], 3));
  }
  for (std::size_t i = 0; i + 1 < length; i += 2) {
    const int exchange = (line[i] ^ line[i + 1]) & 0xAC;
    line[i] = static_cast<char>(line[i] ^ exchange);
    line[i + 1] = static_cast<char>(line[i + 1] ^ exchange);
  }
  line.resize(std::strlen(line.c_str()));  // the text is a C string
}

DesFileReader::DesFileReader(const FilePath& path) {
  // Programs compare this text, so its spelling stays.
  file_ = MappedFile::need(path, "Invalidate Input file");
  std::int32_t size = 0;
  if (!ByteReader(file_.data()).read(size) || size <= 0) {
    throw_caused("Cannot read line size", path.text());
  }
  record_size_ = static_cast<std::uint32_t>(size);
}

std::uint64_t DesFileReader::record_count() const {
  return (file_.size() - kHeadSize) / record_size_;
}

bool DesFileReader::getline(std::string& line) {
  if (!enumerating_ || next_ >= record_count()) {
    return false;
  }
  std::span<const unsigned char> record;
  ByteReader(file_.data()).bytes_at(kHeadSize + next_ * record_size_, record_size_, record);
  ++next_;
  unscramble_record(record, line);
  return true;
}

bool DesFileReader::getline(std::string& line, unsigned index) const {
  std::span<const unsigned char> record;
  if (!ByteReader(file_.data())
           .bytes_at(kHeadSize + std::uint64_t{index} * record_size_, record_size_, record)) {
    return false;
  }
  unscramble_record(record, line);
  return true;
}

}  // namespace koralite::common
