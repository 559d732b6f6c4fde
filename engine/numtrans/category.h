// The names of the written forms that acceptors read and generators write.
//
// A category is named in rules in a short form, "(ei)", or a long one,
// "(english-integer)"; both mean the same. Stateless.
#pragma once

#include <string_view>

namespace koralite::numtrans {

enum class Category {
  none,
  arabic_digit,
  arabic_digits,
  arabic_integer,
  arabic_ordinal,
  arabic_float,
  chinese_digit,
  chinese_base,
  chinese_digits,
  chinese_integer,
  chinese_float,
  english_digit,
  english_base,
  english_digits,
  english_integer,
  english_ordinal,
  english_float,
};

// The category of that very name, brackets included; `none` for any other text.
Category parse_category(std::string_view name);

}  // namespace koralite::numtrans
