// Number: an exact decimal fraction, the one value of number translation.
//
// Acceptors fill it from a written number, generators write it in another
// notation, and the rule translator computes with it. It is two signed 64-bit
// integers, numerator / denominator with a power of ten below, and the count of
// written digits; there is no floating point. A plain value: copies are
// independent and reading one from several threads is safe.
#pragma once

#include <cstdint>

namespace koralite::numtrans {

class Number {
 public:
  // The most digits that a number may be read from: any 18 digits fit 64 bits.
  static constexpr int MAX_SIZE = 18;

  // Digits in the written form, leading zeros and fraction included; -1 for a
  // value that was computed. It lets a digit string keep its leading zeros.
  std::int32_t length = 0;
  std::int64_t numerator = 0;
  std::int64_t denominator = 1;

  // Reads digits with at most one full stop, which may not come first; the
  // empty text is zero. False for anything else: a text above MAX_SIZE bytes
  // leaves the value alone, other failures leave the digits read so far.
  bool create(const char* text);

  // Strips the zeros at the end of the fraction, and their share of `length`.
  void normalize();

  // The truth values of the comparisons: 1 or 0, as computed values.
  static Number truth(bool value) { return {-1, value ? 1 : 0, 1}; }
};

// Each throws std::runtime_error("number calculation error in
// Number::operator?()") on a zero denominator (but for `*`), on overflow, and
// `/` on a zero divisor. Results are normalised, except those of `-`.
//
// Division truncates the quotient at the operands' common denominator and keeps
// that denominator: 7 / 2 is 3, while 1.5 / 0.5 is 0.3. Rules count on it.
Number operator+(const Number& a, const Number& b);
Number operator-(const Number& a, const Number& b);
Number operator*(const Number& a, const Number& b);
Number operator/(const Number& a, const Number& b);

// Cannot fail: the lowest value wraps to itself.
Number operator-(const Number& a);

// Numbers rather than truth values, so that rules can compute with the result.
Number operator>(const Number& a, const Number& b);
Number operator>=(const Number& a, const Number& b);
Number operator==(const Number& a, const Number& b);
Number operator!=(const Number& a, const Number& b);
Number operator<(const Number& a, const Number& b);
Number operator<=(const Number& a, const Number& b);

}  // namespace koralite::numtrans
