#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "common/text_split.h"
#include "support/cases.h"

namespace koralite::common {
namespace {

using kora_test::Case;
using kora_test::for_cases;

using Places = std::vector<std::int32_t>;
using Plain = void (*)(const std::string&, std::string&);
using Placed = bool (*)(const std::string&, std::string&, const Places&, Places&);

void expect_split(Plain split, Placed split_placed, const char* section) {
  for_cases("steps.txt", section, [&](const Case& c) {
    Places places(c[0].size());
    std::iota(places.begin(), places.end(), 0);
    std::string plain;
    std::string placed;
    Places out_places = {9};
    split(c[0], plain);
    EXPECT_TRUE(split_placed(c[0], placed, places, out_places));
    EXPECT_EQ(plain, placed);
    ASSERT_EQ(out_places.size(), placed.size());
    for (std::size_t i = 0; i < placed.size(); ++i) {
      if (placed[i] != '\n') {
        continue;
      }
      placed[i] = '|';
      // A line feed stands where the byte behind it stands; all others follow one another.
      EXPECT_EQ(out_places[i], out_places[i + 1]);
      out_places[i] = -1;
    }
    std::erase(out_places, -1);
    EXPECT_EQ(out_places, places);
    EXPECT_EQ(placed, c[1]);
  });
}

TEST(Split, SentencesOfTheTable) {
  expect_split(text_split_sent_eng, text_split_sent_eng, "split_sent_eng");
  expect_split(text_split_sent_chs, text_split_sent_chs, "split_sent_chs");
  for_cases("steps.txt", "uppercase_eng", [](const Case& c) {
    std::string out;
    text_uppercase_eng(c[0], out);
    EXPECT_EQ(out, c[1]);
  });
}

TEST(Split, PositionsMustNumberTheBytes) {
  std::string out = "x";
  std::vector<std::int32_t> places = {1};
  EXPECT_FALSE(text_split_sent_eng("ab", out, {0}, places));
  EXPECT_TRUE(out.empty() && places.empty());
  EXPECT_FALSE(text_split_sent_chs("ab", out, {0, 1, 2}, places));
}

}  // namespace
}  // namespace koralite::common
