#include "common/parse_number.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

#include "common/classic_number.h"

namespace koralite::common {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Takes blanks and a sign off the front; whether the sign was a minus.
bool take_sign(std::string_view& text) {
  while (!text.empty() && (text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r'))) {
    text.remove_prefix(1);
  }
  if (text.empty() || (text.front() != '-' && text.front() != '+')) {
    return false;
  }
  const bool minus = text.front() == '-';
  text.remove_prefix(1);
  return minus;
}

std::size_t digits_at(std::string_view text, std::size_t from) {
  std::size_t end = from;
  while (end < text.size() && is_digit(text[end])) {
    ++end;
  }
  return end - from;
}

// The longest front of `text` that is a number: digits, a point and digits, an exponent.
std::string_view number_front(std::string_view text) {
  std::size_t end = digits_at(text, 0);
  std::size_t digits = end;
  if (end < text.size() && text[end] == '.') {
    const std::size_t fraction = digits_at(text, end + 1);
    digits += fraction;
    end += 1 + fraction;
  }
  if (digits == 0) {
    return {};
  }
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    std::size_t at = end + 1;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
      ++at;
    }
    if (const std::size_t exponent = digits_at(text, at)) {
      end = at + exponent;
    }
  }
  return text.substr(0, end);
}

// For a number that no double holds: whether it is too large rather than too small. Its decimal
// point lies more than 300 places off, so the place of the first digit and the exponent decide.
bool is_huge(std::string_view number) {
  const std::size_t e = number.find_first_of("eE");
  const std::string_view mantissa = number.substr(0, e);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) {
    return false;
  }
  std::int64_t place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  if (e != std::string_view::npos) {
    const std::int64_t exponent = parse_leading_int64(number.substr(e + 1));
    if (__builtin_add_overflow(place, exponent, &place)) {
      return exponent > 0;
    }
  }
  return place > 0;
}

}  // namespace

std::int64_t parse_leading_int64(std::string_view text) {
  const bool minus = take_sign(text);
  std::int64_t value = 0;
  for (const char c : text) {
    if (!is_digit(c)) {
      break;
    }
    const int digit = c - '0';
    if (__builtin_mul_overflow(value, std::int64_t{10}, &value) ||
        __builtin_add_overflow(value, std::int64_t{minus ? -digit : digit}, &value)) {
      return minus ? std::numeric_limits<std::int64_t>::min()
                   : std::numeric_limits<std::int64_t>::max();
    }
  }
  return value;
}

std::int32_t parse_leading_int(std::string_view text) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(parse_leading_int64(text)));
}

double parse_leading_double(std::string_view text) {
  const bool minus = take_sign(text);
  const std::string_view number = number_front(text);
  double value = 0;
  if (!number.empty()) {
#if defined(__cpp_lib_to_chars)
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool out_of_range = result.ec == std::errc::result_out_of_range;
#else
    const bool out_of_range = !classic_parse(std::string(number), value);
#endif
    if (out_of_range) {
      value = is_huge(number) ? std::numeric_limits<double>::infinity() : 0.0;
    }
  }
  return minus ? -value : value;
}

float parse_leading_float(std::string_view text) {
  const double value = parse_leading_double(text);
  // Values from here on round beyond the largest float; the bare conversion would be undefined.
  constexpr double kLimit = 0x1.ffffffp127;
  if (value >= kLimit) {
    return std::numeric_limits<float>::infinity();
  }
  if (value <= -kLimit) {
    return -std::numeric_limits<float>::infinity();
  }
  return static_cast<float>(value);
}

}  // namespace koralite::common
