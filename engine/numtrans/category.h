// The names of the written forms that acceptors read and generators write.
//
// A category is named in rules in a short form, "(ei)", or a long one,
// "(english-integer)"; both mean the same. Stateless.
#pragma once

#include <string_view>

namespace koralite::numtrans {

enum class Category {
  kNone,
  kArabicDigit,
  kArabicDigits,
  kArabicInteger,
  kArabicOrdinal,
  kArabicFloat,
  kChineseDigit,
  kChineseBase,
  kChineseDigits,
  kChineseInteger,
  kChineseFloat,
  kEnglishDigit,
  kEnglishBase,
  kEnglishDigits,
  kEnglishInteger,
  kEnglishOrdinal,
  kEnglishFloat,
};

// The category of that very name, brackets included; `none` for any other text.
Category parse_category(std::string_view name);

}  // namespace koralite::numtrans
