#include "common/parse_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <locale>
#include <string>

#include "support/cases.h"

using namespace koralite::common;
using kora_test::Case;
using kora_test::for_cases;

namespace {

TEST(ParseNumber, LeadingIntegers) {
  for_cases("cases.txt", "leading integers",
            [](const Case& c) { EXPECT_EQ(parse_leading_int64(c[0].c_str()), std::stoll(c[1])); });
  for_cases("cases.txt", "leading integers of 32 bits",
            [](const Case& c) { EXPECT_EQ(parse_leading_int(c[0].c_str()), c.number(1)); });
}

struct comma_t : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(ParseNumber, LeadingFloatsInAnyLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new comma_t));
  for_cases("cases.txt", "leading floats", [](const Case& c) {
    std::string text = c[0];
    if (const std::size_t at = text.find("<zeros>"); at != text.npos) {
      text.replace(at, 7, std::string(400, '0'));
    }
    EXPECT_EQ(parse_leading_double(text), c.ratios(1).at(0));
  });
  std::locale::global(before);
  for_cases("cases.txt", "floats", [](const Case& c) {
    EXPECT_EQ(parse_leading_float(c[0].c_str()), static_cast<float>(c.ratios(1).at(0)));
  });
  EXPECT_TRUE(std::signbit(parse_leading_float("-0")));
}

}  // namespace
