#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

struct Name {
  std::string_view brief;
  std::string_view full;
  Category category;
};

constexpr Name kNames[] = {
    {"(ad)", "(arabic-digit)", Category::kArabicDigit},
    {"(ads)", "(arabic-digits)", Category::kArabicDigits},
    {"(ai)", "(arabic-integer)", Category::kArabicInteger},
    {"(ao)", "(arabic-ordinal)", Category::kArabicOrdinal},
    {"(af)", "(arabic-float)", Category::kArabicFloat},
    {"(cd)", "(chinese-digit)", Category::kChineseDigit},
    {"(cb)", "(chinese-base)", Category::kChineseBase},
    {"(cds)", "(chinese-digits)", Category::kChineseDigits},
    {"(ci)", "(chinese-integer)", Category::kChineseInteger},
    {"(cf)", "(chinese-float)", Category::kChineseFloat},
    {"(ed)", "(english-digit)", Category::kEnglishDigit},
    {"(eb)", "(english-base)", Category::kEnglishBase},
    {"(eds)", "(english-digits)", Category::kEnglishDigits},
    {"(ei)", "(english-integer)", Category::kEnglishInteger},
    {"(eo)", "(english-ordinal)", Category::kEnglishOrdinal},
    {"(ef)", "(english-float)", Category::kEnglishFloat},
};

}  // namespace

Category parse_category(std::string_view name) {
  if (name.size() < 4 || name[0] != '(') {
    return Category::kNone;
  }
  const bool brief = name.size() <= 5;
  for (const Name& known : kNames) {
    if ((brief ? known.brief : known.full) == name) {
      return known.category;
    }
  }
  return Category::kNone;
}

}  // namespace koralite::numtrans
