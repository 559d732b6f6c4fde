#include "numtrans/num_generator.h"

#include <algorithm>
#include <cstddef>

namespace koralite::numtrans {

int count_decimal_digits(std::uint64_t value) {
  int digits = 1;
  while (value >= 10) {
    value /= 10;
    ++digits;
  }
  return digits;
}

int digit_string_width(const Number& number) {
  if (number.length >= 1) {
    return number.length;
  }
  const auto bits = static_cast<std::uint64_t>(number.numerator);
  return count_decimal_digits(number.numerator < 0 ? std::uint64_t{0} - bits : bits);
}

std::string low_digits(std::uint64_t value, int width) {
  std::string digits(static_cast<std::size_t>(std::max(width, 0)), '0');
  for (std::size_t i = digits.size(); i > 0 && value > 0; --i) {
    digits[i - 1] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  return digits;
}

bool split_fraction(const Number& number, Number& integer, Number& fraction) {
  integer = {-1, number.numerator / number.denominator, 1};
  const auto zeros = static_cast<std::uint64_t>(number.denominator - 1);
  fraction = {count_decimal_digits(zeros), number.numerator % number.denominator, 1};
  return fraction.numerator != 0;
}

}  // namespace koralite::numtrans
