// The steps that put blanks between Chinese words, and their readers of UTF-8.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "textProcess/fake_lexicut.h"
#include "textProcess/model_folder.h"
#include "textProcess/single_word_seg_str_processor.h"
#include "textProcess/tmining_util.h"
#include "textProcess/word_segment_str_processor.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using tests::FakeLibrary;
using tests::whole_piece;

ProcessStr with_identity(const std::string& text) {
  ProcessStr str(true, text);
  str.set_identity();
  return str;
}

TEST(Utf8, LengthsAndCodePoints) {
  struct Case {
    std::string text;
    unsigned pos;
    int length;
    unsigned code;  // 7 for untouched
  };
  const Case cases[] = {
      {"a", 0, 1, 'a'},
      {"\0"s, 0, 1, 0},
      {"a", 1, 0, 7},
      {"", 5, 0, 7},
      {"é", 0, 2, 0xE9},
      {"x中", 1, 3, 0x4E2D},
      {"😀", 0, 4, 0x1F600},
      {"\xF8\x88\x80\x80\x80", 0, 5, 0x200000},
      {"\xFD\xBF\xBF\xBF\xBF\xBF", 0, 6, 0x7FFFFFFF},
      {"\xC0\x80", 0, 2, 0},           // overlong
      {"\xED\xA0\x80", 0, 3, 0xD800},  // surrogate
      {"\xE4\xB8", 0, -1, 7},          // cut short
      {"\xE4\xB8z", 0, -1, 7},         // no continuation byte
      {"中", 1, -1, 7},                // inside a character
      {"\xFE\xBF\xBF\xBF\xBF\xBF\xBF", 0, -1, 7},
      {"\xFF", 0, -1, 7},
  };
  for (const Case& c : cases) {
    unsigned code = 7;
    EXPECT_EQ(TMiningUtil::get_utf8_encoding(c.text.data(), static_cast<unsigned>(c.text.size()),
                                             c.pos, code),
              c.length)
        << testing::PrintToString(c.text);
    EXPECT_EQ(code, c.code) << testing::PrintToString(c.text);
  }

  std::vector<std::string> characters = {"old"};
  TMiningUtil::split_utf8("a中\xE4\xB8😀\x80", characters);
  EXPECT_THAT(characters, ElementsAre("a", "中", "\xE4", "\xB8", "😀", "\x80"));
}

TEST(AlignString, FindsThePositionsOfTheSource) {
  struct Case {
    std::string source;
    std::string target;
    bool ok;
    std::vector<int> positions;  // of the target, where source byte i has 10 i
  };
  const Case cases[] = {
      {"ab", "a b", true, {0, 0, 10}},
      {"ab", " a b  ", true, {0, 0, 0, 10, 10, 10}},
      {"  ab", "a b", true, {20, 20, 30}},
      {" ab", " ab", true, {0, 10, 20}},
      {"a b  ", "ab", true, {0, 20}},
      {"   ", "", true, {}},
      {"   ", "  ", true, {0, 0}},
      {"", "", false, {}},
      {"", " ", false, {}},
      {"ab", "a", false, {}},
      {"a", "ab", false, {}},
      {"ab", "ac", false, {}},
  };
  for (const Case& c : cases) {
    ProcessStr source = with_identity(c.source);
    for (auto& position : source.positions()) position *= 10;
    ProcessStr target(true, c.target);
    EXPECT_EQ(SegmentStrProcessor::text_align_string(source, target), c.ok)
        << c.source << " | " << c.target;
    EXPECT_EQ(target.positions(), c.positions) << c.source << " | " << c.target;
  }

  ProcessStr target(true, "a b");
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(ProcessStr(false, "ab"), target));
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(ProcessStr(true, "ab"), target));
  ProcessStr bare(false, "a b");
  EXPECT_FALSE(SegmentStrProcessor::text_align_string(with_identity("ab"), bare));
}

