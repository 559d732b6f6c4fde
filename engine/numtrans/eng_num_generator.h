// EngNumGenerator: writes numbers in English words. Stateless.
#pragma once

#include "numtrans/num_generator.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {

class EngNumGenerator : public NumGenerator {
 public:
  static constexpr const auto& ENG_DIGITS = kEngDigitWords;
  static constexpr const auto& ENG_ORDINAL_DIGITS = kEngOrdinalWords;

  // Categories (eds), (ei), (eo), (ef). A zero as (ei), also as the integer part
  // of an (ef), and an (eo) below 100 replace `out`. From 100 on an (eo) is
  // abbreviated, by its last digit alone: 111st.
  bool generate(const Number& number, const char* category, std::string& out) const override;

 private:
  static void write_digits(const Number& number, std::string& out);
  static void write_integer(std::int64_t value, std::string& out);
};

}  // namespace koralite::numtrans
