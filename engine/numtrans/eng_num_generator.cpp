#include "numtrans/eng_num_generator.h"

#include <array>
#include <cstddef>

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

constexpr std::int64_t kTrillion = 1000000000000;
// By group of three digits, the lowest first.
constexpr std::array<const char*, 4> kGroupSuffixes = {"", " thousand", " million", " billion"};
constexpr std::array<const char*, 4> kOrdinalSuffixes = {"th", "st", "nd", "rd"};

void write_hundreds(std::size_t value, std::string& out) {
  if (value >= 100) {
    out += EngNumGenerator::ENG_DIGITS[value / 100];
    out += " hundred";
    value %= 100;
    if (value != 0) {
      out += " and ";
    }
  }
  if (value != 0) {
    out += EngNumGenerator::ENG_DIGITS[value];
  }
}

// Writes a value from 1 on.
void write_cardinal(std::int64_t value, std::string& out) {
  if (value >= kTrillion) {
    write_cardinal(value / kTrillion, out);
    value %= kTrillion;
    out += value != 0 ? " trillion and " : " trillion";
    if (value == 0) {
      return;
    }
  }
  bool first = true;
  std::int64_t group_value = kTrillion / 1000;
  for (std::size_t group = kGroupSuffixes.size(); group-- > 0; group_value /= 1000) {
    const auto hundreds = static_cast<std::size_t>(value / group_value % 1000);
    if (hundreds == 0) {
      continue;
    }
    if (!first) {
      out += ' ';
    }
    first = false;
    write_hundreds(hundreds, out);
    out += kGroupSuffixes[group];
  }
}

}  // namespace

void EngNumGenerator::write_digits(const Number& number, std::string& out) {
  const auto value = static_cast<std::uint64_t>(number.numerator);
  bool first = true;
  for (const char digit : low_digits(value, digit_string_width(number))) {
    if (!first) {
      out += ' ';
    }
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
    case Category::kEnglishDigits:
      if (!is_plain_integer(number)) {
        return false;
      }
      write_digits(number, out);
      return true;
    case Category::kEnglishInteger:
      if (!is_plain_integer(number)) {
        return false;
      }
      write_integer(number.numerator, out);
      return true;
    case Category::kEnglishOrdinal: {
      if (!is_plain_integer(number)) {
        return false;
      }
      const std::int64_t value = number.numerator;
      if (value < 100) {
        out = ENG_ORDINAL_DIGITS[static_cast<std::size_t>(value)];
        return true;
      }
      const auto last = static_cast<std::size_t>(value % 10);
      out += std::to_string(value);
      out += kOrdinalSuffixes[last < kOrdinalSuffixes.size() ? last : 0];
      return true;
    }
    case Category::kEnglishFloat: {
      if (number.numerator < 0 || number.denominator <= 0) {
        return false;
      }
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