TEST(SingleWordSplit, SetsMultiByteCharactersApart) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"   ", ""},
      {"ab中文", "ab中 文"},
      {"中文ab", "中 文 ab"},
      {"  中 文  a  b ", "中 文 a b"},
      {"\xE4\xB8中\xFF", "\xE4\xB8中 \xFF"},
      {"日本語、です。", "日 本 語 、 で す 。"},
  };
  SingleWordSegStrProcessor step(0, nullptr);
  for (const auto& [text, expected] : cases) {
    ProcessStr plain(false, text);
    EXPECT_NE(step.Process(plain), 0);
    EXPECT_EQ(plain.text(), expected);
    ProcessStr placed = with_identity(text);
    EXPECT_EQ(step.Process(placed) != 0, !text.empty());
    EXPECT_EQ(placed.text(), expected);
    EXPECT_TRUE(placed.consistent());
  }
}

// Words as they are written in `cut`, separated by "|"; "*" behind one makes it a
// name, "~" before one leaves it out of the record.
FakeLibrary::Answer words_of(const std::string& cut) {
  return [cut](const std::string&, lexicut_out& out) {
    std::int32_t at = 0;
    out.count = 0;
    for (std::size_t begin = 0; begin <= cut.size();) {
      const std::size_t end = std::min(cut.find('|', begin), cut.size());
      std::string word = cut.substr(begin, end - begin);
      begin = end + 1;
      const bool left_out = word.starts_with('~');
      if (left_out) word.erase(0, 1);
      const bool name = word.ends_with('*');
      if (name) word.pop_back();
      if (!left_out) {
        out.offsets[out.count] = at;
        out.lengths[out.count] = static_cast<std::int32_t>(word.size());
        out.properties[out.count] = name ? 0x11U : 0x2EFU;
        ++out.count;
      }
      at += static_cast<std::int32_t>(word.size());
    }
    return 1;
  };
}

ChsSegmentStrProcessor make_segmenter(const std::string& anti_names = {}) {
  return {0, nullptr, "d", "n", "a", anti_names.c_str(), 10240, FakeLibrary::api()};
}

TEST(WordSegment, PutsBlanksBetweenWords) {
  struct Case {
    std::string cut;
    std::string expected;
    std::set<std::string> names;
    bool ok_with_positions = true;
  };
  const Case cases[] = {
      {"我|爱|北京", "我 爱 北京", {}},
      {"我|3|.|14|米", "我 3.14 米", {}},   // neighbouring ASCII is glued
      {"ab| |cd", "ab cd", {}},             // a reported blank is a word
      {"ab|~ |cd", "abcd", {}},             // an unreported one does not keep words apart
      {"价| |3| |.| |14", "价  3.14", {}},  // a dot between digits and blanks
      {"价| |3| |.| |x", "价  3 . x", {}},
      {" |.| |5", " . 5", {}},
      {"中|-| |-| |-", "中 ---", {}},  // hyphens apart by one blank
      {"- -", "--", {}},
      {"张三*|和|李四*|张三*", "张三 和 李四 张三", {"张三", "李四"}},
      {"王五*|五*", "王五 五", {"五"}},   // 王五 is on the list, 五 is not
      {"我|~爱|你", "我 你", {}, false},  // a dropped word
      {"", "", {}, false},
  };
  tests::ModelFolder folder;
  const std::string anti = folder.write_lines("anti", {"", "小五", "小五", "王五"});
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter(anti);
  std::set<std::string> names;
  for (const Case& c : cases) {
    std::string text = c.cut;
    std::erase_if(text, [](char b) { return b == '|' || b == '*' || b == '~'; });
    library.answer = words_of(c.cut);

    step.SetNameBuffer(nullptr);
    ProcessStr plain(false, text);
    EXPECT_NE(step.Process(plain), 0) << c.cut;
    EXPECT_EQ(plain.text(), c.expected) << c.cut;

    names = {"from the text before"};
    step.SetNameBuffer(&names);
    ProcessStr placed = with_identity(text);
    EXPECT_EQ(step.Process(placed) != 0, c.ok_with_positions) << c.cut;
    EXPECT_EQ(placed.text(), c.ok_with_positions ? c.expected : text) << c.cut;
    EXPECT_EQ(names, c.names) << c.cut;
  }
}

