#include "numtrans/eng_num_generator.h"

#include <array>
#include <cstddef>

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

constexpr std::int64_t TRILLION = 1000000000000;
// By group of three digits, the lowest first.
constexpr std::array<const char*, 4> GROUP_SUFFIXES = {"", " thousand", " million", " billion"};
constexpr std::array<const char*, 4> ORDINAL_SUFFIXES = {"th", "st", "nd", "rd"};

void write_hundreds(std::size_t value, std::string& out) {
  if (value >= 100) {
    out += EngNumGenerator::ENG_DIGITS[value / 100];
    out += " hundred";
    value %= 100;
    if (value != 0) out += " and ";
  }
  if (value != 0) out += EngNumGenerator::ENG_DIGITS[value];
}

// Writes a value from 1 on.
void write_cardinal(std::int64_t value, std::string& out) {
  if (value >= TRILLION) {
    write_cardinal(value / TRILLION, out);
    value %= TRILLION;
    out += value != 0 ? " trillion and " : " trillion";
    if (value == 0) return;
  }
  bool first = true;
  std::int64_t group_value = TRILLION / 1000;
  for (std::size_t group = GROUP_SUFFIXES.size(); group-- > 0; group_value /= 1000) {
    const auto hundreds = static_cast<std::size_t>(value / group_value % 1000);
    if (hundreds == 0) continue;
    if (!first) out += ' ';
    first = false;
    write_hundreds(hundreds, out);
    out += GROUP_SUFFIXES[group];
  }
}

}  // namespace

void EngNumGenerator::write_digits(const Number& number, std::string& out) {
  const auto value = static_cast<std::uint64_t>(number.numerator);
  bool first = true;
  for (const char digit : low_digits(value, digit_string_width(number))) {
    if (!first) out += ' ';
    first = false;
    out += ENG_DIGITS[static_cast<std::size_t>(digit - '0')];
  }
}

void EngNumGenerator::write_integer(std::int64_t value, std::string& out) {
  if (value == 0) {
    out = ENG_DIGITS[0];
    return;
  }
  write_cardinal(value, out);
}

bool EngNumGenerator::generate(const Number& number, const char* category, std::string& out) const {
  switch (parse_category(category)) {
    case Category::english_digits:
      if (!is_plain_integer(number)) return false;
      write_digits(number, out);
      return true;
    case Category::english_integer:
      if (!is_plain_integer(number)) return false;
      write_integer(number.numerator, out);
      return true;
    case Category::english_ordinal: {
      if (!is_plain_integer(number)) return false;
      const std::int64_t value = number.numerator;
      if (value < 100) {
        out = ENG_ORDINAL_DIGITS[static_cast<std::size_t>(value)];
        return true;
      }
      const auto last = static_cast<std::size_t>(value % 10);
      out += std::to_string(value);
      out += ORDINAL_SUFFIXES[last < ORDINAL_SUFFIXES.size() ? last : 0];
      return true;
    }
    case Category::english_float: {
      if (number.numerator < 0 || number.denominator <= 0) return false;
      Number integer;
      Number fraction;
      const bool has_fraction = split_fraction(number, integer, fraction);
      write_integer(integer.numerator, out);
      if (has_fraction) {
        out += " point ";
        write_digits(fraction, out);
      }
      return true;
    }
    default:
      return false;
  }
}

}  // namespace koralite::numtrans
