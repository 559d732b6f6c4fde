// Runs the tables of this folder (acceptors.txt, generators.txt), and writes
// numbers out and reads them back.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "numtrans/arabic_num_acceptor.h"
#include "numtrans/arabic_num_generator.h"
#include "numtrans/chs_num_acceptor.h"
#include "numtrans/chs_num_generator.h"
#include "numtrans/eng_num_acceptor.h"
#include "numtrans/eng_num_generator.h"

namespace koralite::numtrans {
namespace {

struct Row {
  int line;
  std::vector<std::string> cells;
};

std::vector<Row> read_table(const std::string& name) {
  std::ifstream in(std::string(KORA_TEST_DATA "/") + name);
  std::vector<Row> rows;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    Row row{number, {}};
    line += " |";
    for (std::size_t end; (end = line.find('|')) != std::string::npos; line.erase(0, end + 1)) {
      std::string cell = line.substr(0, end);
      cell.erase(0, cell.find_first_not_of(' '));
      cell.erase(cell.find_last_not_of(' ') + 1);
      for (std::size_t i = 0; i < cell.size() && cell[i] == '_'; ++i) cell[i] = ' ';
      row.cells.push_back(cell);
    }
    row.cells.resize(5);
    rows.push_back(row);
  }
  return rows;
}

Number parse_value(const std::string& text) {
  Number number;
  const std::size_t slash = text.find('/');
  number.numerator = std::stoll(text);
  if (slash != std::string::npos) number.denominator = std::stoll(text.substr(slash + 1));
  return number;
}

struct Notations {
  ArabicNumAcceptor arabic_in;
  ChsNumAcceptor chinese_in;
  EngNumAcceptor english_in;
  ArabicNumGenerator arabic_out;
  ChsNumGenerator chinese_out;
  EngNumGenerator english_out;

