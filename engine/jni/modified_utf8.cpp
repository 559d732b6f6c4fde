#include "jni/modified_utf8.h"

#include <cstddef>
#include <cstdint>

namespace koralite::jni {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

unsigned byte_at(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
}

bool is_continuation(unsigned byte) {
  return (byte & 0xC0U) == 0x80U;
}

}  // namespace

void put_character(std::string& out, std::uint32_t c) {
  const auto tail = [&](unsigned shift) { out += static_cast<char>(0x80U | (c >> shift & 0x3FU)); };
  if (c < 0x80U) {
    out += static_cast<char>(c);
  } else if (c < 0x800U) {
    out += static_cast<char>(0xC0U | c >> 6U);
    tail(0);
  } else if (c < 0x10000U) {
    out += static_cast<char>(0xE0U | c >> 12U);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0U | c >> 18U);
    tail(12);
    tail(6);
    tail(0);
  }
}

std::uint32_t next_character(std::string_view text, std::size_t& i) {
  const unsigned lead = byte_at(text, i++);
  if (lead < 0x80U) {
    return lead;
  }
  int tails = 0;
  unsigned low = 0x80U;  // what the first byte behind the lead may be
  unsigned high = 0xBFU;
  if (lead >= 0xC2U && lead <= 0xDFU) {
    tails = 1;
  } else if (lead >= 0xE0U && lead <= 0xEFU) {
    tails = 2;
    if (lead == 0xE0U) {
      low = 0xA0U;  // overlong
    }
    if (lead == 0xEDU) {
      high = 0x9FU;  // surrogates
    }
  } else if (lead >= 0xF0U && lead <= 0xF4U) {
    tails = 3;
    if (lead == 0xF0U) {
      low = 0x90U;
    }
    if (lead == 0xF4U) {
      high = 0x8FU;  // above U+10FFFF
    }
  } else {
    return kReplacement;
  }
  std::uint32_t c = lead & (0x3FU >> tails);
  for (; tails > 0; --tails, ++i) {
    const unsigned byte = byte_at(text, i);
    if (byte < low || byte > high) {
      return kReplacement;
    }
    c = c << 6U | (byte & 0x3FU);
    low = 0x80U;
    high = 0xBFU;
  }
  return c;
}

namespace {

// One unit of modified UTF-8: a character up to U+FFFF, surrogates included.
std::uint32_t next_unit(std::string_view text, std::size_t& i) {
  const unsigned first = byte_at(text, i);
  const unsigned second = byte_at(text, i + 1);
  const unsigned third = byte_at(text, i + 2);
  if (first == 0xC0U && second == 0x80U) {
    i += 2;
    return 0;
  }
  if (first == 0xEDU && second >= 0xA0U && second <= 0xBFU && is_continuation(third)) {
    i += 3;
    return 0xD000U | (second & 0x3FU) << 6U | (third & 0x3FU);
  }
  return next_character(text, i);
}

bool is_high(std::uint32_t c) {
  return c >= 0xD800U && c <= 0xDBFFU;
}
bool is_low(std::uint32_t c) {
  return c >= 0xDC00U && c <= 0xDFFFU;
}

}  // namespace

std::string from_modified_utf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    std::uint32_t c = next_unit(text, i);
    if (is_high(c)) {
      std::size_t after = i;
      const std::uint32_t low = i < text.size() ? next_unit(text, after) : 0;
      if (is_low(low)) {
        c = 0x10000U + ((c - 0xD800U) << 10U) + (low - 0xDC00U);
        i = after;
      } else {
        c = kReplacement;
      }
    } else if (is_low(c)) {
      c = kReplacement;
    }
    put_character(out, c);
  }
  return out;
}

std::string to_modified_utf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::uint32_t c = next_character(text, i);
    if (c == 0) {
      out += "\xC0\x80";
    } else if (c >= 0x10000U) {
      put_character(out, 0xD800U + ((c - 0x10000U) >> 10U));
      put_character(out, 0xDC00U + ((c - 0x10000U) & 0x3FFU));
    } else {
      put_character(out, c);
    }
  }
  return out;
}

}  // namespace koralite::jni
