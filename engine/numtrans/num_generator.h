// NumGenerator: writes a number in one notation.
//
// Generators hold nothing but constants and report by their result alone: they
// are safe from several threads.
#pragma once

#include <cstdint>
#include <string>

#include "numtrans/number.h"

namespace koralite::numtrans {

class NumGenerator {
 public:
  virtual ~NumGenerator() = default;

  // Appends the number, written in the category (short or long name), to `out`.
  // False when the category is not the generator's or the number does not suit
  // it (negative, or a fraction where an integer is wanted). Where a derived
  // class says so, `out` is replaced instead.
  virtual bool generate(const Number& number, const char* category, std::string& out) const = 0;
};

// A non-negative number without a fraction.
inline bool is_plain_integer(const Number& number) {
  return number.numerator >= 0 && number.denominator == 1;
}

// Decimal digits of a value, 1 for zero.
int count_decimal_digits(std::uint64_t value);

// How many digits a digit string of this number has: its written length, or for
// a computed number those of its value.
int digit_string_width(const Number& number);

// The lowest `width` decimal digits of a value, the highest first, zeros in
// front where there are no more.
std::string low_digits(std::uint64_t value, int width);

// The fraction of a number as a digit string of its own: as many digits as the
// denominator has zeros. False when it is zero.
bool split_fraction(const Number& number, Number& integer, Number& fraction);

}  // namespace koralite::numtrans
