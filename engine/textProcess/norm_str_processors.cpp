#include "textProcess/norm_str_processors.h"

#include "textProcess/text_helpers.h"

namespace koralite::textProcess {
namespace {

// The code point of the well-formed three-byte sequence at `at`, or 0.
unsigned three_byte_character(std::string_view in, std::size_t at) {
  if (in.size() - at < 3) {
    return 0;
  }
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(in[at + i]); };
  if ((byte(0) & 0xF0U) != 0xE0U || (byte(1) & 0xC0U) != 0x80U || (byte(2) & 0xC0U) != 0x80U) {
    return 0;
  }
  return (byte(0) & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
}

// The ASCII byte of a full-width character, or 0.
char half_width(unsigned character) {
  switch (character) {
    case 0xFF05:
      return '%';
    case 0xFF0E:
      return '.';
    case 0x3000:
      return ' ';
    default:
      break;
  }
  // The full-width block repeats ASCII from 0x21 on.
  if (character < 0xFF01 || character > 0xFF5E) {
    return 0;
  }
  const char ascii = static_cast<char>(character - 0xFF01 + 0x21);
  return text_is_digit_or_letter(ascii) ? ascii : '\0';
}

// The ASCII text of a punctuation mark, or nothing.
std::string_view ascii_mark(unsigned character) {
  switch (character) {
    case 0x201C:
    case 0x201D:
      return "\"";
    case 0x2018:
    case 0x2019:
      return "'";
    case 0xFF08:
      return "(";
    case 0xFF09:
      return ")";
    case 0xFF0C:
      return ",";
    case 0xFF1A:
      return ":";
    case 0xFF1B:
      return ";";
    case 0x2014:
      return "-";
    case 0xFF1F:
      return "?";
    case 0x3002:
      return ".";
    case 0xFF01:
      return "!";
    case 0x2026:
      return "...";
    default:
      return {};
  }
}

constexpr std::string_view kFullWidthColon = "：";

// The Chinese text for the ASCII mark at `at`, or nothing where the mark stays.
std::string_view chinese_mark(std::string_view in, std::size_t at) {
  const bool inner = at > 0 && at + 1 < in.size();
  switch (in[at]) {
    case ',':
      return inner && text_is_digit(in[at - 1]) && text_is_digit(in[at + 1]) ? "" : "，";
    case ':':
      return at > 0 && text_is_digit_or_letter(in[at - 1]) ? std::string_view() : kFullWidthColon;
    case '(':
      return "（";
    case ')':
      return "）";
    case ';':
      return "；";
    case '?':
      return "？";
    case '!':
      return "！";
    default:
      return {};
  }
}

}  // namespace

template <bool kPlaced>
void Sbc2DbcStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kLeads("\xe3\xef");
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t next = kLeads.find(in, i);
    out.copy(i, next - i);
    if (next == in.size()) {
      return;
    }
    i = next;
    const char ascii = half_width(three_byte_character(in, i));
    if (ascii != '\0') {
      out.insert(ascii, i);
      i += 3;
    } else {
      out.copy(i++);
    }
  }
}

template <bool kPlaced>
void NormPuncEngStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kLeads("\xe2\xe3\xef");
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t next = kLeads.find(in, i);
    out.copy(i, next - i);
    if (next == in.size()) {
      return;
    }
    i = next;
    const std::string_view mark = ascii_mark(three_byte_character(in, i));
    if (!mark.empty()) {
      out.insert(mark, i);
      i += 3;
    } else {
      out.copy(i++);
    }
  }
}

template <bool kPlaced>
void NormPuncChsStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kLeads(".\",:();?!\xef");
  bool quote_opens = true;
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t next = kLeads.find(in, i);
    out.copy(i, next - i);
    if (next == in.size()) {
      return;
    }
    i = next;
    if (in[i] == '.' && in.substr(i, 3) == "...") {
      out.insert("…", i);
      i += 3;
    } else if (i > 0 && i + 3 < in.size() && in.substr(i, 3) == kFullWidthColon &&
               !text_is_non_ascii(in[i - 1]) && !text_is_non_ascii(in[i + 3])) {
      out.insert(':', i);
      i += 3;
    } else if (in[i] == '"') {
      out.insert(quote_opens ? "“" : "”", i++);
      quote_opens = !quote_opens;
    } else if (const std::string_view mark = chinese_mark(in, i); !mark.empty()) {
      out.insert(mark, i++);
    } else {
      out.copy(i++);
    }
  }
}

KORA_INSTANTIATE_REWRITE(Sbc2DbcStrProcessor);
KORA_INSTANTIATE_REWRITE(NormPuncEngStrProcessor);
KORA_INSTANTIATE_REWRITE(NormPuncChsStrProcessor);

}  // namespace koralite::textProcess
