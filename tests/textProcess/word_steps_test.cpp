// The steps over words: from string to words with fixed translations, pinyin,
// names, ASCII words and tags.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/convert_ne_tag_ws_processor.h"
#include "textProcess/name_converter.h"
#include "textProcess/pinyin_bytes.h"
#include "textProcess/rec_ascii_ws_processor.h"
#include "textProcess/rec_name_ws_processor.h"
#include "textProcess/str2word.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using namespace kora_test;
using ::testing::ElementsAre;

std::string shown(const common::word_node_t& node) {
  std::string text = node.word;
  if (node.tag != nullptr) {
    text += "/"s + node.translation + "/" + node.tag;
  }
  return text;
}

std::vector<std::string> shown(const ProcessWordSeq& words) {
  std::vector<std::string> out;
  for (const auto& node : words.words()) {
    out.push_back(shown(node));
  }
  return out;
}

ProcessWordSeq sequence(const std::vector<std::string>& texts) {
  ProcessWordSeq words(false);
  for (const std::string& text : texts) {
    words.words().push_back({words.store(text), nullptr, nullptr});
  }
  return words;
}

TEST(RecAscii, MarksAsciiWordsWithALetterOrDigit) {
  RecAsciiWsProcessor step(0, nullptr);
  for_cases("words.txt", "recog_ascii", [&](const Case& c) {
    ProcessWordSeq words = sequence({c[0]});
    ASSERT_NE(step.Process(words), 0);
    EXPECT_EQ(shown(words.words()[0]), c[0] + (c.yes(1) ? "/" + c[0] + "/ASC" : ""));
  });
  ProcessWordSeq tagged = sequence({"abc"});
  tagged.words()[0].tag = "PE";
  tagged.words()[0].translation = "x";
  ASSERT_NE(step.Process(tagged), 0);
  EXPECT_THAT(shown(tagged), ElementsAre("abc/x/PE"));
}

TEST(ConvertNeTag, BuildsTheVocabularysForm) {
  common::StringPool pool(102400);
  ConvertNeTagWsProcessor step(0, nullptr, pool);
  const std::string longest(10235, 't');
  ProcessWordSeq words = sequence({"a", "b", "c", "d"});
  const char* tags[] = {"ASC", nullptr, "", longest.c_str()};
  for (std::size_t i = 0; i < 4; ++i) {
    words.words()[i].tag = tags[i];
  }
  ASSERT_NE(step.Process(words), 0);
  EXPECT_STREQ(words.words()[0].tag, "<ASC>#0");
  EXPECT_EQ(words.words()[1].tag, nullptr);
  EXPECT_STREQ(words.words()[2].tag, "<>#0");
  EXPECT_EQ(words.words()[3].tag, "<" + longest + ">#0");

  const std::string too_long = longest + "t";
  words = sequence({"a", "b"});
  words.words()[0].tag = "PE";
  words.words()[1].tag = too_long.c_str();
  EXPECT_EQ(message_of([&] { step.Process(words); }),
            "ne type name overflow in CeDecoder::translate()");
  EXPECT_STREQ(words.words()[0].tag, "<PE>#0");  // earlier words stay converted
}

class Pinyin : public ::testing::Test {
 protected:
  TempFolder folder_;
  std::string bytes_ =
      tests::pinyin_bytes("三 san 中 zhong 张 zhang 欧 ou 阳 yang 修 xiu 国 guo 吕 lv");
  PinyinConverter pinyin_{folder_.write("pinyin", bytes_)};
};

TEST_F(Pinyin, ConvertsCharacterByCharacter) {
  const PinyinTranslator translator(pinyin_);
  const PinyinTranslator disabled(pinyin_, false);
  for_cases("words.txt", "pinyin", [&](const Case& c) {
    std::string out = "old";
    EXPECT_EQ(pinyin_.get_pinyin(c[0], out), c.cells.size() < 4);
    EXPECT_EQ(out, c[1]);
    translator.translate(c[0].c_str(), out);
    EXPECT_EQ(out, c[2]);
    disabled.translate(c[0].c_str(), out);
    EXPECT_EQ(out, "");
  });
}

TEST_F(Pinyin, RefusesDamagedFiles) {
  const auto load = [&](const std::string& bytes) {
    return message_of([&] { PinyinConverter(folder_.write("damaged", bytes)); });
  };
  // Cut anywhere, a file is refused.
  for (std::size_t size = 0; size < bytes_.size(); ++size) {
    EXPECT_EQ(load(bytes_.substr(0, size)), "Invalid input file for PackFreeInput") << size;
  }
  EXPECT_EQ(load(bytes_ + "more"), "");

  const std::size_t counts = 4 + 8 * 5;  // where P and L stand
  const char* const cut = "Invalid input file for PackFreeInput";
  const std::tuple<std::size_t, std::uint32_t, const char*> cases[] = {
      {0, 0, "Invalidate wordSize in the Pinyin File"},
      {0, 0xFFFFFFFF, cut},
      {counts, 0, "Invalidate Pinyin Info in the Pinyin File"},
      {counts, 0xFFFFFFFF, cut},
      {counts + 4, 0, "Invalidate Pinyin Info in the Pinyin File"},
      {counts + 4, 0xFFFFFFFF, cut},
  };
  for (const auto& [at, value, message] : cases) {
    EXPECT_EQ(load(std::string(bytes_).replace(at, 4, le(value, 4))), message) << at;
  }
  EXPECT_EQ(message_of([&] { PinyinConverter(folder_.path("none")); }),
            "Cannot open the input pinyin file!");
  EXPECT_EQ(message_of([&] { PinyinConverter(folder_.path()); }),
            "Cannot open the input pinyin file!");

  // One character whose index is past the slots, one whose slot has no zero byte.
  const std::string odd = le(2, 4) + "三"s + "\x01\x00"s + "中" + "\x00\x00"s + le(1, 4) + le(2, 4);
  const PinyinConverter converter(folder_.write("odd", odd + "abcdef"));
  std::string out;
  EXPECT_TRUE(converter.get_pinyin("三中", out));
  EXPECT_EQ(out, "abc");
}

