#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_split.h"

namespace koralite::common {
namespace {

struct Case {
  std::string_view in;
  std::string_view out;  // "|" for each line feed
};

using Places = std::vector<std::int32_t>;
using Plain = void (*)(const std::string&, std::string&);
using Placed = bool (*)(const std::string&, std::string&, const Places&, Places&);

void expect_split(Plain split, Placed split_placed, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    const std::string in(c.in);
    Places places(in.size());
    std::iota(places.begin(), places.end(), 0);
    std::string plain;
    std::string placed;
    Places out_places = {9};
    split(in, plain);
    EXPECT_TRUE(split_placed(in, placed, places, out_places));
    EXPECT_EQ(plain, placed);
    ASSERT_EQ(out_places.size(), placed.size());
    for (std::size_t i = 0; i < placed.size(); ++i) {
      if (placed[i] != '\n') continue;
      placed[i] = '|';
      // A line feed stands where the byte behind it stands; all others follow one another.
      EXPECT_EQ(out_places[i], out_places[i + 1]);
      out_places.erase(out_places.begin() + static_cast<std::ptrdiff_t>(i));
      out_places.insert(out_places.begin() + static_cast<std::ptrdiff_t>(i), -1);
    }
    std::erase(out_places, -1);
    EXPECT_EQ(out_places, places) << c.in;
    EXPECT_EQ(placed, c.out);
  }
}

TEST(SplitEnglish, Texts) {
  expect_split(text_split_sent_eng, text_split_sent_eng,
               {
                   {"", ""},
                   {"Mr. Smith came. He left.", "Mr. Smith came. |He left."},
                   {"He said \"Go!\" Then he left", "He said \"Go!\" |Then he left"},
                   {"(Why?) 'Yes!' x", "(Why?) '|Yes!' |x"},
                   {"Wow!! Wow!!!", "Wow!|! Wow!|!!"},
                   {"3.5 a.m. it is. ok", "3.5 a.m. it is. |ok"},
                   {"He left.\" Then", "He left.\" Then"},
                   {"Oh no. So am I. On Sat. x", "Oh no. So am I. On Sat. x"},
                   {"what?  中", "what?  |中"},
                   {"end.", "end."},
               });
}

TEST(SplitChinese, Texts) {
  expect_split(text_split_sent_chs, text_split_sent_chs,
               {
                   {"", ""},
                   {"你好。他来了！", "你好。|他来了！"},
                   {"“真的！！” 他说…好？）x", "“真的！！” |他说…|好？）|x"},
                   {"好。’」好", "好。’|」好"},
                   {"a. b! c? \"", "a. b! c? \""},
                   {"。\xe3\x80", "。|\xe3\x80"},
                   {"。”", "。”"},
               });
}

TEST(Split, PositionsMustNumberTheBytes) {
  std::string out = "x";
  std::vector<std::int32_t> places = {1};
  EXPECT_FALSE(text_split_sent_eng("ab", out, {0}, places));
  EXPECT_TRUE(out.empty() && places.empty());
  EXPECT_FALSE(text_split_sent_chs("ab", out, {0, 1, 2}, places));
}

TEST(UppercaseEnglish, SentenceStarts) {
  for (const Case& c : std::initializer_list<Case>{
           {"", ""},
           {"hello . how are you ? fine", "Hello . How are you ? Fine"},
           {"hello. how", "Hello. how"},
           {". a", ". a"},
           {"a .. b ... c", "A .. b ... C"},
           {"\"hi\" x", "\"Hi\" x"},
           {"a ! \" b \" c", "A ! \" B \" c"},
           {"a \" b ! \" c", "A \" b ! \" c"},
           {"1 a . 2 b ! 中 c", "1 a . 2 b ! 中 c"},
       }) {
    std::string out;
    text_uppercase_eng(std::string(c.in), out);
    EXPECT_EQ(out, c.out);
  }
}

}  // namespace
}  // namespace koralite::common
