// Scrambled record files: the text resources of the engine (docs/format-resource.md).
//
// Free functions; every failure is a std::runtime_error that names the file or the
// line and what to change. A line is bytes without a line feed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

// Writes one record a line. `record_size` 0 chooses the longest line and one byte. Each record is
// read back before it is accepted: a line that would come back changed (too long, with a zero byte,
// or scrambled into a trailing zero byte) is refused and no file is written.
void write_resource_file(const std::string& path, std::span<const std::string> lines,
                         std::uint32_t record_size = 0);

// All lines of a resource file. Throws as DesFileReader.
// Throws std::runtime_error unless the file is made of whole records whose bytes after the end of
// the line are zero, as writers leave them.
void require_resource_file(const std::string& path);

std::vector<std::string> read_resource_file(const std::string& path);

// What a resource file is made of, for listings and checks.
struct resource_info_t {
  std::uint32_t record_size = 0;
  std::uint64_t records = 0;
  std::uint64_t trailing_bytes = 0;  // an incomplete record at the end, which readers ignore
  std::uint64_t longest_line = 0;    // bytes
};
resource_info_t inspect_resource_file(const std::string& path);

// Whether a line survives a round trip in records of `record_size` bytes; if not, `reason`, when
// given, says why in half a line.
bool resource_line_survives(std::string_view line, std::uint32_t record_size,
                            std::string* reason = nullptr);

// The record of a line that survives, padded with zero bytes to `record_size`.
std::vector<unsigned char> scramble_record(std::string_view line, std::uint32_t record_size);

}  // namespace koralite::toolkit
