#include "numtrans/category.h"

namespace koralite::numtrans {
namespace {

struct Name {
  std::string_view brief;
  std::string_view full;
  Category category;
};

constexpr Name NAMES[] = {
    {"(ad)", "(arabic-digit)", Category::arabic_digit},
    {"(ads)", "(arabic-digits)", Category::arabic_digits},
    {"(ai)", "(arabic-integer)", Category::arabic_integer},
    {"(ao)", "(arabic-ordinal)", Category::arabic_ordinal},
    {"(af)", "(arabic-float)", Category::arabic_float},
    {"(cd)", "(chinese-digit)", Category::chinese_digit},
    {"(cb)", "(chinese-base)", Category::chinese_base},
    {"(cds)", "(chinese-digits)", Category::chinese_digits},
    {"(ci)", "(chinese-integer)", Category::chinese_integer},
    {"(cf)", "(chinese-float)", Category::chinese_float},
    {"(ed)", "(english-digit)", Category::english_digit},
    {"(eb)", "(english-base)", Category::english_base},
    {"(eds)", "(english-digits)", Category::english_digits},
    {"(ei)", "(english-integer)", Category::english_integer},
    {"(eo)", "(english-ordinal)", Category::english_ordinal},
    {"(ef)", "(english-float)", Category::english_float},
};

}  // namespace

Category parse_category(std::string_view name) {
  if (name.size() < 4 || name[0] != '(') return Category::none;
  const bool brief = name.size() <= 5;
  for (const Name& known : NAMES) {
    if ((brief ? known.brief : known.full) == name) return known.category;
  }
  return Category::none;
}

}  // namespace koralite::numtrans
