#include "numtrans/eng_num_acceptor.h"

#include <cstddef>
#include <cstring>

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

constexpr int kDigit = 0;
constexpr int kBase = 1;
constexpr int kPoint = 2;
constexpr int kOrdinal = 3;
constexpr int kOrdinalBase = 4;
constexpr int kAnd = 5;
constexpr int kDouble = 6;
constexpr int kHundred = 7;
constexpr int kHundredth = 8;

constexpr std::int64_t kOrdinalHundred = 100;

int digits_of(std::int64_t value) {
  return value < 10 ? 1 : 2;
}

}  // namespace

EngNumAcceptor::EngNumAcceptor() {
  for (std::size_t i = 0; i < ENG_DIGITS.size(); ++i) {
    tokens_.insert(ENG_DIGITS[i], {kDigit, static_cast<std::int32_t>(i)});
    tokens_.insert(ENG_ORDINAL_DIGITS[i], {kOrdinal, static_cast<std::int32_t>(i)});
  }
  for (std::size_t i = 0; i < ENG_BASES.size(); ++i) {
    tokens_.insert(ENG_BASES[i], {kBase, static_cast<std::int32_t>(i)});
    tokens_.insert(ENG_ORDINAL_BASES[i], {kOrdinalBase, static_cast<std::int32_t>(i)});
  }
  tokens_.insert(ENG_A, {kDigit, 1});
  tokens_.insert(ENG_POINT, {kPoint, 0});
  tokens_.insert(ENG_AND, {kAnd, 0});
  tokens_.insert(ENG_DOUBLE, {kDouble, 0});
  tokens_.insert(ENG_HUNDRED, {kHundred, 0});
  tokens_.insert(ENG_HUNDREDTH, {kHundredth, 0});
}

void EngNumAcceptor::get_keywords(std::vector<const char*>& words) const {
  words = {ENG_A, ENG_AND, ENG_DOUBLE, ENG_POINT, ENG_HUNDRED, ENG_HUNDREDTH};
  words.insert(words.end(), ENG_DIGITS.begin(), ENG_DIGITS.end());
  words.insert(words.end(), ENG_BASES.begin(), ENG_BASES.end());
  words.insert(words.end(), ENG_ORDINAL_DIGITS.begin(), ENG_ORDINAL_DIGITS.end());
  words.insert(words.end(), ENG_ORDINAL_BASES.begin(), ENG_ORDINAL_BASES.end());
}

bool EngNumAcceptor::read_token(const char*& cursor, int& type, int& value) const {
  const char* const word = cursor + std::strspn(cursor, " ");
  const std::size_t length = std::strcspn(word, " ");
  token_t token{};
  if (length == 0 || !tokens_.find(word, length, token)) {
    return false;
  }
  type = token.type;
  value = token.value;
  cursor = word + length;
  return true;
}

bool EngNumAcceptor::accept(const char*& cursor, const char* category, Number& result) const {
  result = Number{};
  int value = 0;
  switch (parse_category(category)) {
    case Category::kEnglishDigit:
      if (!take(cursor, kDigit, value)) {
        return false;
      }
      result.numerator = value;
      result.length = digits_of(value);
      return true;
    case Category::kEnglishBase:
      if (!take(cursor, kBase, value)) {
        return false;
      }
      result.numerator = ENG_BASE_VALUES[static_cast<std::size_t>(value)];
      result.length = ENG_BASE_SIZES[static_cast<std::size_t>(value)];
      return true;
    case Category::kEnglishDigits:
      return accept_digits(cursor, result);
    case Category::kEnglishInteger:
      return accept_integer(cursor, result);
    case Category::kEnglishOrdinal:
      return accept_ordinal(cursor, result);
    case Category::kEnglishFloat:
      return accept_float(cursor, result);
    default:
      return false;
  }
}

// Each word writes one digit or two, twice after "double". A word that would
// pass the limit ends the run in front of it.
bool EngNumAcceptor::accept_digits(const char*& cursor, Number& result) const {
  int type = 0;
  int value = 0;
  while (true) {
    const char* const before = cursor;
    if (!read_token(cursor, type, value)) {
      break;
    }
    int times = 1;
    if (type == kDouble) {
      times = 2;
      if (!read_token(cursor, type, value)) {
        type = kDouble;
      }
    }
    const int width = digits_of(value);
    if (type != kDigit || result.length + times * width > Number::MAX_SIZE) {
      cursor = before;
      break;
    }
    for (; times > 0; --times) {
      result.numerator = result.numerator * (width == 1 ? 10 : 100) + value;
      result.length += width;
    }
  }
  return result.length > 0;
}

