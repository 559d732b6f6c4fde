#include "numtrans/number.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace koralite::numtrans {
namespace {

[[noreturn]] void fail(const char* op) {
  throw std::runtime_error(std::string("number calculation error in Number::operator") + op + "()");
}

std::int64_t multiply(std::int64_t a, std::int64_t b, const char* op) {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    fail(op);
  }
  return product;
}

// Two numerators over one denominator.
struct Common {
  std::int64_t left;
  std::int64_t right;
  std::int64_t denominator;
};

Common scale(const Number& a, const Number& b, const char* op) {
  if (a.denominator <= 0 || b.denominator <= 0) {
    fail(op);
  }
  if (a.denominator <= b.denominator) {
    return {multiply(a.numerator, b.denominator / a.denominator, op), b.numerator, b.denominator};
  }
  return {a.numerator, multiply(b.numerator, a.denominator / b.denominator, op), a.denominator};
}

// Comparisons multiply by the whole other denominator before they divide by
// their own, so they run out of 64 bits sooner than sums do.
Common scale_to_compare(const Number& a, const Number& b, const char* op) {
  if (a.denominator <= 0 || b.denominator <= 0) {
    fail(op);
  }
  if (a.denominator <= b.denominator) {
    return {multiply(a.numerator, b.denominator, op) / a.denominator, b.numerator, b.denominator};
  }
  return {a.numerator, multiply(b.numerator, a.denominator, op) / b.denominator, a.denominator};
}

Number computed(std::int64_t numerator, std::int64_t denominator) {
  Number result{0, numerator, denominator};
  result.normalize();
  result.length = -1;
  return result;
}

}  // namespace

bool Number::create(const char* text) {
  if (std::strlen(text) > static_cast<std::size_t>(MAX_SIZE)) {
    return false;
  }
  *this = Number{};
  bool fraction = false;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '.' && !fraction && p != text) {
      fraction = true;
      continue;
    }
    if (*p < '0' || *p > '9') {
      return false;
    }
    numerator = numerator * 10 + (*p - '0');
    if (fraction) {
      denominator *= 10;
    }
    ++length;
  }
  normalize();
  return true;
}

void Number::normalize() {
  while (denominator > 9 && numerator % 10 == 0) {
    numerator /= 10;
    denominator /= 10;
    if (length >= 0) {
      --length;
    }
  }
}

Number operator+(const Number& a, const Number& b) {
  const Common c = scale(a, b, "+");
  std::int64_t sum = 0;
  if (__builtin_add_overflow(c.left, c.right, &sum)) {
    fail("+");
  }
  return computed(sum, c.denominator);
}

Number operator-(const Number& a, const Number& b) {
  const Common c = scale(a, b, "-");
  std::int64_t difference = 0;
  if (__builtin_sub_overflow(c.left, c.right, &difference)) {
    fail("-");
  }
  // Not normalised: rules see the zeros that a difference leaves.
  return {-1, difference, c.denominator};
}

Number operator-(const Number& a) {
  const auto negated = std::uint64_t{0} - static_cast<std::uint64_t>(a.numerator);
  return {-1, static_cast<std::int64_t>(negated), a.denominator};
}

Number operator*(const Number& a, const Number& b) {
  return computed(multiply(a.numerator, b.numerator, "*"),
                  multiply(a.denominator, b.denominator, "*"));
}

Number operator/(const Number& a, const Number& b) {
  if (b.numerator == 0) {
    fail("/");
  }
  const Common c = scale(a, b, "/");
  if (c.right == -1 && c.left == std::numeric_limits<std::int64_t>::min()) {
    fail("/");
  }
  return computed(c.left / c.right, c.denominator);
}

Number operator>(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, ">");
  return Number::truth(c.left > c.right);
}

Number operator>=(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, ">=");
  return Number::truth(c.left >= c.right);
}

Number operator==(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, "==");
  return Number::truth(c.left == c.right);
}

Number operator!=(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, "!=");
  return Number::truth(c.left != c.right);
}

Number operator<(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, "<");
  return Number::truth(c.left < c.right);
}

Number operator<=(const Number& a, const Number& b) {
  const Common c = scale_to_compare(a, b, "<=");
  return Number::truth(c.left <= c.right);
}

}  // namespace koralite::numtrans
