#include "jni/utf16_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using koralite::jni::from_utf16;
using koralite::jni::links_in_units;
using koralite::jni::to_utf16;
using koralite::jni::unit_map_t;

namespace {

TEST(Utf16Text, BothWaysWithTheUnitOfEveryByte) {
  const struct {
    std::u16string units;
    std::string bytes;
    unit_map_t map;
  } cases[] = {
      {u"", "", {0}},
      {u"a\u00e9", "a\xc3\xa9", {0, 1, 1, 2}},
      {u"\u4f60b",
       "\xe4\xbd\xa0"
       "b",
       {0, 0, 0, 1, 2}},
      {u"\U0001F600x", "\xf0\x9f\x98\x80x", {0, 0, 0, 0, 2, 3}},
      {std::u16string(u"\0z", 2), std::string("\0z", 2), {0, 1, 2}},
  };
  for (const auto& one : cases) {
    unit_map_t map;
    EXPECT_EQ(from_utf16(one.units, &map), one.bytes);
    EXPECT_EQ(map, one.map) << one.bytes;
    map.clear();
    EXPECT_EQ(to_utf16(one.bytes, &map), one.units) << one.bytes;
    EXPECT_EQ(map, one.map) << one.bytes;
  }
}

TEST(Utf16Text, WhatIsBrokenBecomesTheReplacementCharacter) {
  const std::u16string lone[] = {{0xD83D}, {0xDE00}, {0xDE00, 0xD83D}, {0xD83D, u'a'}};
  const std::string wanted[] = {"\xef\xbf\xbd", "\xef\xbf\xbd", "\xef\xbf\xbd\xef\xbf\xbd",
                                "\xef\xbf\xbd"
                                "a"};
  for (std::size_t i = 0; i < std::size(lone); ++i) {
    EXPECT_EQ(from_utf16(lone[i]), wanted[i]) << i;
  }
  unit_map_t map;
  // A cut character, then one, then bytes that never occur.
  EXPECT_EQ(to_utf16("\xe4\xbd\xe4\xbd\xa0\xff\xc0", &map), u"\ufffd\u4f60\ufffd\ufffd");
  EXPECT_EQ(map, (unit_map_t{0, 0, 1, 1, 1, 2, 3, 4}));
}

TEST(Utf16Text, LinksBecomeRangesOfWholeCharacters) {
  unit_map_t source;
  unit_map_t target;
  from_utf16(u"\U0001F600 \u00e9b", &source);  // bytes: 4, 1, 2, 1
  to_utf16("\xe4\xbd\xa0\xe5\xa5\xbd", &target);
  const std::int32_t links[] = {0, 3,  0,  2,    // whole characters
                                5, 5,  3,  3,    // ends inside one: all of it
                                7, 6,  5,  5,    // nothing
                                4, 99, -5, 99};  // beyond both ends
  EXPECT_EQ(links_in_units(links, 4, source, target),
            (std::vector<std::int32_t>{0, 2, 0, 1, 3, 4, 1, 2, 4, 4, 1, 2, 2, 5, 0, 2}));
}

}  // namespace
