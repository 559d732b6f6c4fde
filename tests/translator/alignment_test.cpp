// The checks that an alignment must pass, and how it is carried to bytes.
#include "translator/alignment.h"

#include <gtest/gtest.h>

namespace koralite::translator {
namespace {

using links_t = std::vector<common::align_t>;

TEST(Alignment, MustTileTheOutput) {
  const std::string source = "ab cd";
  struct case_t {
    const char* what;
    std::string output;
    links_t links;
    bool passes;
  };
  const case_t cases[] = {
      {"whole", "xyz", {{0, 4, 0, 2}}, true},
      {"a lone blank between", "x y", {{0, 1, 0, 0}, {3, 4, 2, 2}}, true},
      {"one byte that is no blank", "x-y", {{0, 1, 0, 0}, {3, 4, 2, 2}}, false},
      {"two blanks", "x  y", {{0, 1, 0, 0}, {3, 4, 3, 3}}, false},
      {"overlap", "xyz", {{0, 1, 0, 1}, {3, 4, 0, 2}}, true},
      {"first not at 0", "xyz", {{0, 4, 1, 2}}, false},
      {"end missing", "xyz", {{0, 4, 0, 1}}, false},
      {"starts inside a character", "x你", {{0, 1, 0, 0}, {0, 1, 2, 3}}, false},
      {"ends inside a character", "你y", {{0, 1, 0, 1}, {0, 1, 2, 3}}, false},
      {"source beyond", "x", {{0, 5, 0, 0}}, false},
      {"source backwards", "x", {{3, 2, 0, 0}}, false},
      {"negative", "x", {{-1, 2, 0, 0}}, false},
      {"nothing for nothing", "", {}, true},
      {"nothing for something", "x", {}, false},
      {"something for nothing", "", {{0, 0, 0, 0}}, false},
  };
  for (const case_t& c : cases) {
    EXPECT_EQ(check_alignment(source, c.output, c.links), c.passes) << c.what;
  }
  EXPECT_TRUE(check_alignment(2, 3, links_t{{0, 1, 0, 2}}));
  EXPECT_FALSE(check_alignment(2, 3, links_t{{0, 2, 0, 2}}));
  EXPECT_FALSE(check_alignment(2, 3, links_t{{0, 1, 0, 3}}));
  EXPECT_FALSE(check_alignment(0, 0, links_t{}));
  EXPECT_TRUE(check_alignment(1, 0, links_t{}));
}

TEST(Alignment, IsCarriedToBytes) {
  struct case_t {
    const char* what;
    std::string source, output;
    std::vector<std::int32_t> words, places;
    links_t links, expected;
  };
  const case_t cases[] = {
      {"blanks behind words are cut",
       "ab  cd",
       "x y",
       {0, 4},
       {0, 1, 2},
       {{0, 0, 0, 0}, {1, 1, 2, 2}},
       {{0, 1, 0, 0}, {4, 5, 2, 2}}},
      {"a wide gap goes to the link before",
       "ab cd",
       "x--y",
       {0, 3},
       {0, 1, 2, 3},
       {{0, 0, 0, 0}, {1, 1, 3, 3}},
       {{0, 1, 0, 2}, {3, 4, 3, 3}}},
      {"ends are stretched", "ab", "-x-", {0}, {0, 1, 2}, {{0, 0, 1, 1}}, {{0, 1, 0, 2}}},
      {"a link without output goes",
       "ab cd",
       "x",
       {0, 3},
       {0},
       {{0, 0, 0, 0}, {1, 1, 5, 6}},
       {{0, 1, 0, 0}}},
      {"output that moved",
       "ab cd",
       "x y",
       {0, 3},
       {3, 1, 0},
       {{1, 1, 3, 3}, {0, 0, 0, 0}},
       {{3, 4, 0, 0}, {0, 1, 2, 2}}},
      {"no output", "ab", "", {0}, {}, {{0, 0, 0, 0}}, {}},
  };
  for (const case_t& c : cases) {
    links_t links = c.links;
    modify_alignment(c.source, c.output, c.words, c.places, links);
    ASSERT_EQ(links.size(), c.expected.size()) << c.what;
    for (std::size_t i = 0; i < links.size(); ++i) {
      EXPECT_EQ(links[i].source_first, c.expected[i].source_first) << c.what;
      EXPECT_EQ(links[i].source_last, c.expected[i].source_last) << c.what;
      EXPECT_EQ(links[i].target_first, c.expected[i].target_first) << c.what;
      EXPECT_EQ(links[i].target_last, c.expected[i].target_last) << c.what;
    }
  }
}

}  // namespace
}  // namespace koralite::translator
