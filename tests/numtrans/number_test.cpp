#include "numtrans/number.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/cases.h"
#include "support/temp_folder.h"

namespace koralite::numtrans {
namespace {

// "5/10" or "5".
Number parse_value(const std::string& text) {
  Number number;
  const std::size_t slash = text.find('/');
  number.numerator = std::stoll(text);
  if (slash != std::string::npos) {
    number.denominator = std::stoll(text.substr(slash + 1));
  }
  return number;
}

std::string show(const Number& n) {
  return std::to_string(n.numerator) + "/" + std::to_string(n.denominator) + " length " +
         std::to_string(n.length);
}

TEST(Number, IsReadFromDecimals) {
  kora_test::for_cases("cases.txt", "decimals", [](const kora_test::Case& c) {
    Number number{1, 9, 1};
    EXPECT_EQ(number.create(c[0].c_str()), c.yes(1));
    EXPECT_EQ(show(number), c[2]);
  });
}

TEST(Number, IsNormalizedAtItsEnd) {
  Number read{2, 20, 10};
  read.normalize();
  EXPECT_EQ(show(read), "2/1 length 1");
  Number empty{0, 200, 100};  // an empty count goes to "computed" and stays there
  empty.normalize();
  EXPECT_EQ(show(empty), "2/1 length -1");
}

using Binary = Number (*)(const Number&, const Number&);
struct Operation {
  const char* name;
  Binary run;
};
constexpr Operation kOperations[] = {
    {"+", [](const Number& a, const Number& b) { return a + b; }},
    {"-", [](const Number& a, const Number& b) { return a - b; }},
    {"*", [](const Number& a, const Number& b) { return a * b; }},
    {"/", [](const Number& a, const Number& b) { return a / b; }},
    {">", [](const Number& a, const Number& b) { return a > b; }},
    {">=", [](const Number& a, const Number& b) { return a >= b; }},
    {"==", [](const Number& a, const Number& b) { return a == b; }},
    {"!=", [](const Number& a, const Number& b) { return a != b; }},
    {"<", [](const Number& a, const Number& b) { return a < b; }},
    {"<=", [](const Number& a, const Number& b) { return a <= b; }}};

// The result as "numerator/denominator", "!" for the operator's exception.
std::string compute(const Number& a, const Operation& operation, const Number& b) {
  std::string result = "!";
  const std::string message = kora_test::message_of([&] {
    const Number number = operation.run(a, b);
    EXPECT_EQ(number.length, -1);
    result = std::to_string(number.numerator) + "/" + std::to_string(number.denominator);
  });
  const std::string wanted =
      std::string("number calculation error in Number::operator") + operation.name + "()";
  return message.empty() || message == wanted ? result : message;
}

TEST(Number, Computes) {
  kora_test::for_cases("cases.txt", "operators", [](const kora_test::Case& c) {
    for (const Operation& operation : kOperations) {
      if (c[1] != operation.name) {
        continue;
      }
      EXPECT_EQ(compute(parse_value(c[0]), operation, parse_value(c[2])), c[3]);
    }
  });
}

TEST(Number, RefusesAZeroDenominatorButWhenItMultiplies) {
  for (const Operation& operation : kOperations) {
    for (const std::int64_t bad : {0, -10}) {
      const Number broken{1, 5, bad};
      const Number good{1, 3, 1};
      const bool multiplies = *operation.name == '*';
      EXPECT_EQ(compute(broken, operation, good) == "!", !multiplies) << operation.name;
      EXPECT_EQ(compute(good, operation, broken) == "!", !multiplies) << operation.name;
    }
  }
}

TEST(Number, NegationNeverFails) {
  const std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(show(-Number{3, 125, 100}), "-125/100 length -1");
  EXPECT_EQ((-Number{1, lowest, 1}).numerator, lowest);
}

}  // namespace
}  // namespace koralite::numtrans
