#include "numtrans/arabic_num_generator.h"

#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

const char* ordinal_suffix(std::int64_t value) {
  if (value / 10 % 10 == 1) {
    return "th";
  }
  switch (value % 10) {
    case 1:
      return "st";
    case 2:
      return "nd";
    case 3:
      return "rd";
    default:
      return "th";
  }
}

}  // namespace

bool ArabicNumGenerator::generate(const Number& number, const char* category,
                                  std::string& out) const {
  switch (parse_category(category)) {
    case Category::kArabicDigits:
      if (!is_plain_integer(number)) {
        return false;
      }
      out += low_digits(static_cast<std::uint64_t>(number.numerator), digit_string_width(number));
      return true;
    case Category::kArabicInteger:
      if (!is_plain_integer(number)) {
        return false;
      }
      out += std::to_string(number.numerator);
      return true;
    case Category::kArabicOrdinal:
      if (!is_plain_integer(number)) {
        return false;
      }
      out += std::to_string(number.numerator);
      out += ordinal_suffix(number.numerator);
      return true;
    case Category::kArabicFloat: {
      if (number.numerator < 0 || number.denominator <= 0) {
        return false;
      }
      Number integer;
      Number fraction;
      const bool has_fraction = split_fraction(number, integer, fraction);
      out += std::to_string(integer.numerator);
      if (has_fraction) {
        out += '.';
        out += low_digits(static_cast<std::uint64_t>(fraction.numerator), fraction.length);
      }
      return true;
    }
    default:
      return false;
  }
}

}  // namespace koralite::numtrans
