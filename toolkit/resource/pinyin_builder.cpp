#include "toolkit/resource/pinyin_builder.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <charconv>
#include <istream>
#include <set>
#include <stdexcept>

#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"

namespace koralite::toolkit {
namespace {

// The characters of three bytes in UTF-8.
constexpr std::uint32_t kFirst = 0x800;
constexpr std::uint32_t kLast = 0xFFFF;

constexpr char16_t kDiaeresis = 0x308;

// Takes what stands before the next TAB off the front.
std::string_view take_field(std::string_view& line) {
  const std::size_t tab = line.find('\t');
  const std::string_view field = line.substr(0, tab);
  line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
  return field;
}

bool parse_code_point(std::string_view text, std::uint32_t& code) {
  if (!text.starts_with("U+")) {
    return false;
  }
  text.remove_prefix(2);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code, 16);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

std::string toneless_pinyin(std::string_view reading) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
  if (U_FAILURE(status)) {
    throw std::runtime_error("ICU has no normalization data");
  }
  const icu::UnicodeString letters =
      nfd->normalize(icu::UnicodeString::fromUTF8(
                         icu::StringPiece(reading.data(), static_cast<int>(reading.size()))),
                     status);
  if (U_FAILURE(status)) {
    return {};
  }

  std::string out;
  for (int i = 0; i < letters.length(); ++i) {
    const char16_t c = letters[i];
    if (c == kDiaeresis && out.ends_with('u')) {
      out.back() = 'v';
    } else if (c >= u'a' && c <= u'z') {
      out += static_cast<char>(c);
    } else if (u_charType(c) != U_NON_SPACING_MARK) {
      return {};
    }
  }
  return out;
}

void PinyinBuilder::add_line(std::string_view line) {
  ++line_;
  if (line.starts_with('#')) {
    return;  // the file's head lists the fields, one a comment
  }
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  const std::string_view character = take_field(line);
  if (take_field(line) != "kMandarin") {
    return;
  }

  const auto fail = [this](const std::string& why) {
    throw std::runtime_error("Unihan readings, line " + std::to_string(line_) + ": " + why);
  };
  std::uint32_t code = 0;
  if (!parse_code_point(character, code)) {
    fail("\"" + std::string(character) + "\" is no code point; expected U+ and hexadecimal digits");
  }
  const std::string_view first = line.substr(0, line.find(' '));
  std::string reading = toneless_pinyin(first);
  if (reading.empty()) {
    fail("\"" + std::string(first) + "\" is no pinyin reading");
  }
  if (code < kFirst || code > kLast) {
    ++outside_;
  } else {
    readings_.try_emplace(code, std::move(reading));
  }
}

void PinyinBuilder::add_lines(std::istream& lines) {
  for (std::string line; std::getline(lines, line);) {
    add_line(line);
  }
}

std::vector<unsigned char> PinyinBuilder::bytes() const {
  if (readings_.empty()) {
    throw std::runtime_error("no kMandarin readings; is this Unihan_Readings.txt, unpacked?");
  }
  // At most one slot a character, so that an index always fits 16 bits.
  std::map<std::string_view, std::uint16_t> slots;
  std::size_t longest = 0;
  for (const auto& [code, reading] : readings_) {
    slots.emplace(reading, 0);
    longest = std::max(longest, reading.size());
  }
  std::uint16_t next = 0;
  for (auto& [reading, index] : slots) {
    index = next++;
  }

  ByteWriter out;
  out.put_u32(static_cast<std::uint32_t>(readings_.size()));
  for (const auto& [code, reading] : readings_) {
    out.put_u8(static_cast<std::uint8_t>(0xE0U | code >> 12U));
    out.put_u8(static_cast<std::uint8_t>(0x80U | (code >> 6U & 0x3FU)));
    out.put_u8(static_cast<std::uint8_t>(0x80U | (code & 0x3FU)));
    out.put_u16(slots.at(reading));
  }
  out.put_u32(static_cast<std::uint32_t>(slots.size()));
  out.put_u32(static_cast<std::uint32_t>(longest));
  for (const auto& [reading, index] : slots) {
    out.put_text(reading);
    for (std::size_t i = reading.size(); i <= longest; ++i) {
      out.put_u8(0);
    }
  }
  return {out.bytes().begin(), out.bytes().end()};
}

pinyin_report_t PinyinBuilder::report() const {
  pinyin_report_t report;
  report.characters = readings_.size();
  report.outside = outside_;
  std::set<std::string_view> distinct;
  for (const auto& [code, reading] : readings_) {
    distinct.insert(reading);
    report.longest = std::max(report.longest, reading.size());
  }
  report.readings = distinct.size();
  return report;
}

pinyin_report_t PinyinBuilder::write(const std::string& path) const {
  write_file(path, bytes());
  return report();
}

}  // namespace koralite::toolkit