TEST(WordSegment, SurvivesAHostileLibrary) {
  struct Case {
    const char* what;
    std::vector<std::array<std::int32_t, 2>> words;  // offset, length
    std::int32_t count = -2;                         // the number of words if -2
    int missing = -1;                                // which array is null
    int result = 1;
  };
  const Case cases[] = {
      {"reports failure", {{0, 8}}, -2, -1, 0},
      {"negative count", {}, -1},
      {"count above the room", {}, 257},
      {"largest count", {}, INT_MAX},
      {"negative offset", {{-1, 2}}},
      {"negative length", {{4, -1}}},
      {"length past the end", {{0, 9}}},
      {"offset past the end", {{9, 0}}},
      {"sum out of range", {{INT_MAX, INT_MAX}}},
      {"overlap", {{0, 4}, {3, 2}}},
      {"descending", {{3, 3}, {0, 3}}},
      {"last word outside", {{0, 3}, {3, 3}, {6, 3}}},
      {"no offsets", {{0, 8}}, -2, 0},
      {"no lengths", {{0, 8}}, -2, 1},
      {"no properties", {{0, 8}}, -2, 2},
  };
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter();
  const std::string text = "中文ab";  // 8 bytes
  for (const Case& c : cases) {
    library.answer = [&c](const std::string&, lexicut_out& out) {
      for (std::size_t i = 0; i < c.words.size(); ++i) {
        out.offsets[i] = c.words[i][0];
        out.lengths[i] = c.words[i][1];
      }
      out.count = c.count == -2 ? static_cast<std::int32_t>(c.words.size()) : c.count;
      if (c.missing == 0) out.offsets = nullptr;
      if (c.missing == 1) out.lengths = nullptr;
      if (c.missing == 2) out.properties = nullptr;
      return c.result;
    };
    for (const bool placed : {false, true}) {
      ProcessStr str(placed, text);
      str.set_identity();
      EXPECT_EQ(step.Process(str), 0) << c.what;
      EXPECT_EQ(str.text(), text) << c.what;
      EXPECT_TRUE(str.consistent()) << c.what;
    }
  }
}

TEST(WordSegment, KeepsTheNamesOfEarlierPiecesWhenALaterOneFails) {
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter();
  std::set<std::string> names;
  step.SetNameBuffer(&names);
  library.answer = [&](const std::string& piece, lexicut_out& out) {
    out.properties[0] = 0x10;
    return library.pieces.size() < 2 ? whole_piece(piece, out) : 0;
  };
  std::string text;
  for (int i = 0; i < 100; ++i) text += "中";
  ProcessStr str(false, text);
  EXPECT_EQ(step.Process(str), 0);
  EXPECT_EQ(str.text(), text);
  EXPECT_EQ(names.size(), 1U);
}

std::string repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

