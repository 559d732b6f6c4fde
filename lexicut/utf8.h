// Reading UTF-8 text that may hold any bytes. Free functions without state.
#pragma once

#include <cstdint>

namespace lexicut_utf8 {

// Decodes the character at text[0], `left` bytes at the most (at least 1). Gives its length in
// bytes and sets `code`; an ill-formed sequence counts as one byte, with a code above 0x10FFFF.
inline std::uint32_t decode(const unsigned char* text, std::uint32_t left, std::uint32_t& code) {
  constexpr std::uint32_t kIllFormed = 0x110000;
  const std::uint32_t lead = text[0];
  if (lead < 0x80) {
    code = lead;
    return 1;
  }
  const auto tail = [&](std::uint32_t i) { return (text[i] & 0xC0U) == 0x80U; };
  if (lead >= 0xE0 && lead < 0xF0 && left >= 3 && tail(1) && tail(2)) {
    code = ((lead & 0x0FU) << 12) | ((text[1] & 0x3FU) << 6) | (text[2] & 0x3FU);
    return 3;
  }
  if (lead >= 0xC0 && lead < 0xE0 && left >= 2 && tail(1)) {
    code = ((lead & 0x1FU) << 6) | (text[1] & 0x3FU);
    return 2;
  }
  if (lead >= 0xF0 && lead < 0xF8 && left >= 4 && tail(1) && tail(2) && tail(3)) {
    code = ((lead & 0x07U) << 18) | ((text[1] & 0x3FU) << 12) | ((text[2] & 0x3FU) << 6) |
           (text[3] & 0x3FU);
    if (code < kIllFormed) {
      return 4;
    }
  }
  code = kIllFormed;
  return 1;
}

}  // namespace lexicut_utf8
