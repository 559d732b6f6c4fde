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
#include "textProcess/convert_ne_tag_ws_processor.h"
#include "textProcess/model_folder.h"
#include "textProcess/name_converter.h"
#include "textProcess/rec_ascii_ws_processor.h"
#include "textProcess/rec_name_ws_processor.h"
#include "textProcess/str2word.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using tests::error_of;

std::string shown(const common::word_node_t& node) {
  std::string text = node.word;
  if (node.tag != nullptr) text += "/"s + node.translation + "/" + node.tag;
  return text;
}

std::vector<std::string> shown(const ProcessWordSeq& words) {
  std::vector<std::string> out;
  for (const auto& node : words.words()) out.push_back(shown(node));
  return out;
}

ProcessWordSeq sequence(const std::vector<std::string>& texts) {
  ProcessWordSeq words(false);
  for (const std::string& text : texts)
    words.words().push_back({words.store(text), nullptr, nullptr});
  return words;
}

TEST(RecAscii, MarksAsciiWordsWithALetterOrDigit) {
  const std::pair<std::string, bool> cases[] = {
      {"abc", true}, {"B2B", true}, {"3", true},     {"a-b", true},    {"$5", true},
      {",", false},  {"--", false}, {"", false},     {"中文", false},  {"a中", false},
      {"_", false},  {"é", false},  {"x\x7F", true}, {"x\x80", false}, {"@", false},
  };
  RecAsciiWsProcessor step(0, nullptr);
  for (const auto& [text, marked] : cases) {
    ProcessWordSeq words = sequence({text});
    ASSERT_NE(step.Process(words), 0);
    const auto& node = words.words()[0];
    EXPECT_EQ(node.tag != nullptr, marked) << text;
    if (!marked) continue;
    EXPECT_STREQ(node.tag, "ASC");
    EXPECT_EQ(node.translation, node.word);
  }
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
  for (std::size_t i = 0; i < 4; ++i) words.words()[i].tag = tags[i];
  ASSERT_NE(step.Process(words), 0);
  EXPECT_STREQ(words.words()[0].tag, "<ASC>#0");
  EXPECT_EQ(words.words()[1].tag, nullptr);
  EXPECT_STREQ(words.words()[2].tag, "<>#0");
  EXPECT_EQ(words.words()[3].tag, "<" + longest + ">#0");

  const std::string too_long = longest + "t";
  words = sequence({"a", "b"});
  words.words()[0].tag = "PE";
  words.words()[1].tag = too_long.c_str();
  EXPECT_EQ(error_of([&] { step.Process(words); }),
            "ne type name overflow in CeDecoder::translate()");
  EXPECT_STREQ(words.words()[0].tag, "<PE>#0");  // earlier words stay converted
}

class Pinyin : public ::testing::Test {
 protected:
  tests::ModelFolder folder_;
  std::string bytes_ = tests::pinyin_bytes({{"三", "san"},
                                            {"中", "zhong"},
                                            {"张", "zhang"},
                                            {"欧", "ou"},
                                            {"阳", "yang"},
                                            {"修", "xiu"},
                                            {"国", "guo"},
                                            {"吕", "lv"}});
  PinyinConverter pinyin_{folder_.write("pinyin", bytes_)};
};

TEST_F(Pinyin, ConvertsCharacterByCharacter) {
  struct Case {
    std::string text;
    std::string pinyin;
    std::string translation;  // by the unknown-word translator
    bool whole = true;
  };
  const Case cases[] = {
      {"", "", ""},
      {"张三", "zhangsan", "Zhangsan"},
      {"a中b国", "azhongbguo", "Azhongbguo"},
      {"9中", "9zhong", "9zhong"},
      {"龘中é😀", "zhong", "Zhong"},  // what the file does not hold is left out
      {"龘", "", ""},
      {"中\x80国", "zhong", "Zhong", false},
      {"\xE4\xB8", "", "", false},
  };
  const PinyinTranslator translator(pinyin_);
  const PinyinTranslator disabled(pinyin_, false);
  for (const Case& c : cases) {
    std::string out = "old";
    EXPECT_EQ(pinyin_.get_pinyin(c.text, out), c.whole) << c.text;
    EXPECT_EQ(out, c.pinyin) << c.text;
    translator.translate(c.text.c_str(), out);
    EXPECT_EQ(out, c.translation) << c.text;
    disabled.translate(c.text.c_str(), out);
    EXPECT_EQ(out, "") << c.text;
  }
}

