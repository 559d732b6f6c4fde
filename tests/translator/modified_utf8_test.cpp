// Java's form of UTF-8, both ways.
#include "jni/modified_utf8.h"

#include <gtest/gtest.h>

namespace koralite::jni {
namespace {

using namespace std::string_literals;

TEST(ModifiedUtf8, GoesBothWays) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"你é", "你é"},
      {"a\0b"s,
       "a\xC0\x80"
       "b"},
      {"\xF0\x9F\x98\x80", "\xED\xA0\xBD\xED\xB8\x80"},          // U+1F600
      {"\xF4\x8F\xBF\xBF", "\xED\xAF\xBF\xED\xBF\xBF"},          // U+10FFFF
      {"\xEE\x80\x80\xED\x9F\xBF", "\xEE\x80\x80\xED\x9F\xBF"},  // beside the surrogates
  };
  for (const auto& [utf8, modified] : cases) {
    EXPECT_EQ(to_modified_utf8(utf8), modified);
    EXPECT_EQ(from_modified_utf8(modified), utf8);
  }
}

TEST(ModifiedUtf8, ReplacesWhatIsBroken) {
  const std::string r = "\uFFFD";
  const std::pair<std::string, std::string> to[] = {{"\xFF", r},
                                                    {"\x80\x80", r + r},
                                                    {"\xE4\xBD", r},
                                                    {"\xE4\xBDz", r + "z"},
                                                    {"\xC0\xAF", r + r},
                                                    {"\xE0\x80\xAF", r + r + r},
                                                    {"\xED\xA0\xBD", r + r + r},
                                                    {"\xF5\x80", r + r},
                                                    {"\xF0\x9F\x98", r},
                                                    {"\xF0\x9F\x98z", r + "z"},
                                                    {"\xF4\x90\x80\x80", r + r + r + r}};
  for (const auto& [utf8, expected] : to) {
    EXPECT_EQ(to_modified_utf8(utf8), expected);
  }
  const std::pair<std::string, std::string> from[] = {
      {"\xED\xA0\xBD", r},
      {"\xED\xA0\xBDz", r + "z"},
      {"\xED\xB8\x80", r},
      {"\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", r + "\xF0\x9F\x98\x80"},
      {"\xE4\xBD", r}};
  for (const auto& [modified, expected] : from) {
    EXPECT_EQ(from_modified_utf8(modified), expected);
  }
}

}  // namespace
}  // namespace koralite::jni
