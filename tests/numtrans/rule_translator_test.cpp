#include "numtrans/rule_translator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"

namespace koralite::numtrans {
namespace {

// Writes scrambled records, so that the engine's tests need no toolkit.
class RuleFile {
 public:
  explicit RuleFile(const std::vector<std::string>& lines, std::int32_t record_size = 11000)
      : path_(std::filesystem::temp_directory_path() /
              ("kora_rule_test_" + std::to_string(::getpid()))) {
    std::ofstream out(path_, std::ios::binary);
    for (int shift = 0; shift < 32; shift += 8) out.put(static_cast<char>(record_size >> shift));
    for (std::string record : lines) {
      for (std::size_t i = 0; i + 1 < record.size(); i += 2) {
        const int differ = (record[i] ^ record[i + 1]) & 0xAC;
        record[i] = static_cast<char>(record[i] ^ differ);
        record[i + 1] = static_cast<char>(record[i + 1] ^ differ);
      }
      for (char& c : record) {
        const auto byte = static_cast<unsigned char>(c);
        c = static_cast<char>(byte >> 3 | byte << 5);
      }
      record.resize(static_cast<std::size_t>(record_size), '\0');
      out << record;
    }
  }
  ~RuleFile() { std::filesystem::remove(path_); }
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

template <class Translator>
std::unique_ptr<Translator> make(const std::vector<std::string>& lines) {
  const RuleFile file(lines);
  return std::make_unique<Translator>(file.path().c_str());
}

// The translation and its type, "-" when there is none, or what was thrown.
std::string run(RuleTranslator& translator, const std::string& phrase) {
  std::string target;
  std::string type;
  try {
    return translator.translate(phrase, target, type) ? target + " " + type : "-";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

struct Case {
  std::vector<std::string> rules;
  std::string phrase;
  std::string expected;
};

TEST(RuleTranslator, EnglishToChinese) {
  const Case cases[] = {
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "twenty percent", "百分之二十 P"},
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "  twenty percent", "百分之二十 P"},
      {{"(english-integer) percent ||| (ci) ||| P"}, "five percent", "五 P"},
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "twenty percent now", "-"},
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "twenty percen", "-"},
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "percent", "-"},
      {{"(ei) percent ||| 百分之(ci) ||| P"}, "", "-"},
      // the first that fits wins, also from behind a rule that only begins alike
      {{"(ai) km ||| A ||| T", "(ai) ||| B ||| T", "(ai) ||| C ||| T"}, "5", "B T"},
      {{"(ai) (ai) ||| (ci)(ci) ||| T"}, "1 2", "一二 T"},
      // zero erases nothing before it
      {{"(ai) x ||| 第(ci)个 ||| T"}, "0 x", "第零个 T"},
      // each kind of variable is written as its own
      {{"(ao) of (eo) ||| (ads)/(cds) ||| T"}, "007th of twentieth", "007/二零 T"},
      {{"(af) ||| (cf) ||| T"}, "3.50", "三点五零 T"},
      // a number of more than 18 digits is refused, not cut
      {{"(ads) ||| (ads) ||| T"}, "123456789012345678", "123456789012345678 T"},
      {{"(ads) ||| (ads) ||| T"}, "1234567890123456789", "-"},
      {{"(ao) ||| (ai) ||| T"}, "1234567890123456789th", "-"},
      {{"(af) ||| (af) ||| T"}, "1.234567890123456789", "-"},
      // more variables written than read; a category for reading only
      {{"(ai) ||| (ai)(ai) ||| T", "(ai) ||| (ad) ||| T"}, "5", "-"},
      // what a failed rule wrote stays in front
      {{"(af) ||| x(ai) ||| T", "(af) ||| (af) ||| T"}, "2.5", "x2.5 T"},
      // patterns: nested, stray and unclosed parentheses
      {{"b ) ||| (ai ||| T"}, "b )", "(ai T"},
      {{"((ai)) ||| x ||| T"}, "5", "-"},
      {{"(zz) ||| x ||| T"}, "5", "-"},
      // lines of the wrong form match nothing and harm nobody
      {{"(ai) ||| x", "|||", "", "(ai) ||| a ||| b ||| c", "(ai) ||| 1 |||  ||| ok ||| T"},
       "5",
       "-"},
      {{"(ai) ||| x", "(ai) |||   |||   ||| ok ||| T"}, "5", "ok T"},
      {{"A ||| ||| B", "a ||| b ||| T"}, "a", "b T"},
      {{std::string(10240, 'a') + " ||| x ||| T", "(ai) ||| ok ||| T"}, "5", "ok T"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(run(*make<EcNumTranslator>(c.rules), c.phrase), c.expected)
        << c.rules[0].substr(0, 80) << " on " << c.phrase;
  }
}

TEST(RuleTranslator, ChineseToEnglish) {
  const Case cases[] = {
      {{"第(ci)名 ||| (eo) place ||| O"}, "第三名", "third place O"},
      {{"第(ci)名 ||| (eo) place ||| O"}, "第三名次", "-"},
      {{"(ai)年 ||| (ai) ||| D"}, "2024年", "2024 D"},
      {{"(cds)年 ||| (ai) ||| D"}, "二零二四年", "2024 D"},
      {{"(cds) ||| (ads) ||| D"}, "一二三四五六七八九零一二三四五六七八九", "-"},
      {{"(cf) ||| (ef) ||| N"}, "三点一四", "three point one four N"},
      {{"(ci) ||| (ei) ||| N"}, "零", "zero N"},
      {{"(ci) ||| (ei) ||| N"}, "三千三千", "-"},
      {{"(ci)\xE5 ||| x ||| N"}, "三\xE5", "x N"},  // broken UTF-8 is bytes like others
  };
  for (const Case& c : cases) {
    EXPECT_EQ(run(*make<CeNumTranslator>(c.rules), c.phrase), c.expected) << c.phrase;
  }
}

// Conditions and assignments over "6 20": s0 is 6, s1 is 20.
TEST(RuleTranslator, Expressions) {
  struct Expression {
    const char* condition;
    const char* assignments;
    const char* expected;  // written as (af) (af)
  };
  const Expression cases[] = {
      {"s0 > 5", " ", "6 20"},
      {"s0 > 6", " ", "-"},
      {"s0>=6&&s1<=20", " ", "6 20"},
      {"s0 == 6 || s1 == 1", " ", "6 20"},
      {"! s0", " ", "-"},
      {"s0 == 6 && ! s1", " ", "-"},
      {"s0 == 6 && ! 0", " ", "6 20"},
      {"s1 > s0 > 0", " ", "6 20"},
      {"- s0 + s1 == 14", " ", "6 20"},
      {"-(s0 + s1) < 0", " ", "-"},
      {"! s0 > 1", " ", "-"},
      {"s0 + - s1 < 0", " ", "-"},
      {"- s0 * s1 < 0", " ", "-"},
      {"(s0)", " ", "6 20"},
      {"((s0 + s1))", " ", "6 20"},
      {"(s0) + (s1)", " ", "-"},
      {"0 + (s0) + (s1)", " ", "6 20"},
      {"(s0 + s1", " ", "-"},
      {"s0 + s1)", " ", "-"},
      {"s2", " ", "-"},
      {"s99999999999", " ", "-"},
      {"s0 &", " ", "-"},
      {"s0 = 6", " ", "-"},
      {"()", " ", "-"},
      {"t0", " ", "-"},
      {"0 && s0 / 0", " ", "number calculation error in Number::operator/()"},
      {"1 || s9", " ", "-"},
      {"s9 && s0 / 0", " ", "-"},
      {" ", "t0 = s1 ; t1 = s0", "20 6"},
      {" ", "t0=s1;t1=s0;", "20 6"},
      {" ", "t0 = s1 / s0", "3 20"},
      {" ", "t0 = s1 - s0 - 4", "10 20"},
      {" ", "t0 = s0 + s1 * 2 - ( 6 - 4 )", "44 20"},
      {" ", "t0 = s1 * 0.01", "0.2 20"},
      {" ", "t0 = s0 > 5", "1 20"},
      {" ", "t1 = 3.50", "6 3.5"},
      {" ", "t1 = - s0", "-"},  // negative: cannot be written
      {" ", "t3 = s0", "6 20"},
      {" ", "t999 = s0", "6 20"},
      {" ", "t1000 = s0", "-"},
      {" ", "t1 = t0 + 1", "-"},
      {" ", ";", "-"},
      {" ", "t0 = 1 ; ; t1 = 2", "-"},
      {" ", "t0 = 1 ; t1", "-"},
      {" ", "t0 s1 s0", "-"},
      {" ", "t = s0", "-"},
      {" ", "s0 = 1", "-"},
      {" ", "t0 = s0 / (s1 - 20)", "number calculation error in Number::operator/()"},
      {" ", "t0 = 999999999999999999 * 999999999999999999",
       "number calculation error in Number::operator*()"},
  };
  for (const Expression& c : cases) {
    const auto translator =
        make<EcNumTranslator>({std::string("(ai) (ai) ||| ") + c.condition + " ||| " +
                               c.assignments + " ||| (af) (af) ||| T"});
    std::string expected = c.expected;
    if (expected != "-" && !expected.starts_with("number")) expected += " T";
    EXPECT_EQ(run(*translator, "6 20"), expected) << c.condition << " ; " << c.assignments;
  }
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
  const auto path = std::filesystem::temp_directory_path() / "kora_printed_rules";
  make<EcNumTranslator>(rules)->print_rules(path.c_str());
  std::ifstream in(path);
  for (const std::string& rule : rules) {
    std::string line;
    ASSERT_TRUE(std::getline(in, line));
    EXPECT_EQ(line, rule == "no rule" ? "" : rule);
  }
  std::filesystem::remove(path);
  EXPECT_THROW(make<EcNumTranslator>(rules)->print_rules("/no/such/folder/x"), std::runtime_error);
  EXPECT_THROW(EcNumTranslator("/no/such/file"), std::runtime_error);
}

}  // namespace
}  // namespace koralite::numtrans
