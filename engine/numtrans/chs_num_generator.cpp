#include "numtrans/chs_num_generator.h"

#include <cstddef>

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

constexpr std::size_t kWan = 3;  // index of 万, the first of the large bases

// Writes a value from 1 on into the text of one numeral. All levels share it:
// only at its very beginning is ten written without a digit.
void write_numeral(std::int64_t value, std::string& text) {
  while (value >= ChsNumGenerator::CHS_BASE_VALUES[kWan]) {
    std::size_t unit = ChsNumGenerator::CHS_BASES.size() - 1;
    while (value < ChsNumGenerator::CHS_BASE_VALUES[unit]) {
      --unit;
    }
    const std::int64_t base = ChsNumGenerator::CHS_BASE_VALUES[unit];
    write_numeral(value / base, text);
    text += ChsNumGenerator::CHS_BASES[unit];
    value %= base;
    if (value == 0) {
      return;
    }
    if (value * 10 < base) {
      text += ChsNumGenerator::CHS_ZERO;
    }
  }
  bool after_base = false;  // a gap below what was written takes one 零
  for (std::size_t unit = kWan; unit-- > 0;) {
    const std::int64_t base = ChsNumGenerator::CHS_BASE_VALUES[unit];
    const auto digit = static_cast<std::size_t>(value / base);
    value %= base;
    if (digit == 0) {
      if (after_base && value != 0) {
        text += ChsNumGenerator::CHS_ZERO;
        after_base = false;
      }
      continue;
    }
    if (digit > 1 || unit > 0 || !text.empty()) {
      text += ChsNumGenerator::CHS_DIGITS[digit];
    }
    text += ChsNumGenerator::CHS_BASES[unit];
    after_base = true;
  }
  if (value != 0) {
    text += ChsNumGenerator::CHS_DIGITS[static_cast<std::size_t>(value)];
  }
}

}  // namespace

void ChsNumGenerator::write_digits(const Number& number, std::string& out) {
  const auto bits = static_cast<std::uint64_t>(number.numerator);
  const std::uint64_t magnitude = number.numerator < 0 ? std::uint64_t{0} - bits : bits;
  for (const char digit : low_digits(magnitude, digit_string_width(number))) {
    out += CHS_DIGITS[static_cast<std::size_t>(digit - '0')];
  }
}

void ChsNumGenerator::write_integer(std::int64_t value, std::string& out) {
  if (value == 0) {
    out = CHS_ZERO;
    return;
  }
  std::string text;
  write_numeral(value, text);
  out += text;
}

bool ChsNumGenerator::generate(const Number& number, const char* category, std::string& out) const {
  switch (parse_category(category)) {
    case Category::kChineseDigits:
      write_digits(number, out);
      return true;
    case Category::kChineseInteger:
      if (!is_plain_integer(number)) {
        return false;
      }
      write_integer(number.numerator, out);
      return true;
    case Category::kChineseFloat: {
      if (number.numerator < 0 || number.denominator <= 0) {
        return false;
      }
      Number integer;
      Number fraction;
      const bool has_fraction = split_fraction(number, integer, fraction);
      write_integer(integer.numerator, out);
      if (has_fraction) {
        out += CHS_POINT;
        write_digits(fraction, out);
      }
      return true;
    }
    default:
      return false;
  }
}

}  // namespace koralite::numtrans
