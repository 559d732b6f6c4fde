// Classes of bytes that the text steps ask for. Only ASCII is ever classified: a
// byte of 128 or above is part of some multi-byte character and belongs to no
// class but `text_is_non_ascii`. Free functions without state.
#pragma once

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

}  // namespace koralite::common