  const NumAcceptor& in(char letter) const {
    if (letter == 'a') return arabic_in;
    if (letter == 'c') return chinese_in;
    return english_in;
  }
  const NumGenerator& out(char letter) const {
    if (letter == 'a') return arabic_out;
    if (letter == 'c') return chinese_out;
    return english_out;
  }
};

TEST(NumberTables, AcceptorsReadWhatTheTableSays) {
  const Notations notations;
  const std::vector<Row> rows = read_table("acceptors.txt");
  ASSERT_GT(rows.size(), 100U);
  for (const auto& [line, cells] : rows) {
    SCOPED_TRACE("acceptors.txt:" + std::to_string(line));
    const char* cursor = cells[1].c_str();
    Number number{99, 99, 99};  // to be cleared
    const bool accepted = notations.in(cells[0][1]).accept(cursor, cells[0].c_str(), number);
    EXPECT_EQ(accepted, cells[2] != "-");
    if (!accepted) continue;
    const Number expected = parse_value(cells[2]);
    EXPECT_EQ(number.numerator, expected.numerator);
    EXPECT_EQ(number.denominator, expected.denominator);
    EXPECT_EQ(number.length, std::stoi(cells[3]));
    EXPECT_STREQ(cursor, cells[4].c_str());
  }
}

TEST(NumberTables, GeneratorsWriteWhatTheTableSays) {
  const Notations notations;
  const std::vector<Row> rows = read_table("generators.txt");
  ASSERT_GT(rows.size(), 50U);
  for (const auto& [line, cells] : rows) {
    SCOPED_TRACE("generators.txt:" + std::to_string(line));
    Number number = parse_value(cells[1]);
    number.length = std::stoi(cells[2]);
    std::string out;
    const bool written = notations.out(cells[0][1]).generate(number, cells[0].c_str(), out);
    ASSERT_EQ(written, cells[3] != "-");
    EXPECT_EQ(out, written ? cells[3] : "");
  }
}

TEST(NumberTables, WritersAppendButForZeroAndSmallOrdinals) {
  const Notations notations;
  struct Case {
    const char* category;
    std::int64_t value;
    const char* expected;
  };
  constexpr Case cases[] = {{"(ai)", 0, "x0"},       {"(ci)", 0, "零"},       {"(ci)", 11, "x十一"},
                            {"(ei)", 0, "zero"},     {"(ei)", 11, "xeleven"}, {"(eo)", 3, "third"},
                            {"(eo)", 103, "x103rd"}, {"(cds)", 0, "x零"}};
  for (const Case& c : cases) {
    std::string out = "x";
    ASSERT_TRUE(notations.out(c.category[1]).generate({-1, c.value, 1}, c.category, out));
    EXPECT_EQ(out, c.expected);
  }
  std::string out = "x";  // a zero before the point is a zero like any other
  ASSERT_TRUE(notations.chinese_out.generate({-1, 5, 10}, "(cf)", out));
  EXPECT_EQ(out, "零点五");
}

TEST(NumberTables, ArabicWordsAreKnownByTheirBytes) {
  for (const char* yes : {"5", "3.14", "...", "21st", "2th", "3.5nd", "", "th"}) {
    EXPECT_TRUE(ArabicNumAcceptor::is_acceptable(yes)) << yes;
  }
  for (const char* no : {"5a", "21sts", "s", "-5", "1,000", "st2", "5s"}) {
    EXPECT_FALSE(ArabicNumAcceptor::is_acceptable(no)) << no;
  }
}

TEST(NumberTables, KeywordsAreTheWholeVocabularyInOrder) {
  std::vector<const char*> words = {"to be cleared"};
  ChsNumAcceptor().get_keywords(words);
  ASSERT_EQ(words.size(), 18U);
  EXPECT_STREQ(words[0], "点");
  EXPECT_STREQ(words[1], "两");
  EXPECT_STREQ(words[2], "十");
  EXPECT_STREQ(words.back(), "九");
  EngNumAcceptor().get_keywords(words);
  ASSERT_EQ(words.size(), 214U);
  EXPECT_STREQ(words[5], "hundredth");
  EXPECT_STREQ(words[6], "zero");
  EXPECT_STREQ(words[106], "thousand");
  EXPECT_STREQ(words[110], "zeroth");
  EXPECT_STREQ(words.back(), "trillionth");
}

// Reads a whole text back; false when anything is left over.
bool read_back(const NumAcceptor& acceptor, const char* category, const std::string& text,
               Number& number) {
  const char* cursor = text.c_str();
  return acceptor.accept(cursor, category, number) && *cursor == '\0';
}

// bench_numbers --round-trips does this for every integer below a million and a
// million others; here is a sample, with what cannot be read back.
TEST(NumberTables, WhatIsWrittenIsReadBack) {
  const Notations notations;
  std::mt19937_64 random(7);
  constexpr std::int64_t trillion = 1000000000000;
  for (int i = 0; i < 40000; ++i) {
    std::int64_t limit = 10;
    for (auto digits = random() % 18; digits > 0; --digits) limit *= 10;
    auto value = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(limit));
    // Round numbers are where units and zeros meet.
    std::int64_t step = 1;
    for (auto digits = random() % 18; digits > 0; --digits) step *= 10;
    if (i % 2 == 0 && value > step) value = value / step * step;
    const Number number{-1, value, 1};
    const std::int64_t trillions = value / trillion;
    const std::int64_t rest = value % trillion;
    const bool english = value < trillion || (rest == 0 && trillions < 1000);
    const bool chinese = trillions == 0 || trillions % 100000 != 0;
    struct Way {
      const char* category;
      bool readable;
    };
    for (const Way way : {Way{"(ai)", true}, Way{"(ads)", true}, Way{"(ao)", true},
                          Way{"(cds)", true}, Way{"(ci)", chinese}, Way{"(eds)", true},
                          Way{"(ei)", english}, Way{"(eo)", value < 100}}) {
      std::string text;
      ASSERT_TRUE(notations.out(way.category[1]).generate(number, way.category, text));
      Number back;
      const bool read = read_back(notations.in(way.category[1]), way.category, text, back);
      ASSERT_EQ(read && back.numerator == value, way.readable) << way.category << ' ' << text;
    }
  }
}

TEST(NumberTables, FractionsAreReadBackDigitByDigit) {
  const Notations notations;
  for (const char* category : {"(af)", "(cf)", "(ef)"}) {
    for (std::int64_t denominator = 10; denominator <= 1000; denominator *= 10) {
      for (std::int64_t numerator = 0; numerator < 3 * denominator; ++numerator) {
        if (numerator % denominator == 0) continue;  // written as an integer
        std::string text;
        Number back;
        ASSERT_TRUE(
            notations.out(category[1]).generate({-1, numerator, denominator}, category, text));
        ASSERT_TRUE(read_back(notations.in(category[1]), category, text, back)) << text;
        ASSERT_EQ(back.numerator, numerator) << text;
        ASSERT_EQ(back.denominator, denominator) << text;
      }
    }
  }
}

}  // namespace
}  // namespace koralite::numtrans
