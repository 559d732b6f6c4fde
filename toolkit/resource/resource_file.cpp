#include "toolkit/resource/resource_file.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>

#include "common/byte_reader.h"
#include "common/des_file_reader.h"
#include "common/mapped_file.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"

namespace koralite::toolkit {
namespace {

constexpr std::uint64_t kRecordLimit = std::numeric_limits<std::int32_t>::max();

void scramble_into(std::string_view line, unsigned char* record) {
  std::copy(line.begin(), line.end(), record);
  for (std::size_t i = 0; i + 1 < line.size(); i += 2) {
    const unsigned exchange = (record[i] ^ record[i + 1]) & 0xACU;
    record[i] = static_cast<unsigned char>(record[i] ^ exchange);
    record[i + 1] = static_cast<unsigned char>(record[i + 1] ^ exchange);
  }
  for (std::size_t i = 0; i < line.size(); ++i) {
    record[i] = std::rotr(record[i], 3);
  }
}

}  // namespace

std::vector<unsigned char> scramble_record(std::string_view line, std::uint32_t record_size) {
  if (line.size() > record_size) {
    throw std::runtime_error("a line of " + std::to_string(line.size()) +
                             " bytes does not fit a record of " + std::to_string(record_size));
  }
  std::vector<unsigned char> record(record_size);
  scramble_into(line, record.data());
  return record;
}

bool resource_line_survives(std::string_view line, std::uint32_t record_size, std::string* reason) {
  const auto refuse = [reason](std::string why) {
    if (reason) {
      *reason = std::move(why);
    }
    return false;
  };
  if (line.size() >= record_size) {
    return refuse("it has " + std::to_string(line.size()) + " bytes, a record of " +
                  std::to_string(record_size) + " holds at most " +
                  std::to_string(record_size > 0 ? record_size - 1 : 0));
  }
  if (line.find('\0') != std::string_view::npos) {
    return refuse("it holds a zero byte");
  }
  if (line.find('\n') != std::string_view::npos) {
    return refuse("it holds a line feed");
  }
  std::vector<unsigned char> record(line.size());
  scramble_into(line, record.data());
  std::string back;
  common::unscramble_record(record, back);
  if (back == line) {
    return true;
  }
  return refuse("its last two characters \"" + std::string(line.substr(line.size() - 2)) +
                "\" scramble to a zero byte; drop or change the last one");
}

void write_resource_file(const std::string& path, std::span<const std::string> lines,
                         std::uint32_t record_size) {
  std::uint64_t size = record_size;
  if (size == 0) {
    for (const std::string& line : lines) {
      size = std::max<std::uint64_t>(size, line.size());
    }
    ++size;
  }
  if (size > kRecordLimit) {
    throw std::runtime_error("can't write " + path + ": a record of " + std::to_string(size) +
                             " bytes is too large");
  }
  const auto width = static_cast<std::uint32_t>(size);

  AtomicFile file(path);
  ByteWriter head;
  head.put_u32(width);
  file.write(head.bytes());
  std::vector<unsigned char> record(width);
  std::size_t number = 0;
  for (const std::string& line : lines) {
    ++number;
    std::string reason;
    if (!resource_line_survives(line, width, &reason)) {
      throw std::runtime_error("can't write " + path + ": line " + std::to_string(number) +
                               " would not read back: " + reason);
    }
    scramble_into(line, record.data());
    std::fill(record.begin() + static_cast<std::ptrdiff_t>(line.size()), record.end(),
              static_cast<unsigned char>(0));
    file.write(record);
  }
  file.commit();
}

void require_resource_file(const std::string& path) {
  const common::MappedFile file(path);
  common::ByteReader reader(file.data());
  std::uint32_t width = 0;
  if (!reader.read_u32(width)) {
    throw std::runtime_error("no resource file: it is shorter than the size of a record");
  }
  if (width == 0 || width > kRecordLimit || (file.size() - 4) % width != 0) {
    throw std::runtime_error("no resource file: " + std::to_string(file.size() - 4) +
                             " bytes are no records of " + std::to_string(width));
  }
  std::span<const unsigned char> record;
  std::string line;
  for (std::uint64_t i = 0; reader.read_bytes(width, record); ++i) {
    common::unscramble_record(record, line);
    if (!std::ranges::equal(record, scramble_record(line, width))) {
      throw std::runtime_error("no resource file: bytes after the end of record " +
                               std::to_string(i));
    }
  }
}

std::vector<std::string> read_resource_file(const std::string& path) {
  common::DesFileReader reader(path);
  std::vector<std::string> lines;
  lines.reserve(static_cast<std::size_t>(reader.record_count()));
  for (std::string line; reader.getline(line);) {
    lines.push_back(line);
  }
  return lines;
}

resource_info_t inspect_resource_file(const std::string& path) {
  common::DesFileReader reader(path);
  resource_info_t info;
  info.record_size = reader.record_size();
  info.records = reader.record_count();
  info.trailing_bytes = common::MappedFile(path).size() - 4 - info.records * info.record_size;
  for (std::string line; reader.getline(line);) {
    info.longest_line = std::max<std::uint64_t>(info.longest_line, line.size());
  }
  return info;
}

}  // namespace koralite::toolkit
