#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "support/cases.h"
#include "textProcess/text_helpers.h"
#include "textProcess/text_units.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_view_literals;

TEST(Abbreviations, Known) {
  kora_test::for_cases("steps.txt", "abbreviations", [](const kora_test::Case& c) {
    for (const std::string& word : c.words(1)) {
      EXPECT_EQ(text_is_abbrev_eng(word.c_str()), c[0] == "abbreviation") << word;
    }
  });
  EXPECT_FALSE(text_is_abbrev_eng("") || text_is_abbrev_eng(static_cast<const char*>(nullptr)));
  std::string out;
  text_get_prefix("say Mr. x_1", 6, out);
  EXPECT_EQ(out, "Mr.");
  text_get_suffix("don't go", 3, out);
  EXPECT_EQ(out, "'t");
}

TEST(Units, Lengths) {
  kora_test::for_cases("steps.txt", "units", [](const kora_test::Case& c) {
    EXPECT_EQ(text_is_url(c[0].c_str()), c.size(1));
    EXPECT_EQ(text_is_integral(c[0].c_str()), c.size(2));
  });
}

// The rules for addresses, read out one after another.
std::size_t plain_url(const char* p) {
  const auto label = [](char c) { return text_is_digit_or_letter(c) || c == '_' || c == '-'; };
  const auto path = [&](char c) { return label(c) || c == '.' || c == '/'; };
  const std::string_view token = std::string_view(p).substr(0, std::string_view(p).find(' '));
  if (token.find('.') == token.npos) {
    return 0;
  }
  const std::size_t stop = std::min(token.find_first_of(",;?!:@"), token.size());
  for (const char c : token.substr(0, stop)) {
    if (!path(c)) {
      return 0;
    }
  }
  std::size_t host = 0;
  if (token.substr(stop).starts_with("://")) {
    host = stop + 3;
  }
  if (token.substr(stop).starts_with("@")) {
    host = stop + 1;
  }
  const std::size_t dot = token.find('.', host);
  if (dot == token.npos || dot == host) {
    return 0;
  }
  for (const char c : token.substr(host, dot - host)) {
    if (!label(c)) {
      return 0;
    }
  }
  if (dot + 1 == token.size() || !text_is_digit_or_letter(token[dot + 1])) {
    return 0;
  }
  for (std::size_t i = dot; i < token.size(); ++i) {
    const bool last = i + 1 == token.size();
    if (token[i] == '.') {
      if (!text_is_digit_or_letter(token[i - 1])) {
        return 0;
      }
      if (!last && !text_is_digit_or_letter(token[i + 1])) {
        return 0;
      }
    } else if (!path(token[i]) && !last) {
      return 0;
    }
  }
  std::size_t length = token.size();
  if (!text_is_digit_or_letter(token.back()) && token.back() != '/') {
    --length;
  }
  if (length < 4 || token[length - 1] == '.' || token[length - 2] == '.') {
    return 0;
  }
  return length;
}

TEST(Units, ScannerAgreesWithTheRulesAtEveryIndex) {
  std::mt19937 random(20);
  std::size_t addresses = 0;
  for (int round = 0; round < 40000; ++round) {
    constexpr std::string_view kBytes = "aaaaB1.._-//:@@ ,()\0中"sv;
    std::string text;
    for (std::size_t size = random() % 24; size > 0; --size) {
      const std::size_t pick = random() % (kBytes.size() + 2);
      text += pick < kBytes.size()    ? std::string(1, kBytes[pick])
              : pick == kBytes.size() ? "://"
                                      : "ab.cd";
    }
    UnitScanner scanner(text);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const std::size_t url = plain_url(text.c_str() + i);
      addresses += url > 0 ? 1 : 0;
      ASSERT_EQ(scanner.url_at(i), url) << "[" << text << "] at " << i;
      ASSERT_EQ(text_is_url(text.c_str() + i), url) << "[" << text << "] at " << i;
      ASSERT_EQ(scanner.function_at(i), text_is_function(text.c_str() + i));
      for (std::size_t plain = i, end = scanner.plain_word_end(i); plain < end; ++plain) {
        ASSERT_EQ(text_is_integral(text.c_str() + plain), 0U) << "[" << text << "] at " << plain;
        ASSERT_TRUE(text_is_word_byte(text[plain]));
      }
    }
  }
  EXPECT_GT(addresses, 10000U);
}

}  // namespace
}  // namespace koralite::textProcess
