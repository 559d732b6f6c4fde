// Classes of bytes that the text steps ask for. Only ASCII is ever classified: a
// byte of 128 or above is part of some multi-byte character and belongs to no
// class but `text_is_non_ascii`. Free functions without state.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace koralite::common {

constexpr bool text_is_digit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool text_is_upper(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr bool text_is_lower(char c) {
  return c >= 'a' && c <= 'z';
}
constexpr bool text_is_letter(char c) {
  return text_is_upper(c) || text_is_lower(c);
}
constexpr bool text_is_digit_or_letter(char c) {
  return text_is_digit(c) || text_is_letter(c);
}
// What words are made of: letters, digits and the underscore.
constexpr bool text_is_word_byte(char c) {
  return text_is_digit_or_letter(c) || c == '_';
}
constexpr bool text_is_non_ascii(char c) {
  return static_cast<unsigned char>(c) >= 128;
}

constexpr char text_to_lower(char c) {
  return text_is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr char text_to_upper(char c) {
  return text_is_lower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

// A set of bytes, to look for the next one of them.
class ByteSet {
 public:
  constexpr explicit ByteSet(std::string_view bytes, std::string_view more = {}) {
    for (const char c : bytes) {
      in_[static_cast<unsigned char>(c)] = true;
    }
    for (const char c : more) {
      in_[static_cast<unsigned char>(c)] = true;
    }
  }
  constexpr bool contains(char c) const { return in_[static_cast<unsigned char>(c)]; }
  // The first byte of the set at or after `at`, or the text's size.
  constexpr std::size_t find(std::string_view text, std::size_t at) const {
    while (at < text.size() && !contains(text[at])) {
      ++at;
    }
    return at;
  }

 private:
  std::array<bool, 256> in_{};
};

}  // namespace koralite::common
