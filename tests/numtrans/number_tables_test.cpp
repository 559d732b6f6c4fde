// Runs the tables of this folder (acceptors.txt, generators.txt), and writes
// numbers out and reads them back.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "numtrans/arabic_num_acceptor.h"
#include "numtrans/arabic_num_generator.h"
#include "numtrans/chs_num_acceptor.h"
#include "numtrans/chs_num_generator.h"
#include "numtrans/eng_num_acceptor.h"
#include "numtrans/eng_num_generator.h"
#include "support/cases.h"

namespace koralite::numtrans {
namespace {

using kora_test::Case;
using kora_test::for_cases;

Number parse_value(const std::string& text) {
  Number number;
  const std::size_t slash = text.find('/');
  number.numerator = std::stoll(text);
  if (slash != std::string::npos) {
    number.denominator = std::stoll(text.substr(slash + 1));
  }
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
    if (letter == 'a') {
      return arabic_in;
    }
    if (letter == 'c') {
      return chinese_in;
    }
    return english_in;
  }
  const NumGenerator& out(char letter) const {
    if (letter == 'a') {
      return arabic_out;
    }
    if (letter == 'c') {
      return chinese_out;
    }
    return english_out;
  }
};

TEST(NumberTables, AcceptorsReadWhatTheTableSays) {
  const Notations notations;
  for_cases("acceptors.txt", "", [&](const Case& c) {
    const char* cursor = c[1].c_str();
    Number number{99, 99, 99};  // to be cleared
    const bool accepted = notations.in(c[0][1]).accept(cursor, c[0].c_str(), number);
    ASSERT_EQ(accepted, c[2] != "-");
    if (!accepted) {
      return;
    }
    const Number expected = parse_value(c[2]);
    EXPECT_EQ(number.numerator, expected.numerator);
    EXPECT_EQ(number.denominator, expected.denominator);
    EXPECT_EQ(number.length, c.number(3));
    EXPECT_EQ(cursor, c.cells.size() > 4 ? c[4] : "");
  });
}

TEST(NumberTables, GeneratorsWriteWhatTheTableSays) {
  const Notations notations;
  for_cases("generators.txt", "", [&](const Case& c) {
    Number number = parse_value(c[1]);
    number.length = c.number(2);
    std::string out;
    const bool written = notations.out(c[0][1]).generate(number, c[0].c_str(), out);
    EXPECT_EQ(written ? out : "-", c[3]);
  });
}

TEST(NumberTables, WritersAppendButForZeroAndSmallOrdinals) {
  const Notations notations;
  const std::tuple<const char*, std::int64_t, const char*> cases[] = {
      {"(ai)", 0, "x0"},    {"(ci)", 0, "零"},       {"(ci)", 11, "x十一"},   {"(ei)", 0, "zero"},
      {"(eo)", 3, "third"}, {"(ei)", 11, "xeleven"}, {"(eo)", 103, "x103rd"}, {"(cds)", 0, "x零"}};
  for (const auto& [category, value, expected] : cases) {
    std::string out = "x";
    ASSERT_TRUE(notations.out(category[1]).generate({-1, value, 1}, category, out));
    EXPECT_EQ(out, expected);
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
  const auto at = [&](const std::vector<std::size_t>& places) {
    std::string found = std::to_string(words.size());
    for (const std::size_t place : places) {
      found += std::string(" ") + words.at(place);
    }
    return found;
  };
  ChsNumAcceptor().get_keywords(words);
  EXPECT_EQ(at({0, 1, 2, 17}), "18 点 两 十 九");
  EngNumAcceptor().get_keywords(words);
  EXPECT_EQ(at({5, 6, 106, 110, 213}), "214 hundredth zero thousand zeroth trillionth");
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
  constexpr std::int64_t kTrillion = 1000000000000;
  for (int i = 0; i < 40000; ++i) {
    std::int64_t limit = 10;
    for (auto digits = random() % 18; digits > 0; --digits) {
      limit *= 10;
    }
    auto value = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(limit));
    // Round numbers are where units and zeros meet.
    std::int64_t step = 1;
    for (auto digits = random() % 18; digits > 0; --digits) {
      step *= 10;
    }
    if (i % 2 == 0 && value > step) {
      value = value / step * step;
    }
    const Number number{-1, value, 1};
    const std::int64_t trillions = value / kTrillion;
    const std::int64_t rest = value % kTrillion;
    const bool english = value < kTrillion || (rest == 0 && trillions < 1000);
    const bool chinese = trillions == 0 || trillions % 100000 != 0;
    const std::pair<const char*, bool> ways[] = {
        {"(ai)", true},    {"(ads)", true}, {"(ao)", true},    {"(cds)", true},
        {"(ci)", chinese}, {"(eds)", true}, {"(ei)", english}, {"(eo)", value < 100}};
    for (const auto& [category, readable] : ways) {
      std::string text;
      ASSERT_TRUE(notations.out(category[1]).generate(number, category, text));
      Number back;
      const bool read = read_back(notations.in(category[1]), category, text, back);
      ASSERT_EQ(read && back.numerator == value, readable) << category << ' ' << text;
    }
  }
}

TEST(NumberTables, FractionsAreReadBackDigitByDigit) {
  const Notations notations;
  for (const char* category : {"(af)", "(cf)", "(ef)"}) {
    for (std::int64_t denominator = 10; denominator <= 1000; denominator *= 10) {
      for (std::int64_t numerator = 0; numerator < 3 * denominator; ++numerator) {
        if (numerator % denominator == 0) {
          continue;  // written as an integer
        }
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