TEST_F(Pinyin, RefusesDamagedFiles) {
  const auto load = [&](const std::string& bytes) {
    return error_of([&] { PinyinConverter(folder_.write("damaged", bytes)); });
  };
  // Cut anywhere, a file is refused.
  for (std::size_t size = 0; size < bytes_.size(); ++size)
    EXPECT_EQ(load(bytes_.substr(0, size)), "Invalid input file for PackFreeInput") << size;
  EXPECT_EQ(load(bytes_ + "more"), "");

  const std::size_t counts = 4 + 8 * 5;  // where P and L stand
  const auto with = [&](std::size_t at, std::uint32_t value) {
    std::string bytes = bytes_;
    std::string number;
    tests::put_le(number, value, 4);
    return bytes.replace(at, 4, number);
  };
  struct Case {
    std::size_t at;
    std::uint32_t value;
    std::string message;
  };
  const Case cases[] = {
      {0, 0, "Invalidate wordSize in the Pinyin File"},
      {0, 0xFFFFFFFF, "Invalid input file for PackFreeInput"},
      {counts, 0, "Invalidate Pinyin Info in the Pinyin File"},
      {counts, 0xFFFFFFFF, "Invalid input file for PackFreeInput"},
      {counts + 4, 0, "Invalidate Pinyin Info in the Pinyin File"},
      {counts + 4, 0xFFFFFFFF, "Invalid input file for PackFreeInput"},
  };
  for (const Case& c : cases) EXPECT_EQ(load(with(c.at, c.value)), c.message) << c.at;
  EXPECT_EQ(error_of([&] { PinyinConverter(folder_.file("none")); }),
            "Cannot open the input pinyin file!");
  EXPECT_EQ(error_of([&] { PinyinConverter(folder_.path()); }),
            "Cannot open the input pinyin file!");

  // One character whose index is past the slots, one whose slot has no zero byte.
  std::string odd;
  tests::put_le(odd, 2, 4);
  odd += "三"s + "\x01\x00"s + "中" + "\x00\x00"s;
  tests::put_le(odd, 1, 4);
  tests::put_le(odd, 2, 4);
  odd += "abcdef";
  const PinyinConverter converter(folder_.write("odd", odd));
  std::string out;
  EXPECT_TRUE(converter.get_pinyin("三中", out));
  EXPECT_EQ(out, "abc");
}

TEST_F(Pinyin, WritesNames) {
  struct Case {
    std::string name;
    std::string out;
    bool ok = true;
  };
  const Case cases[] = {
      {"", ""},
      {"张", "Zhang"},
      {"张三", "Zhang San"},
      {"张三国", "Zhang Sanguo"},
      {"欧阳修", "Ouyang Xiu"},
      {"欧阳", "Ouyang"},
      {"欧三", "Ou San"},
      {"吕中", "Lv Zhong"},
      {"张龘", "Zhang"},
      {"龘三", " San"},        // no pinyin for the surname
      {"欧 三", "Ou  san"},    // the blank is the given name's first character
      {"阳 三", "Yang  San"},  // a character and a blank are found in the list
      {"\xE5三", "", false},
      {"张\x80", "", false},
      {"张三\x80国", "Zhang San"},  // further on, what came before is kept
      {"ab", "A B"},
  };
  const NameConverter converter(pinyin_);
  for (const Case& c : cases) {
    std::string out = "old";
    EXPECT_EQ(converter.convert(c.name, out), c.ok) << c.name;
    EXPECT_EQ(out, c.out) << c.name;
  }
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
  std::vector<std::string> run(const std::string& text, bool dictionary, bool rules, char join) {
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
    std::vector<std::string> out = shown(placed);
    for (std::size_t i = 0; i < out.size(); ++i)
      out[i] += "@" + std::to_string(placed.positions()[i]);
    return out;
  }

  tests::ModelFolder folder_;
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
  struct Case {
    std::string text;
    bool dictionary;
    bool rules;
    char join;
    std::vector<std::string> words;
  };
  const Case cases[] = {
      {"", true, true, ' ', {}},
      {"   ", true, true, ' ', {}},
      {" a  b ", false, false, ' ', {"a@1", "b@4"}},
      {"a b c d", true, false, ' ', {"a@0", "b_c_d/bcd/NE@2"}},
      {"x x", true, false, ' ', {"x/X Y/NE@0", "x/X Y/NE@2"}},
      {"b  c x", true, false, ' ', {"b_c/bc/NE@0", "x/X Y/NE@5"}},
      {"a b c d e f g h", true, false, ' ', {"a_b_c_d_e_f_g_h/eight/NE@0"}},
      {"z a b c d e f g h", true, false, ' ', {"z@0", "a_b_c_d_e_f_g_h/eight/NE@2"}},
      {"five percent x", false, true, ' ', {"five_percent/百分之五/NUM@0", "x@13"}},
      {"five percent x", true, true, ' ', {"five_percent/百分之五/NUM@0", "x/X Y/NE@13"}},
      {"five percent", true, false, ' ', {"five_percent/by dictionary/NE@0"}},
      {"big 20", true, true, ' ', {"big_20/by dictionary/NE@0"}},  // the rule's arithmetic fails
      {"big 20", false, true, ' ', {"big@0", "20@4"}},
      {"small 20", false, true, ' ', {"small_20/20/T@0"}},
      {"第 三 名 x", false, true, 0, {"第_三_名/no. 3/ORD@0", "x@12"}},
      {"在 中 国", true, false, 0, {"在@0", "中_国/China/LOC@4"}},
      {"中 国", true, false, ' ', {"中@0", "国@4"}},
      {"a b\0 x"s, true, false, ' ', {"a@0", "b@2"}},
  };
  for (const Case& c : cases)
    EXPECT_EQ(run(c.text, c.dictionary, c.rules, c.join), c.words)
        << c.text << " " << c.dictionary << c.rules;
}

TEST_F(ToWords, HoldsWordsOfAnyLength) {
  const std::string huge(300000, 'x');  // longer than a pool's blocks
  EXPECT_EQ(run(huge + " x", true, true, ' '),
            (std::vector<std::string>{huge + "@0", "x/X Y/NE@300001"}));
}

TEST_F(ToWords, RefusesPositionsThatDoNotFit) {
  Str2Word step(nullptr, nullptr, pool_, ' ');
  ProcessWordSeq placed(true);
  EXPECT_EQ(step.DoProcess(ProcessStr(true, "no positions"), placed), 0);
  EXPECT_EQ(step.DoProcess(ProcessStr(false, "none kept"), placed), 0);
}

}  // namespace
}  // namespace koralite::textProcess