TEST(WordSegment, CutsPiecesAtCharactersAndAsciiWords) {
  struct Case {
    std::string text;
    std::vector<std::size_t> lengths;  // of the pieces
  };
  const Case cases[] = {
      {repeat("中", 85), {255}},
      {repeat("中", 86), {255, 3}},
      {"a" + repeat("中", 86), {253, 6}},               // 255 is inside a character
      {repeat("中", 80) + repeat("w", 30), {240, 30}},  // would cut the word
      {repeat("中", 80) + "x1.5-z,_'" + repeat("w", 30), {240, 39}},
      {repeat("中", 80) + repeat("w", 300), {240, 255, 45}},  // no room for the word anyway
      {repeat("w", 300), {255, 45}},
      {repeat("\x80", 300), {255, 45}},  // no character begins anywhere
      {repeat(" ", 300), {255, 45}},
  };
  FakeLibrary library(whole_piece);
  ChsSegmentStrProcessor step = make_segmenter();
  for (const Case& c : cases) {
    library.pieces.clear();
    ProcessStr str(false, c.text);
    EXPECT_NE(step.Process(str), 0);
    std::vector<std::size_t> lengths;
    std::string joined;
    for (const std::string& piece : library.pieces) {
      lengths.push_back(piece.size());
      joined += (joined.empty() ? "" : " ") + piece;
    }
    EXPECT_EQ(lengths, c.lengths) << c.text.substr(0, 20);
    EXPECT_EQ(str.text(), joined);
  }

  // Any bytes: the pieces are the text, within the limit, and not many.
  std::mt19937 random(5);
  const std::string bits[] = {"中", "é", "😀", "a", "9", "-", " ", "\x80", "\xE4", "word"};
  for (int round = 0; round < 300; ++round) {
    std::string text;
    const std::size_t kinds = 1 + random() % std::size(bits);
    while (text.size() < 2000) text += bits[random() % kinds];
    library.pieces.clear();
    ProcessStr str(false, text);
    ASSERT_NE(step.Process(str), 0);
    std::string joined;
    for (const std::string& piece : library.pieces) {
      ASSERT_LE(piece.size(), 255U);
      joined += piece;
    }
    ASSERT_EQ(joined, text);
    ASSERT_LE(library.pieces.size(), 2 * (text.size() / 255 + 1));
  }
}

TEST(WordSegment, LoadsAndReleasesInOrder) {
  FakeLibrary library(whole_piece);
  { ChsSegmentStrProcessor step(0, nullptr, "d", "", "a", nullptr, 0, FakeLibrary::api()); }
  EXPECT_THAT(library.calls, ElementsAre("load d  a 0", "create 256", "destroy_out", "destroy"));
  library.calls.clear();
  { GeneralSegmentStrProcessor step(0, nullptr, "d", "n", "a", "", 10, FakeLibrary::api()); }
  EXPECT_THAT(library.calls, ElementsAre("load d n a 0", "create 11", "destroy_out", "destroy"));

  const auto build_chs = [] { make_segmenter(); };
  const auto build_general = [] {
    GeneralSegmentStrProcessor step(0, nullptr, "d", "n", "a", "", 10, FakeLibrary::api());
  };
  library.has_record = false;
  library.calls.clear();
  EXPECT_EQ(tests::error_of(build_chs),
            "NULL word segment output buffer in ChsSegmenter::ChsSegmenter()");
  EXPECT_THAT(library.calls, ElementsAre("load d n a 0", "create 256", "destroy"));
  EXPECT_EQ(tests::error_of(build_general),
            "create out failed. GeneralSegmentStrProcessor::GeneralSegmentStrProcessor");
  library.has_model = false;
  library.calls.clear();
  EXPECT_EQ(tests::error_of(build_chs),
            "NULL word segment dictionary in ChsSegmenter::ChsSegmenter()");
  EXPECT_EQ(tests::error_of(build_general),
            "load model failed. GeneralSegmentStrProcessor::GeneralSegmentStrProcessor()");
  EXPECT_THAT(library.calls, ElementsAre("load d n a 0", "load d n a 0"));
}

TEST(WordSegment, RefusesUnsortedOrMissingAntiNames) {
  tests::ModelFolder folder;
  FakeLibrary library(whole_piece);
  EXPECT_EQ(tests::error_of([&] {
              make_segmenter(folder.write_lines("anti", {"b", "c", "a"}));
            }),
            "Invalidate antiname!");
  EXPECT_THAT(library.calls, ElementsAre("load d n a 0", "create 256", "destroy_out", "destroy"));
  EXPECT_EQ(tests::error_of([&] { make_segmenter(folder.file("none")); }), "Invalidate Input file");
}

}  // namespace
}  // namespace koralite::textProcess
