#include "numtrans/num_acceptor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "numtrans/category.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {

bool NumAcceptor::take(const char*& cursor, int wanted, int& value) const {
  int type = 0;
  return read_token(cursor, type, value) && type == wanted;
}

bool NumAcceptor::accept_digit_run(const char*& cursor, int digit, Number& result) const {
  for (int value = 0;;) {
    const char* const before = cursor;
    if (!take(cursor, digit, value)) {
      cursor = before;
      break;
    }
    if (result.length == Number::MAX_SIZE) {
      break;
    }
    result.numerator = result.numerator * 10 + value;
    ++result.length;
  }
  return result.length > 0;
}

bool join_fraction(Number& integer, const Number& fraction) {
  integer.length += fraction.length;
  if (integer.length > Number::MAX_SIZE) {
    return false;
  }
  std::int64_t power = 1;
  for (int i = 0; i < fraction.length; ++i) {
    power *= 10;
  }
  integer.denominator *= power;
  return !__builtin_mul_overflow(integer.numerator, power, &integer.numerator) &&
         !__builtin_add_overflow(integer.numerator, fraction.numerator, &integer.numerator);
}

bool has_dropped_digit(std::string_view category, std::string_view taken, const Number& number) {
  std::ptrdiff_t digits = 0;
  switch (parse_category(category)) {
    case Category::kArabicDigits:
    case Category::kArabicInteger:
    case Category::kArabicOrdinal:
    case Category::kArabicFloat:
      digits = std::count_if(taken.begin(), taken.end(), [](char c) { return is_ascii_digit(c); });
      break;
    case Category::kChineseDigits:
      digits = static_cast<std::ptrdiff_t>(taken.size() / CHS_TOKEN_BYTES);
      break;
    default:
      return false;
  }
  return digits > number.length;
}

}  // namespace koralite::numtrans