TEST_F(Pinyin, WritesNames) {
  const NameConverter converter(pinyin_);
  for_cases("words.txt", "names", [&](const Case& c) {
    std::string out = "old";
    EXPECT_EQ(converter.convert(c[0], out), c.cells.size() < 3);
    EXPECT_EQ(out, c[1]);
  });
}

TEST_F(Pinyin, TranslatesTheNamesOfTheSegmenter) {
  common::StringPool pool(102400);
  const NameConverter converter(pinyin_);
  RecNameWsProcessor step(0, nullptr, &converter, pool);
  RecNameWsProcessor without(0, nullptr, nullptr, pool);
  ProcessWordSeq words = sequence({"张三", "和", "张三国", "欧阳修", "\xFF"});
  words.words()[3].tag = "NE";
  words.words()[3].translation = "E";
  EXPECT_EQ(step.Process(words), 0);  // no name buffer
  EXPECT_EQ(without.Process(words), 0);

  std::set<std::string> names;
  step.SetNameBuffer(&names);
  without.SetNameBuffer(&names);
  EXPECT_NE(step.Process(words), 0);
  names = {"张三", "欧阳修", "三国", "\xFF"};
  EXPECT_NE(without.Process(words), 0);
  EXPECT_THAT(shown(words), ElementsAre("张三", "和", "张三国", "欧阳修/E/NE", "\xFF"));
  EXPECT_NE(step.Process(words), 0);
  EXPECT_THAT(shown(words),
              ElementsAre("张三/Zhang San/PE", "和", "张三国", "欧阳修/E/NE", "\xFF"));
}

class ToWords : public ::testing::Test {
 protected:
  // What DoProcess makes of a text, with the position of each word behind it; it
  // must be the same words without positions.
  std::string run(const std::string& text, bool dictionary, bool rules, char join) {
    Str2Word step(dictionary ? &dictionary_ : nullptr,
                  rules
                      ? (join == 0 ? static_cast<numtrans::RuleTranslator*>(&chinese_) : &english_)
                      : nullptr,
                  pool_, join);
    pool_.add_string("of the sentence before");
    ProcessWordSeq plain(false);
    plain.words().emplace_back();
    EXPECT_NE(step.DoProcess(ProcessStr(false, text), plain), 0);
    EXPECT_EQ(pool_.block_count(), 0U);

    ProcessStr str(true, text);
    str.set_identity();
    ProcessWordSeq placed(true);
    EXPECT_NE(step.DoProcess(str, placed), 0);
    EXPECT_EQ(shown(placed), shown(plain));
    EXPECT_TRUE(placed.consistent());
    std::string out;
    for (std::size_t i = 0; i < placed.words().size(); ++i) {
      out += (i == 0 ? "" : " ") + shown(placed.words()[i]) + "@" +
             std::to_string(placed.positions()[i]);
    }
    return out;
  }

  TempFolder folder_;
  common::StringPool pool_{1000};
  NeDict dictionary_{
      folder_
          .write_lines("ne", {"a b c d e f g h\tNE\teight", "b c\tNE\tbc", "b c d\tNE\tbcd",
                              "big 20\tNE\tby dictionary", "five percent\tNE\tby dictionary",
                              "x\tNE\tX Y", "中国\tLOC\tChina"})
          .c_str()};
  numtrans::EcNumTranslator english_{
      folder_
          .write_lines("ec", {"(ei) percent ||| 百分之(ci) ||| NUM",
                              "big (ai) ||| s0 * 999999999999999999 * 999 > 0 |||   ||| (ai) ||| T",
                              "small (ai) ||| s0 * 9 > 0 |||   ||| (ai) ||| T"})
          .c_str()};
  numtrans::CeNumTranslator chinese_{
      folder_.write_lines("ce", {"第(ci)名 ||| no. (ai) ||| ORD"}).c_str()};
};

TEST_F(ToWords, TakesTheLongestKnownSpan) {
  for_cases("words.txt", "to words", [this](const Case& c) {
    EXPECT_EQ(run(c[0], c.yes(1), c.yes(2), c[3] == "blank" ? ' ' : '\0'), c[4]);
  });
  const std::string huge(300000, 'x');  // longer than a pool's blocks
  EXPECT_EQ(run(huge + " x", true, true, ' '), huge + "@0 x/X Y/NE@300001");
}

TEST_F(ToWords, RefusesPositionsThatDoNotFit) {
  Str2Word step(nullptr, nullptr, pool_, ' ');
  ProcessWordSeq placed(true);
  EXPECT_EQ(step.DoProcess(ProcessStr(true, "no positions"), placed), 0);
  EXPECT_EQ(step.DoProcess(ProcessStr(false, "none kept"), placed), 0);
}

}  // namespace
}  // namespace koralite::textProcess
