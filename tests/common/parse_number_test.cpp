#include "common/parse_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <locale>
#include <string>

using namespace koralite::common;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ParseNumber, LeadingIntegers) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"", 0},
      {"abc", 0},
      {"12", 12},
      {" \t\r\n\v\f-7x", -7},
      {"+5", 5},
      {"--5", 0},
      {"+-5", 0},
      {"- 5", 0},
      {"0x10", 0},
      {"1e3", 1},
      {"1,000", 1},
      {"007", 7},
      {"3.9", 3},
      {"9223372036854775807", INT64_MAX},
      {"9223372036854775808", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"-9223372036854775809", INT64_MIN},
      {"99999999999999999999999", INT64_MAX},
  };
  for (const auto& [text, wanted] : cases) EXPECT_EQ(parse_leading_int64(text), wanted) << text;
  const std::pair<const char*, std::int32_t> cut[] = {
      {"2147483647", INT32_MAX},  {"2147483648", INT32_MIN},       {"4294967297", 1},
      {"-2147483649", INT32_MAX}, {"99999999999999999999999", -1}, {"-99999999999999999999999", 0},
  };
  for (const auto& [text, wanted] : cut) EXPECT_EQ(parse_leading_int(text), wanted) << text;
}

struct comma_t : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(ParseNumber, LeadingFloatsInAnyLocale) {
  const std::string zeros(400, '0');
  const std::pair<std::string, double> cases[] = {
      {"", 0},
      {"x", 0},
      {"0.5", 0.5},
      {"-.5", -0.5},
      {"5.", 5},
      {" +1.25e2z", 125},
      {"1e", 1},
      {"1e+", 1},
      {"2E-1", 0.2},
      {".", 0},
      {".e5", 0},
      {"0x1p4", 0},
      {"inf", 0},
      {"-nan", 0},
      {"infinity", 0},
      {"1,5", 1},
      {"1.2.3", 1.2},
      {"1e400", kInf},
      {"-1e400", -kInf},
      {"1e-400", 0},
      {"0e999", 0},
      {"4.9e-324", 4.9e-324},
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"1" + zeros, kInf},
      {"1" + zeros + "e-400", 1},
      {"0." + zeros + "1", 0},
      {"0." + zeros + "1e401", 1},
      {"1e99999999999999999999", kInf},
      {"1e-99999999999999999999", 0},
      {"0." + zeros + "1e99999999999999999999", kInf},
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new comma_t));
  for (const auto& [text, wanted] : cases) EXPECT_EQ(parse_leading_double(text), wanted) << text;
  std::locale::global(before);
}

TEST(ParseNumber, FloatsRoundFromDoubleAndOverflowToInfinity) {
  const std::pair<const char*, float> cases[] = {
      {"0.1", 0.1F},
      {"1e-60", 0.0F},
      {"3.4028234e38", std::numeric_limits<float>::max()},
      {"3.4028235677973366e38", std::numeric_limits<float>::infinity()},
      {"-1e39", -std::numeric_limits<float>::infinity()},
      {"1e400", std::numeric_limits<float>::infinity()},
  };
  for (const auto& [text, wanted] : cases) EXPECT_EQ(parse_leading_float(text), wanted) << text;
  EXPECT_TRUE(std::signbit(parse_leading_float("-0")));
}

}  // namespace
