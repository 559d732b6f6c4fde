#include "numtrans/rule_translator.h"

#include <gtest/gtest.h>

#include <cctype>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "support/cases.h"
#include "support/temp_folder.h"

namespace koralite::numtrans {
namespace {

using kora_test::Case;
using kora_test::for_cases;

template <class Translator>
std::unique_ptr<Translator> make(const std::vector<std::string>& lines) {
  const kora_test::TempFolder folder;
  return std::make_unique<Translator>(folder.write_lines("rules", lines).c_str());
}

// The translation and its type, "-" when there is none, or what was thrown.
std::string run(RuleTranslator& translator, const std::string& phrase) {
  std::string target;
  std::string type;
  bool found = false;
  std::string error =
      kora_test::message_of([&] { found = translator.translate(phrase, target, type); });
  const std::string number = "number calculation error in Number::operator";
  if (error.starts_with(number)) {
    return "! " + error.substr(number.size(), error.size() - number.size() - 2);
  }
  return !error.empty() ? error : found ? target + " " + type : "-";
}

template <class Translator>
void check(const char* section) {
  for_cases("cases.txt", section, [](const Case& c) {
    const std::vector<std::string> rules(c.cells.begin() + 2, c.cells.end());
    EXPECT_EQ(run(*make<Translator>(rules), c[0]), c[1]);
  });
}

TEST(RuleTranslator, TranslatesWhatTheTablesSay) {
  check<EcNumTranslator>("English to Chinese");
  check<CeNumTranslator>("Chinese to English");
  const std::string overlong = std::string(10240, 'a') + " ||| x ||| T";
  EXPECT_EQ(run(*make<EcNumTranslator>({overlong, "(ai) ||| ok ||| T"}), "5"), "ok T");
}

// Conditions and assignments over "6 20": s0 is 6, s1 is 20.
TEST(RuleTranslator, Expressions) {
  for_cases("cases.txt", "expressions", [](const Case& c) {
    const auto translator =
        make<EcNumTranslator>({"(ai) (ai) ||| " + c[0] + " ||| " + c[1] + " ||| (af) (af) ||| T"});
    EXPECT_EQ(run(*translator, "6 20"), std::isdigit(c[2][0]) != 0 ? c[2] + " T" : c[2]);
  });
}

TEST(RuleTranslator, VeryDeepExpressionsAreImpossible) {
  for (const std::size_t depth : {100U, 4000U}) {
    const std::string rule = "(ai) ||| " + std::string(depth, '(') + "s0" +
                             std::string(depth, ')') + " |||   ||| (ai) ||| T";
    EXPECT_EQ(run(*make<EcNumTranslator>({rule}), "5"), depth == 100 ? "5 T" : "-");
  }
}

TEST(RuleTranslator, KeywordFilter) {
  const auto english = make<EcNumTranslator>({"(ai) km / h ||| x ||| T"});
  for (const char* yes :
       {"5 km", "h / km", "twenty-one", "and a point", "3.5 21st", " 5  6 ", ""}) {
    EXPECT_TRUE(english->is_acceptable(yes)) << yes;
  }
  for (const char* no : {"5km", "miles", "5 Km", "5 km per h", "20%"}) {
    EXPECT_FALSE(english->is_acceptable(no)) << no;
  }
  std::string longest = std::string(10238, ' ') + "5";
  EXPECT_TRUE(english->is_acceptable(longest.c_str()));
  EXPECT_FALSE(english->is_acceptable((longest + "5").c_str()));

  const auto chinese = make<CeNumTranslator>({"第(ci)名/\xFF ||| x ||| T"});
  for (const char* yes : {"第三", "名名", "3.5", "百", "/", "\xFF"}) {
    EXPECT_TRUE(chinese->is_acceptable(yes)) << yes;
  }
  for (const char* no : {"第x", "个", "%", "\xE7", "\xE7\xAC", "\x80"}) {
    EXPECT_FALSE(chinese->is_acceptable(no)) << no;
  }
}

TEST(RuleTranslator, PrintsItsRules) {
  const std::vector<std::string> rules = {"(ai) km ||| (ai)公里 ||| QTY", "no rule",
                                          "(ai) ||| s0 > 1 && s0 < 9 |||   ||| (ci) ||| NUM",
                                          "(ai) |||   ||| t0 = s0 * 2 ; t1 = ( 3 ) ||| x ||| NUM"};
  const kora_test::TempFolder folder;
  make<EcNumTranslator>(rules)->print_rules(folder.path("printed").c_str());
  EXPECT_EQ(kora_test::read_file(folder.path("printed")),
            rules[0] +
                "\n\n(ai) ||| s0>1&&s0<9 |||   ||| (ci) ||| NUM\n"
                "(ai) |||   ||| t0=s0*2;t1=(3) ||| x ||| NUM\n");
  // A line just below the limit, and tokens that would join, read back as they were.
  std::string longest = "(ai) ||| s0>0";
  while (longest.size() < 10180) {
    longest += "&&s0>0";
  }
  const std::vector<std::string> odd = {longest + " |||   ||| x ||| NUM",
                                        "(ai) ||| s0 s1! =1& &2> =3= =4 |||   ||| x ||| NUM"};
  make<EcNumTranslator>(odd)->print_rules(folder.path("printed").c_str());
  EXPECT_EQ(kora_test::read_file(folder.path("printed")), odd[0] + "\n" + odd[1] + "\n");
  EXPECT_THROW(make<EcNumTranslator>(rules)->print_rules("/no/such/folder/x"), std::runtime_error);
  EXPECT_THROW(EcNumTranslator("/no/such/file"), std::runtime_error);
}

}  // namespace
}  // namespace koralite::numtrans
