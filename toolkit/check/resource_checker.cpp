#include "toolkit/check/resource_checker.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <span>
#include <string_view>
#include <vector>

#include "common/byte_reader.h"
#include "common/des_file_reader.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {

namespace {

using bytes_t = std::span<const unsigned char>;

constexpr std::string_view kBar = " ||| ";

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return text;
}

std::size_t count_fields(std::string_view line, std::string_view separator) {
  std::size_t fields = 1;
  for (std::size_t i = line.find(separator); i != std::string_view::npos;
       i = line.find(separator, i + separator.size())) {
    ++fields;
  }
  return fields;
}

// Records as lines. Each has to be what the writer makes of its line, so that also the bytes after
// the line's end count.
std::vector<std::string> read_records(FileReport& report, bytes_t bytes) {
  std::vector<std::string> lines;
  common::ByteReader reader(bytes);
  std::int32_t size = 0;
  if (!reader.read_i32(size) || size < 1) {
    report.wrong("byte 0", "impossible size of a record");
    return lines;
  }
  bytes_t record;
  while (reader.read_bytes(static_cast<std::uint32_t>(size), record)) {
    std::string& line = lines.emplace_back();
    common::unscramble_record(record, line);
    const auto again = scramble_record(line, static_cast<std::uint32_t>(size));
    if (!std::equal(again.begin(), again.end(), record.begin())) {
      report.wrong(at("record", lines.size() - 1), "bytes after the end of its line");
    }
  }
  if (reader.position() != bytes.size()) {
    report.wrong("end", "an incomplete record");
  }
  return lines;
}

void check_order(FileReport& report, const std::vector<std::string>& lines, std::size_t first,
                 const auto& key) {
  for (std::size_t i = first + 1; i < lines.size(); ++i) {
    const auto last = key(lines[i - 1]);
    const auto here = key(lines[i]);
    if (here == last) {
      report.wrong(at("record", i), "the same entry as the one before");
    }
    if (here < last) {
      report.wrong(at("record", i), "out of order");
    }
  }
}

void check_rules(FileReport& report, const std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::size_t fields = count_fields(lines[i], kBar);
    if (fields != 3 && fields != 5) {
      report.wrong(at("record", i), "no rule: it has neither three nor five fields");
    }
  }
}

void check_entities(FileReport& report, const std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (count_fields(lines[i], "\t") < 3) {
      report.wrong(at("record", i), "no entry: it has less than two TABs");
    }
  }
  check_order(report, lines, 0, [](const std::string& line) {
    return line.substr(0, std::min(line.find('\t'), line.size() - 1) + 1);
  });
}

void check_recase(FileReport& report, const std::vector<std::string>& lines) {
  if (lines.empty()) {
    return report.wrong("record 0", "missing");
  }
  std::vector<std::uint64_t> head;
  const char* at_byte = lines[0].data();
  const char* end = at_byte + lines[0].size();
  for (std::uint64_t value = 0; head.size() < 3; head.push_back(value)) {
    while (at_byte != end && *at_byte == ' ') {
      ++at_byte;
    }
    const auto [stop, error] = std::from_chars(at_byte, end, value);
    if (error != std::errc()) {
      return report.wrong("record 0", "not three numbers");
    }
    at_byte = stop;
  }
  std::uint64_t longest = 0;
  std::uint64_t bytes = 0;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (lines[i].empty()) {
      report.wrong(at("record", i), "an empty entry");
    }
    longest = std::max<std::uint64_t>(longest, count_fields(lines[i], " "));
    bytes += lines[i].size() + 1;
  }
  if (head != std::vector<std::uint64_t>{longest, lines.size() - 1, bytes}) {
    report.wrong("record 0", "its numbers are not those of the entries");
  }
  check_order(report, lines, 1, lower);
}

}  // namespace

void check_record_file(FileReport report, RecordKind kind) {
  const auto file = report.open();
  if (!file) {
    return;
  }
  const std::vector<std::string> lines = read_records(report, file->data());
  if (kind == RecordKind::kRules) {
    check_rules(report, lines);
  }
  if (kind == RecordKind::kEntities) {
    check_entities(report, lines);
  }
  if (kind == RecordKind::kRecase) {
    check_recase(report, lines);
  }
  if (kind == RecordKind::kSorted) {
    check_order(report, lines, 0, [](const std::string& line) { return line; });
  }
  report.fact(std::to_string(lines.size()) + " records");
}

void check_pinyin_file(FileReport report) {
  constexpr std::size_t kCharacter = 5;  // bytes, index included
  const auto file = report.open();
  if (!file) {
    return;
  }
  common::ByteReader reader(file->data());
  std::uint32_t characters = 0;
  std::uint32_t readings = 0;
  std::uint32_t longest = 0;
  bytes_t table;
  bytes_t texts;
  if (!reader.read_u32(characters) || characters == 0 || !reader.fits(characters, kCharacter) ||
      !reader.read_bytes(std::uint64_t{characters} * kCharacter, table)) {
    return report.wrong("byte 0", "no characters, or more than the file holds");
  }
  const std::uint64_t position = reader.position();
  if (!reader.read_u32(readings) || !reader.read_u32(longest) || readings == 0 || longest == 0) {
    return report.wrong(at("byte", position), "no readings, or the file ends here");
  }
  const std::uint64_t width = std::uint64_t{longest} + 1;
  if (!reader.fits(readings, width) || !reader.read_bytes(readings * width, texts)) {
    return report.wrong(at("byte", position), "more readings than the file holds");
  }
  if (reader.position() != file->size()) {
    report.wrong(at("byte", reader.position()), "bytes after the last reading");
  }
  std::vector<bool> used(readings);
  std::uint32_t last = 0;
  for (std::uint32_t i = 0; i < characters; ++i) {
    const unsigned char* entry = table.data() + i * kCharacter;
    const std::uint32_t bytes =
        std::uint32_t{entry[0]} << 16U | std::uint32_t{entry[1]} << 8U | entry[2];
    if ((bytes & 0xF0C0C0) != 0xE08080) {
      report.wrong(at("character", i), "not three bytes of UTF-8");
    }
    if (bytes <= last) {
      report.wrong(at("character", i), "out of order");
    }
    last = bytes;
    const auto index = common::load_le<std::uint16_t>(entry + 3);
    if (index >= readings) {
      report.wrong(at("character", i), "reading beyond the last one");
    } else {
      used[index] = true;
    }
  }
  for (std::uint32_t i = 0; i < readings; ++i) {
    const bytes_t text = texts.subspan(i * width, width);
    const auto end = std::find(text.begin(), text.end(), 0);
    const bool letters =
        std::all_of(text.begin(), end, [](unsigned char c) { return c >= 'a' && c <= 'z'; });
    const bool filled = std::all_of(end, text.end(), [](unsigned char c) { return c == 0; });
    if (end == text.begin() || end == text.end() || !letters || !filled) {
      report.wrong(at("reading", i), "not lower-case letters filled up with zero bytes");
    }
    if (!used[i]) {
      report.wrong(at("reading", i), "belongs to no character");
    }
  }
  report.fact(std::to_string(characters) + " characters, " + std::to_string(readings) +
              " readings");
}

}  // namespace koralite::toolkit
