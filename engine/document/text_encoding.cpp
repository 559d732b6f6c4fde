#include "document/text_encoding.h"

#include <algorithm>
#include <cstddef>

#include "document/utf8.h"

namespace koralite::document {

namespace {

constexpr std::size_t kLooked = std::size_t{1} << 16U;

bool is_utf8(std::string_view text, bool is_cut) {
  for (std::size_t at = 0; at < text.size();) {
    const character_t c = character_at(text, at);
    if (!c.valid) {
      return is_cut && text.size() - at < 4;
    }
    at += c.length;
  }
  return true;
}

// Whether the bytes above 127 come as the pairs of Chinese text in GB18030: how many of its
// characters there are, against bytes that fit none.
bool is_gb18030(std::string_view text) {
  std::size_t pairs = 0;
  std::size_t common = 0;  // of the first level of characters and of the marks
  std::size_t wrong = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      continue;
    }
    const unsigned trail = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    if (lead >= 0x81 && lead <= 0xFE && trail >= 0x40 && trail != 0x7F && trail != 0xFF) {
      ++pairs;
      common +=
          trail >= 0xA1 && ((lead >= 0xB0 && lead <= 0xD7) || lead == 0xA1 || lead == 0xA3) ? 1 : 0;
      ++i;
    } else {
      ++wrong;
    }
  }
  return pairs > 0 && wrong * 20 <= pairs && common * 2 >= pairs;
}

}  // namespace

std::string find_encoding(std::string_view text) {
  const bool is_cut = text.size() > kLooked;
  text = text.substr(0, kLooked);
  using namespace std::string_view_literals;
  if (text.starts_with("\xFF\xFE\0\0"sv) || text.starts_with("\0\0\xFE\xFF"sv)) {
    return "UTF-32";
  }
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    return "UTF-16";
  }
  // Without a mark: every other byte of Latin text is zero.
  std::size_t even = 0;
  std::size_t odd = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    (i % 2 == 0 ? even : odd) += text[i] == '\0' ? 1 : 0;
  }
  const std::size_t many = std::max<std::size_t>(text.size() / 5, 3);
  if (odd >= many && even * 8 <= odd) {
    return "UTF-16LE";
  }
  if (even >= many && odd * 8 <= even) {
    return "UTF-16BE";
  }
  if (is_utf8(text, is_cut)) {
    return {};
  }
  return is_gb18030(text) ? "GB18030" : "ISO-8859-1";
}

std::string conversion_advice(std::string_view encoding, std::string_view path) {
  std::string quoted;
  for (const char c : path) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return "iconv -f " + std::string(encoding) + " -t UTF-8 '" + quoted + '\'';
}

}  // namespace koralite::document
