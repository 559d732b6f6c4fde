#include "numtrans/number.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

namespace koralite::numtrans {
namespace {

constexpr std::int64_t LOWEST = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t HIGHEST = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t E17 = 100000000000000000;

std::string show(const Number& n) {
  return std::to_string(n.numerator) + "/" + std::to_string(n.denominator) + " length " +
         std::to_string(n.length);
}

TEST(Number, IsReadFromDecimals) {
  struct Case {
    const char* text;
    bool accepted;
    const char* left;  // from a number that held 9/1, length 1
  };
  constexpr Case cases[] = {{"3.25", true, "325/100 length 3"},
                            {"007", true, "7/1 length 3"},
                            {"2.50", true, "25/10 length 2"},
                            {"2.00", true, "2/1 length 1"},
                            {"0.00", true, "0/1 length 1"},
                            {"100", true, "100/1 length 3"},
                            {"", true, "0/1 length 0"},
                            {"12.", true, "12/1 length 2"},
                            {"999999999999999999", true, "999999999999999999/1 length 18"},
                            {"9999999999999999999", false, "9/1 length 1"},
                            {".5", false, "0/1 length 0"},
                            {"-5", false, "0/1 length 0"},
                            {"1.2.3", false, "12/10 length 2"},
                            {"3.40x", false, "340/100 length 3"}};
  for (const Case& c : cases) {
    Number number{1, 9, 1};
    EXPECT_EQ(number.create(c.text), c.accepted) << c.text;
    EXPECT_EQ(show(number), c.left) << c.text;
  }
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
constexpr Operation OPERATIONS[] = {
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

// The result as "numerator/denominator", or the message of the exception.
std::string compute(const Number& a, const std::string& op, const Number& b) {
  for (const Operation& operation : OPERATIONS) {
    if (op != operation.name) continue;
    try {
      const Number result = operation.run(a, b);
      EXPECT_EQ(result.length, -1) << op;
      return std::to_string(result.numerator) + "/" + std::to_string(result.denominator);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
  return "no such operator";
}

TEST(Number, Computes) {
  struct Case {
    Number a;
    const char* op;
    Number b;
    const char* expected;  // "!" for the operator's message
  };
  const Case cases[] = {
      {{3, 125, 100}, "+", {1, 2, 1}, "325/100"},
      {{2, 15, 10}, "+", {2, 5, 10}, "2/1"},
      {{2, 35, 10}, "-", {2, 15, 10}, "20/10"},  // not normalised
      {{1, 2, 1}, "-", {2, 25, 10}, "-5/10"},
      {{2, 25, 10}, "*", {1, 4, 1}, "10/1"},
      {{1, 5, 0}, "*", {1, 3, 1}, "15/0"},
      {{1, 7, 1}, "/", {1, 2, 1}, "3/1"},
      {{1, -7, 1}, "/", {1, 2, 1}, "-3/1"},
      {{2, 15, 10}, "/", {2, 5, 10}, "3/10"},  // divided by the denominator once more
      {{1, 3, 1}, "/", {2, 15, 10}, "2/10"},
      {{2, 25, 10}, "/", {3, 25, 100}, "1/10"},
      {{2, 25, 10}, ">", {3, 225, 100}, "1/1"},
      {{2, 25, 10}, "==", {3, 250, 100}, "1/1"},
      {{2, 25, 10}, "!=", {3, 250, 100}, "0/1"},
      {{1, 1, 1}, "<", {2, 11, 10}, "1/1"},
      {{2, 11, 10}, "<=", {1, 1, 1}, "0/1"},
      {{1, 1, 1}, ">=", {2, 10, 10}, "1/1"},
      {{1, HIGHEST, 1}, "+", {1, 1, 1}, "!"},
      {{1, LOWEST, 1}, "-", {1, 1, 1}, "!"},
      {{1, HIGHEST, 1}, "+", {1, 1, 10}, "!"},
      {{1, 1, 10}, "-", {1, HIGHEST, 1}, "!"},
      {{1, HIGHEST, 1}, "*", {1, 2, 1}, "!"},
      {{1, -1, 1}, "*", {1, LOWEST, 1}, "!"},
      {{1, 1, E17}, "*", {1, 1, 1000}, "!"},
      {{1, 7, 1}, "/", {1, 0, 1}, "!"},
      {{1, LOWEST, 1}, "/", {1, -1, 1}, "!"},
      // Comparisons scale by the whole denominator and so give up earlier.
      {{1, E17, 100}, ">", {1, 1, 100}, "!"},
      {{1, 1, 100}, "<", {1, E17, 100}, "1/1"},
      {{1, E17, 100}, "-", {1, 1, 100}, "99999999999999999/100"},
  };
  for (const Case& c : cases) {
    const std::string message =
        std::string("number calculation error in Number::operator") + c.op + "()";
    EXPECT_EQ(compute(c.a, c.op, c.b), *c.expected == '!' ? message : c.expected)
        << show(c.a) << ' ' << c.op << ' ' << show(c.b);
  }
}

TEST(Number, RefusesAZeroDenominatorButWhenItMultiplies) {
  for (const Operation& operation : OPERATIONS) {
    const std::string message =
        std::string("number calculation error in Number::operator") + operation.name + "()";
    for (const std::int64_t bad : {0, -10}) {
      const Number broken{1, 5, bad};
      const Number good{1, 3, 1};
      const bool multiplies = *operation.name == '*';
      EXPECT_EQ(compute(broken, operation.name, good) == message, !multiplies) << operation.name;
      EXPECT_EQ(compute(good, operation.name, broken) == message, !multiplies) << operation.name;
    }
  }
}

TEST(Number, NegationNeverFails) {
  EXPECT_EQ(show(-Number{3, 125, 100}), "-125/100 length -1");
  EXPECT_EQ((-Number{1, LOWEST, 1}).numerator, LOWEST);
}

}  // namespace
}  // namespace koralite::numtrans
