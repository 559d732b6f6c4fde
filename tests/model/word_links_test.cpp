#include "toolkit/explain/word_links.h"

#include <gtest/gtest.h>

namespace {

using namespace koralite;
using namespace koralite::toolkit;

}  // namespace

TEST(WordLinks, NumbersEveryWordThatALinkTouches) {
  struct case_t {
    const char* source;
    const char* target;
    bool by_character;  // target
    std::vector<common::align_t> links;
    const char* wanted;
  };
  const case_t cases[] = {
      {"a b", "x y", false, {{0, 0, 2, 2}, {2, 2, 0, 0}}, "0-1 1-0"},
      {"a b", "x y", false, {{0, 2, 0, 2}}, "0-0 0-1 1-0 1-1"},
      {"ab cd", "xy", false, {{1, 3, 0, 0}}, "0-0 1-0"},  // parts of words
      {"a", "猫犬b2", true, {{0, 0, 3, 7}}, "0-1 0-2"},   // characters, and a run of ASCII
      {"a b", "x", false, {{1, 1, 0, 0}}, ""},            // a blank alone
      {"a", "\x80猫", true, {{0, 0, 0, 3}}, "0-0 0-1"},   // a stray continuation byte
      {"", "", false, {{0, -1, 0, -1}}, ""},
  };
  for (const case_t& c : cases) {
    EXPECT_EQ(format_word_links(c.links, c.source, false, c.target, c.by_character), c.wanted)
        << c.source << " | " << c.target;
  }
}