bool EngNumAcceptor::accept_integer(const char*& cursor, Number& result) const {
  enum class State { kStart, kDigit, kHundred, kHundredAnd, kHundredDigit };
  State state = State::kStart;
  std::int64_t group = 0;     // below 1000
  int group_length = 0;       // its digits
  const char* end = nullptr;  // where the number ends when "and" leads nowhere
  int type = 0;
  int value = 0;

  const auto finish = [&](const char* at) {
    cursor = at;
    if (__builtin_add_overflow(result.numerator, group, &result.numerator)) {
      return false;
    }
    if (group_length >= result.length) {
      result.length = group_length;
    }
    return result.length > 0;
  };

  while (true) {
    const char* const before = cursor;
    if (!read_token(cursor, type, value)) {
      if (group_length == 0) {
        return false;
      }
      const char* const at = state == State::kHundredAnd ? end : before;
      if (result.numerator == 0) {
        result.length = 0;  // then the last group decides
      }
      return finish(at);
    }
    if (type == kBase && state != State::kStart && state != State::kHundredAnd) {
      const auto index = static_cast<std::size_t>(value);
      const std::int64_t base = ENG_BASE_VALUES[index];
      if (result.numerator != 0) {
        // "two thousand three million" is two numbers.
        if (result.numerator <= base) {
          return finish(before);
        }
        std::int64_t product = 0;
        if (__builtin_mul_overflow(group, base, &product) ||
            __builtin_add_overflow(result.numerator, product, &result.numerator)) {
          return false;
        }
      } else {
        result.numerator = group * base;
        result.length = result.numerator == 0 ? 1 : group_length + ENG_BASE_SIZES[index] - 1;
      }
      group = 0;
      group_length = 1;
      state = State::kStart;
      continue;
    }
    switch (state) {
      case State::kStart:
        if (type != kDigit) {
          cursor = before;
          return result.length > 0;
        }
        group = value;
        group_length = digits_of(value);
        state = State::kDigit;
        break;
      case State::kDigit:
        if (type != kHundred || group > 9) {
          return finish(before);
        }
        group *= 100;
        if (group != 0) {
          group_length += 2;
        }
        state = State::kHundred;
        break;
      case State::kHundred:
        if (type == kAnd) {
          end = before;
          state = State::kHundredAnd;
          break;
        }
        if (type != kDigit) {
          return finish(before);
        }
        group += value;
        state = State::kHundredDigit;
        break;
      case State::kHundredAnd:
        if (type != kDigit) {
          return finish(end);
        }
        group += value;
        state = State::kHundredDigit;
        break;
      case State::kHundredDigit:
        return finish(before);
    }
  }
}

bool EngNumAcceptor::accept_ordinal(const char*& cursor, Number& result) const {
  const char* const start = cursor;
  int type = 0;
  int value = 0;
  if (!accept_integer(cursor, result)) {
    cursor = start;
    result = Number{};
    if (!read_token(cursor, type, value)) {
      return false;
    }
    const auto index = static_cast<std::size_t>(value);
    switch (type) {
      case kOrdinal:
        result.numerator = value;
        result.length = digits_of(value);
        return true;
      case kHundredth:
        result.numerator = kOrdinalHundred;
        result.length = 3;
        return true;
      case kOrdinalBase:
        result.numerator = ENG_BASE_VALUES[index];
        result.length = ENG_BASE_SIZES[index];
        return true;
      default:
        return false;
    }
  }

  std::int64_t& number = result.numerator;
  const auto add = [&number](std::int64_t count, std::int64_t factor) {
    std::int64_t product = 0;
    return !__builtin_mul_overflow(count, factor, &product) &&
           !__builtin_add_overflow(number, product, &number);
  };
  if (!read_token(cursor, type, value)) {
    return false;
  }
  if (type == kAnd && (!read_token(cursor, type, value) || type != kOrdinal)) {
    return false;
  }
  switch (type) {
    case kOrdinal:
      return number >= 100 && number % 100 == 0 && add(value, 1);
    case kHundredth:  // the last digit becomes hundreds
      if (number % 1000 > 9) {
        return false;
      }
      if (result.length == 1) {
        result.length = 3;
      }
      return add(number % 1000, kOrdinalHundred - 1);
    case kOrdinalBase: {
      const auto index = static_cast<std::size_t>(value);
      const std::int64_t base = ENG_BASE_VALUES[index];
      if (number <= 999) {
        result.length += ENG_BASE_SIZES[index] - 1;
        number *= base;
        return true;
      }
      const std::int64_t group = number % (base * 1000);
      return group <= 999 && add(group, base - 1);
    }
    default:
      return false;
  }
}

bool EngNumAcceptor::accept_float(const char*& cursor, Number& result) const {
  Number fraction;
  int type = 0;
  int value = 0;
  if (!accept_integer(cursor, result)) {
    return false;
  }
  if (!read_token(cursor, type, value) || type != kPoint) {
    return false;
  }
  return accept_digits(cursor, fraction) && join_fraction(result, fraction);
}

}  // namespace koralite::numtrans
