// The words and characters that numbers are written with, shared by the
// acceptors and the generators. Constants without state.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace koralite::numtrans {

constexpr bool is_ascii_digit(char c) {
  return c >= '0' && c <= '9';
}

// Bytes of every Chinese token in UTF-8.
inline constexpr std::size_t CHS_TOKEN_BYTES = 3;

inline constexpr std::array<const char*, 10> kChsDigitWords = {"零", "一", "二", "三", "四",
                                                               "五", "六", "七", "八", "九"};
inline constexpr std::array<const char*, 6> kChsBaseWords = {"十", "百", "千", "万", "亿", "兆"};
inline constexpr std::array<std::int64_t, 6> CHS_BASE_NUMBERS = {10,    100,       1000,
                                                                 10000, 100000000, 1000000000000};
inline constexpr std::array<int, 6> CHS_BASE_DIGITS = {2, 3, 4, 5, 9, 13};

// Index = value, 0 to 99.
extern const std::array<const char*, 100> kEngDigitWords;
extern const std::array<const char*, 100> kEngOrdinalWords;

inline constexpr std::array<const char*, 4> kEngBaseWords = {"thousand", "million", "billion",
                                                             "trillion"};
inline constexpr std::array<const char*, 4> kEngOrdinalBaseWords = {"thousandth", "millionth",
                                                                    "billionth", "trillionth"};
inline constexpr std::array<std::int64_t, 4> kEngBaseNumbers = {1000, 1000000, 1000000000,
                                                                1000000000000};
inline constexpr std::array<int, 4> kEngBaseLengths = {4, 7, 10, 13};

}  // namespace koralite::numtrans
