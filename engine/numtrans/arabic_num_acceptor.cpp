#include "numtrans/arabic_num_acceptor.h"

#include <cstring>

#include "numtrans/category.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {
namespace {

constexpr int kDigit = 0;
constexpr int kPoint = 1;

// Whether the two bytes are the ending of an ordinal; any ending fits any number.
bool is_suffix(char first, char second) {
  return (first == 's' && second == 't') || (first == 'n' && second == 'd') ||
         (first == 'r' && second == 'd') || (first == 't' && second == 'h');
}

}  // namespace

bool ArabicNumAcceptor::read_token(const char*& cursor, int& type, int& value) const {
  if (*cursor == '.') {
    type = kPoint;
    value = 0;
  } else if (is_ascii_digit(*cursor)) {
    type = kDigit;
    value = *cursor - '0';
  } else {
    return false;
  }
  ++cursor;
  return true;
}

bool ArabicNumAcceptor::accept(const char*& cursor, const char* category, Number& result) const {
  result = Number{};
  int value = 0;
  switch (parse_category(category)) {
    case Category::kArabicDigit:
      if (!take(cursor, kDigit, value)) {
        return false;
      }
      result.numerator = value;
      result.length = 1;
      return true;
    case Category::kArabicDigits:
    case Category::kArabicInteger:
      return accept_digits(cursor, result);
    case Category::kArabicOrdinal:
      if (!accept_digits(cursor, result)) {
        return false;
      }
      if (!is_suffix(cursor[0], cursor[0] == '\0' ? '\0' : cursor[1])) {
        return false;
      }
      cursor += 2;
      return true;
    case Category::kArabicFloat:
      return accept_float(cursor, result);
    default:
      return false;
  }
}

bool ArabicNumAcceptor::accept_digits(const char*& cursor, Number& result) const {
  return accept_digit_run(cursor, kDigit, result);
}

bool ArabicNumAcceptor::accept_float(const char*& cursor, Number& result) const {
  int type = 0;
  int value = 0;
  bool fraction = false;
  while (true) {
    const char* const before = cursor;
    if (!read_token(cursor, type, value)) {
      break;
    }
    if (type == kPoint) {
      if (result.length == 0) {
        return false;
      }
      if (fraction) {
        cursor = before;
        break;
      }
      fraction = true;
      continue;
    }
    if (result.length == Number::MAX_SIZE) {
      break;  // taken, but dropped
    }
    result.numerator = result.numerator * 10 + value;
    if (fraction) {
      result.denominator *= 10;
    }
    ++result.length;
  }
  return fraction;
}

bool ArabicNumAcceptor::is_acceptable(char c) {
  return c == '.' || is_ascii_digit(c);
}

bool ArabicNumAcceptor::is_acceptable(const char* word) {
  return is_acceptable(word, word + std::strlen(word));
}

bool ArabicNumAcceptor::is_acceptable(const char* begin, const char* end) {
  while (begin != end && is_acceptable(*begin)) {
    ++begin;
  }
  return begin == end || (end - begin == 2 && is_suffix(begin[0], begin[1]));
}

}  // namespace koralite::numtrans
