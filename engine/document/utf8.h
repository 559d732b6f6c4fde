// Reading UTF-8 that may be broken. Free functions without state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace koralite::document {

struct character_t {
  char32_t code = 0;       // 0xFFFD where the bytes are no character
  std::size_t length = 1;  // in bytes; 1 where the bytes are no character
  bool valid = false;
};

// The character that begins at `at`, which must lie inside the text. Overlong forms, surrogates
// and codes above 0x10FFFF are no characters.
inline character_t character_at(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80U) {
    return {lead, 1, true};
  }
  const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (lead < 0xC2U || lead > 0xF4U || text.size() - at < length) {
    return {0xFFFD, 1, false};
  }
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) {
      return {0xFFFD, 1, false};
    }
    code = code << 6U | (byte(i) & 0x3FU);
  }
  if (code < kLeast[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    return {0xFFFD, 1, false};
  }
  return {code, length, true};
}

inline void append_character(std::uint32_t code, std::string& out) {
  const auto put = [&](std::uint32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0U | code >> 6U);
    put(0x80U | (code & 0x3FU));
  } else if (code < 0x10000) {
    put(0xE0U | code >> 12U);
    put(0x80U | (code >> 6U & 0x3FU));
    put(0x80U | (code & 0x3FU));
  } else {
    put(0xF0U | code >> 18U);
    put(0x80U | (code >> 12U & 0x3FU));
    put(0x80U | (code >> 6U & 0x3FU));
    put(0x80U | (code & 0x3FU));
  }
}

inline bool is_continuation_byte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

inline bool is_latin_letter(char32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7) || (c >= 0x300 && c <= 0x36F) ||
         (c >= 0x1E00 && c <= 0x1EFF);
}
inline bool is_han(char32_t c) {
  return (c >= 0x3400 && c <= 0x4DBF) || (c >= 0x4E00 && c <= 0x9FFF) ||
         (c >= 0xF900 && c <= 0xFAFF) || (c >= 0x20000 && c <= 0x3FFFF) || c == 0x3005 ||
         c == 0x3007;
}
inline bool is_kana(char32_t c) {
  return (c >= 0x3041 && c <= 0x30FF && c != 0x30FB) || (c >= 0x31F0 && c <= 0x31FF) ||
         (c >= 0xFF66 && c <= 0xFF9F);
}
inline bool is_hangul(char32_t c) {
  return (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0x1100 && c <= 0x11FF) ||
         (c >= 0x3130 && c <= 0x318F);
}
// Characters that languages without spaces are written in, their marks included.
inline bool is_east_asian(char32_t c) {
  return is_han(c) || is_kana(c) || (c >= 0x3000 && c <= 0x303F) || c == 0x30FB ||
         (c >= 0xFF00 && c <= 0xFFEF);
}
// Emoji, arrows, mathematical and other signs, the joiners between them included.
inline bool is_symbol(char32_t c) {
  return (c >= 0x2190 && c <= 0x2BFF) || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F) ||
         (c >= 0x1F000 && c <= 0x1FAFF) || (c >= 0xE0020 && c <= 0xE007F) || c == 0x20E3 ||
         (c >= 0x2100 && c <= 0x214F && c != 0x2103 && c != 0x2109);
}

}  // namespace koralite::document
