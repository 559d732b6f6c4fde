// ChsNumGenerator: writes numbers in Chinese numerals. Stateless.
#pragma once

#include "numtrans/num_generator.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {

class ChsNumGenerator : public NumGenerator {
 public:
  static constexpr const auto& CHS_DIGITS = kChsDigitWords;
  static constexpr const auto& CHS_BASES = kChsBaseWords;
  static constexpr const auto& CHS_BASE_VALUES = CHS_BASE_NUMBERS;
  static constexpr const char* CHS_ZERO = "零";
  static constexpr const char* CHS_POINT = "点";

  // Categories (cds), (ci), (cf). A zero as (ci), also as the integer part of a
  // (cf), replaces `out`. (cds) looks at neither sign nor denominator.
  bool generate(const Number& number, const char* category, std::string& out) const override;

 private:
  static void write_digits(const Number& number, std::string& out);
  static void write_integer(std::int64_t value, std::string& out);
};

}  // namespace koralite::numtrans
