// The language pipelines: which steps run for which language, what the
// configuration leaves out, and that any bytes pass through every chain.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

#include "decoder/vocab.h"
#include "textProcess/chs_constraint.h"
#include "textProcess/eng_constraint.h"
#include "textProcess/fake_lexicut.h"
#include "textProcess/jpa_constraint.h"
#include "textProcess/model_folder.h"
#include "textProcess/pinyin_converter.h"
#include "textProcess/processor.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using tests::error_of;

constexpr LangType kSources[] = {LangType::kChinese, LangType::kEnglish, LangType::kJapanese,
                                 LangType::kKorean,  LangType::kThai,    LangType::kArabic,
                                 LangType::kRussian, LangType::kWenYan,  LangType::kYue};

class Chains : public ::testing::Test {
 protected:
  Chains() {
    folder_.write("dict", "unread");
    folder_.write("pinyin", tests::pinyin_bytes({{"三", "san"}, {"张", "zhang"}, {"龘", "da"}}));
    folder_.write_lines("ne", {"new york\tLOC\t纽约", "上海\tLOC\tShanghai", "东京\tLOC\tTokyo"});
    folder_.write_lines("rules.ec", {"(ei) percent ||| 百分之(ci) ||| NUM"});
    folder_.write_lines("rules.ce", {"第(ci)名 ||| no. (ai) ||| ORD"});
    folder_.write_lines("recase", {"2 1 9", "New York"});
    folder_.write_lines("anti", {"李四"});
  }

  // A configuration from sections and their values.
  using Sections = std::vector<std::pair<std::string, std::string>>;
  static Sections full(LangType source) {
    Sections sections = {{"[recase]", "recase"},
                         {"[ne]", "ne"},
                         {"[segment]", "dict"},
                         {"[anti-name]", "anti"},
                         {"[pinyin]", "pinyin"}};
    if (source == LangType::kEnglish) sections.emplace_back("[rule]", "rules.ec");
    if (source == LangType::kChinese) sections.emplace_back("[rule]", "rules.ce");
    if (source == LangType::kThai) sections.emplace_back("[single-word-split]", "1");
    return sections;
  }

  std::unique_ptr<Processor> make(LangType source, LangType target,
                                  const Sections& sections) const {
    std::string lines;
    for (const auto& [header, value] : sections) lines += header + "\n" + value + "\n\n";
    return std::make_unique<Processor>(source, target, folder_.write("conf", lines), folder_.path(),
                                       tests::FakeLibrary::api());
  }
  std::unique_ptr<Processor> make(LangType source, LangType target) const {
    return make(source, target, full(source));
  }

  tests::ModelFolder folder_;
  tests::FakeLibrary library_{tests::by_character};
};

template <class Step>
std::string names_of(const Step* head) {
  std::vector<std::string> names;
  for (const Step* step = head; step != nullptr; step = step->prior())
    names.insert(names.begin(), step->name());
  std::string out;
  for (const std::string& name : names) out += (out.empty() ? "" : ", ") + name;
  return out;
}

// The words of a text, each with "/translation/tag" if it has them.
std::string words_of(Processor& processor, const std::string& text) {
  ProcessStr str(false, text);
  ProcessWordSeq words(false);
  processor.Preprocess(str, words);
  std::string out;
  for (const auto& node : words.words()) {
    if (!out.empty()) out += ' ';
    out += node.word;
    if (node.tag != nullptr) out += "/"s + node.translation + "/" + node.tag;
  }
  return out;
}

std::string postprocessed(Processor& processor, const std::string& text) {
  ProcessStr str(false, text);
  processor.Postprocess(str);
  return str.text();
}

TEST_F(Chains, RunTheStepsOfTheirLanguage) {
  const std::string end = "text_replace, unique_blank, replace_spec_char";
  const std::string general = "clean, sbc2dbc, word segment, " + end;
  const std::string words = "convert_ne_tag, tokenize_hyphen";
  const std::string eng_post = "eng-recase, detoken, restore_spec_char";
  const std::string post = "erase_blank_chs, restore_spec_char";
  struct Case {
    LangType language;
    std::string string_chain;  // as a source
    std::string word_chain;
    std::string post_chain;  // as a target
  };
  const Case cases[] = {
      {LangType::kChinese, "clean, sbc2dbc, norm_punc, erase, segment, " + end,
       "recog_ascii, recog_name, convert_ne_tag", post},
      {LangType::kEnglish,
       "clean, norm_punc, erase, insert_blank, tokenize_eng, lowercase_eng, " + end, words,
       eng_post},
      {LangType::kJapanese, general, words, post},
      {LangType::kKorean, general, words, eng_post},
      {LangType::kThai, "clean, sbc2dbc, word segment, single word split, " + end, words, post},
      {LangType::kArabic, general, words, post},
      {LangType::kRussian, general, words, post},
      {LangType::kWenYan, general, words, post},
      {LangType::kYue, general, words, post},
  };
  for (const Case& c : cases) {
    const auto processor = make(c.language, c.language);
    EXPECT_EQ(names_of(processor->preprocessor().string_chain()), c.string_chain);
    EXPECT_EQ(names_of(processor->preprocessor().word_chain()), c.word_chain);
    EXPECT_EQ(names_of(processor->postprocessor().string_chain()), c.post_chain);
  }
}

TEST_F(Chains, RefuseLanguagesWithoutOne) {
  for (const int code : {0, 7, 8, 10, 11, 14, -1}) {
    const auto language = static_cast<LangType>(code);
    EXPECT_EQ(error_of([&] { make(language, language, {}); }), "Invalid source language type!");
    EXPECT_EQ(error_of([&] { make(LangType::kEnglish, language, {}); }),
              "Invalid target language type!");
  }
  EXPECT_EQ(error_of([&] {
              Processor(LangType::kEnglish, LangType::kChinese, folder_.file("none"), "");
            }),
            "failed to open config [file=" + folder_.file("none") + "]");
}

TEST_F(Chains, LeaveOutWhatTheConfigurationDoesNotName) {
  struct Case {
    LangType source;
    LangType target;
    std::string section;
    std::string file;   // that serves it
    std::string error;  // when it is absent or empty
    std::string source_text;
    std::string with;     // the words, or the output for "[recase]"
    std::string without;  // the same without the section
  };
  const LangType zh = LangType::kChinese;
  const LangType en = LangType::kEnglish;
  const LangType ja = LangType::kJapanese;
  const Case cases[] = {
      {en, zh, "[ne]", "ne", "", "New York", "new_york/纽约/<LOC>#0", "new york"},
      {en, zh, "[rule]", "rules.ec", "", "Two percent", "two_percent/百分之二/<NUM>#0",
       "two percent"},
      {zh, en, "[ne]", "ne", "", "上海", "上_海/Shanghai/<LOC>#0", "上 海"},
      {zh, en, "[rule]", "rules.ce", "", "第三名", "第_三_名/no. 3/<ORD>#0", "第 三 名"},
      {zh, en, "[pinyin]", "pinyin", "", "张三abc", "张三/Zhang San/<PE>#0 abc/abc/<ASC>#0",
       "张三 abc/abc/<ASC>#0"},
      {zh, en, "[segment]", "dict", "can't find segment dictionary configure file", "中国", "中 国",
       ""},
      {ja, en, "[ne]", "ne", "", "東京東京", "東 京 東 京", "東 京 東 京"},
      {ja, en, "[segment]", "dict",
       "can't find segment dictionary configure file, worddict is null", "東京", "東 京", ""},
      {ja, en, "[recase]", "recase", "", "new york . yes", "New York. Yes", "New york. Yes"},
  };
  for (const Case& c : cases) {
    for (const bool empty : {false, true}) {
      Sections sections = full(c.source);
      std::erase_if(sections, [&](const auto& entry) { return entry.first == c.section; });
      const auto result = [&] {
        const auto processor = make(c.source, c.target, sections);
        return c.section == "[recase]" ? postprocessed(*processor, c.source_text)
                                       : words_of(*processor, c.source_text);
      };
      if (empty) sections.emplace_back(c.section, "");
      if (c.error.empty()) {
        EXPECT_EQ(result(), c.without) << c.section;
      } else {
        EXPECT_EQ(error_of(result), c.error);
      }
      if (empty) sections.pop_back();
      sections.emplace_back(c.section, c.file);
      EXPECT_EQ(result(), c.with) << c.section;
      sections.back().second = "no such file";
      if (c.section != "[segment]") {
        EXPECT_NE(error_of(result), "") << c.section;
      }
    }
  }
}

TEST_F(Chains, SplitSingleWordsOnDemand) {
  struct Case {
    std::optional<std::string> segment;
    std::optional<std::string> split;
    std::string chain;  // between "sbc2dbc" and "text_replace"; "-" for the error
  };
  const Case cases[] = {
      {"dict", {}, "word segment, "},
      {"dict", "0", "word segment, "},
      {"dict", "1", "word segment, single word split, "},
      {{}, "1", "single word split, "},
      {{}, "0", ""},
      {{}, "10", ""},
      {"", "1", "single word split, "},
      {{}, {}, "-"},
      {"", "", "-"},
  };
  for (const Case& c : cases) {
    Sections sections;
    if (c.segment) sections.emplace_back("[segment]", *c.segment);
    if (c.split) sections.emplace_back("[single-word-split]", *c.split);
    std::string chain;
    const std::string error = error_of([&] {
      chain = names_of(
          make(LangType::kRussian, LangType::kThai, sections)->preprocessor().string_chain());
    });
    EXPECT_EQ(error.empty(), c.chain != "-");
    if (error.empty()) {
      EXPECT_EQ(chain,
                "clean, sbc2dbc, " + c.chain + "text_replace, unique_blank, replace_spec_char");
    }
  }
}

TEST_F(Chains, TurnTextIntoWords) {
  struct Case {
    LangType source;
    std::string text;
    std::string words;
  };
  const Case cases[] = {
      {LangType::kEnglish, "He paid 1,234\tdollars, didn't he?",
       "he paid 1234 dollars , didn 't he ?"},
      {LangType::kEnglish, "C# and “New York”", R"(c \# and " new_york/纽约/<LOC>#0 ")"},
      {LangType::kChinese, "他说：ＡＢ，１２", "他 说 ： AB/AB/<ASC>#0 ， 12/12/<ASC>#0"},
      {LangType::kChinese, "a\0b\t#"s, R"(ab/ab/<ASC>#0 \#)"},
      {LangType::kJapanese, "東京　ＡＢ", "東 京 AB"},
      {LangType::kThai, "ไทย  x", "ไ ท ย x"},
      {LangType::kRussian, "", ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(words_of(*make(c.source, LangType::kEnglish), c.text), c.words);
  // Japanese entities are found without blanks between their words, Korean ones with.
  EXPECT_EQ(words_of(*make(LangType::kJapanese, LangType::kEnglish), "东京"),
            "东_京/Tokyo/<LOC>#0");
  EXPECT_EQ(words_of(*make(LangType::kKorean, LangType::kEnglish), "东京"), "东 京");
  EXPECT_EQ(postprocessed(*make(LangType::kEnglish, LangType::kChinese), R"(c \# 中 国 。)"),
            "c #中国。");
}

TEST_F(Chains, SplitHyphensOnceTheVocabularyIsKnown) {
  const auto processor = make(LangType::kEnglish, LangType::kChinese);
  EXPECT_EQ(words_of(*processor, "A well-known case"), "a well-known case");
  decoder::Vocab vocab;
  processor->SetSourceVocab(&vocab);
  EXPECT_EQ(words_of(*processor, "A well-known case"), "a well known case");
  vocab.encode("well-known");
  EXPECT_EQ(words_of(*processor, "A well-known case"), "a well-known case");
  processor->SetSourceVocab(nullptr);
  make(LangType::kChinese, LangType::kEnglish)->SetSourceVocab(&vocab);  // has no such step
}

TEST_F(Chains, ReportFailingStages) {
  const auto processor = make(LangType::kChinese, LangType::kEnglish);
  const auto fail = [&](bool words_too) {
    return error_of([&] {
      ProcessStr unplaced(true, "中");  // positions that do not number the bytes
      ProcessWordSeq words(true);
      if (words_too) {
        processor->Preprocess(unplaced, words);
      } else {
        processor->Preprocess(unplaced);
      }
    });
  };
  EXPECT_EQ(fail(true), "Preprocess string error\n");
  EXPECT_EQ(fail(false), "Preprocess error: 中\n");
  EXPECT_EQ(error_of([&] {
              ProcessStr plain(false, "中");
              ProcessWordSeq placed(true);
              processor->Preprocess(plain, placed);
            }),
            "Preprocess Str2WordSeq error\n");
  EXPECT_EQ(error_of([&] {
              ProcessStr unplaced(true, "a");
              processor->Postprocess(unplaced);
            }),
            "Postprocess error\n");
}

TEST_F(Chains, ServeTheDecoder) {
  for (const LangType source : kSources) {
    const bool chinese = source == LangType::kChinese;
    const bool japanese =
        source == LangType::kJapanese || source == LangType::kWenYan || source == LangType::kYue;
    const auto processor = make(source, LangType::kEnglish);
    const decoder::Constraint& constraint = *processor->GetConstraint();
    EXPECT_EQ(typeid(constraint) == typeid(ChsConstraint), chinese);
    EXPECT_EQ(typeid(constraint) == typeid(JpaConstraint), japanese);
    EXPECT_EQ(typeid(constraint) == typeid(EngConstraint), !chinese && !japanese);
    std::string out;
    processor->GetUnkTranslator()->translate("龘x", out);
    EXPECT_EQ(out, chinese ? "Dax" : "龘x");
  }
  std::string out;
  make(LangType::kChinese, LangType::kEnglish, {{"[segment]", "dict"}})
      ->GetUnkTranslator()
      ->translate("龘x", out);
  EXPECT_EQ(out, "龘x");  // no pinyin: copied

  const auto processor = make(LangType::kChinese, LangType::kEnglish);
  // The marks of the pair's map leave and return in the target's form.
  ProcessStr str(false, "你好。");
  ProcessWordSeq words(false);
  ProcessWordSeq removed(false);
  processor->Preprocess(str, words);
  processor->TruncatePunct(words, removed);
  EXPECT_EQ(words.words().size(), 2U);
  std::string output = "hello .";
  std::vector<common::align_t> alignment;
  processor->AppendPunct(words, removed, output, alignment);
  EXPECT_EQ(output, "hello .");
  EXPECT_EQ(words.words().size(), 3U);
}

// Texts of pieces that matter to some step, valid UTF-8 or not.
std::string random_text(std::mt19937& random) {
  static const std::string kBits[] = {" ",          "  ",       "\t",
                                      "\0"s,        ".",        "...",
                                      ",",          "-",        "- -",
                                      "#",          "\\",       "\"",
                                      "'",          "(",        ")",
                                      ":",          "?",        "!",
                                      "//",         "@",        "1",
                                      "23",         "1,234",    "3 . 14",
                                      "a",          "Word",     "mr.",
                                      "e.g.",       "don't",    "abc.de",
                                      "f()",        "中",       "张三",
                                      "第三名",     "上海",     "，",
                                      "。",         "“",        "…",
                                      "：",         "（",       "１",
                                      "Ａ",         "　",       "，123",
                                      "\x80",       "\xE4",     "\xE4\xB8",
                                      "\xEF\xBC",   "\xFF",     "é",
                                      "ไทย",        "שלום",     "😀",
                                      "\r",         "new york", "five percent",
                                      "well-known", "##a-b",    "<LOC>#0",
                                      "|||"};
  std::string text;
  const std::size_t kinds = 1 + random() % std::size(kBits);
  const std::size_t shift = random() % std::size(kBits);
  for (std::size_t n = random() % 60; n > 0; --n)
    text += kBits[(shift + random() % kinds) % std::size(kBits)];
  return text;
}

bool inside(const std::vector<std::int32_t>& positions, std::size_t size) {
  return std::all_of(positions.begin(), positions.end(), [size](std::int32_t p) {
    return p >= 0 && static_cast<std::size_t>(p) < size;
  });
}

TEST_F(Chains, GiveTheSameTextWithAndWithoutPositions) {
  std::mt19937 random(7);
  decoder::Vocab vocab;
  for (const LangType language : kSources) {
    const auto processor = make(language, language);
    processor->SetSourceVocab(&vocab);
    for (int round = 0; round < 400; ++round) {
      const std::string text = random_text(random);
      SCOPED_TRACE(testing::PrintToString(text) + " " + std::to_string(static_cast<int>(language)));

      ProcessStr plain(false, text);
      ProcessWordSeq plain_words(false);
      processor->Preprocess(plain, plain_words);
      const std::string expected = words_of(*processor, text);

      ProcessStr placed(true, text);
      placed.set_identity();
      ProcessWordSeq placed_words(true);
      const std::string error = error_of([&] { processor->Preprocess(placed, placed_words); });
      if (!error.empty()) {
        // A segmenter can place nothing in a text that is empty or has become so.
        ASSERT_EQ(error, "Preprocess string error\n");
        ASSERT_EQ(plain.text(), "");
        continue;
      }
      ASSERT_EQ(placed.text(), plain.text());
      ASSERT_TRUE(placed.consistent());
      ASSERT_TRUE(inside(placed.positions(), text.size()));
      ASSERT_TRUE(std::is_sorted(placed.positions().begin(), placed.positions().end()));
      ASSERT_EQ(placed_words.words().size(), plain_words.words().size());
      ASSERT_TRUE(placed_words.consistent());
      ASSERT_TRUE(inside(placed_words.positions(), text.size()));
      ASSERT_TRUE(std::is_sorted(placed_words.positions().begin(), placed_words.positions().end()));
      ASSERT_EQ(words_of(*processor, text), expected);  // nothing is left of the texts before

      ProcessStr output(false, text);
      processor->Postprocess(output);
      ProcessStr placed_output(true, text);
      placed_output.set_identity();
      processor->Postprocess(placed_output);
      ASSERT_EQ(placed_output.text(), output.text());
      ASSERT_TRUE(placed_output.consistent());
      ASSERT_TRUE(inside(placed_output.positions(), text.size()));
    }
  }
}

// In time that a quadratic step would not meet: it would take hours here.
TEST_F(Chains, TakeLongHostileLinesInTheirStride) {
  const std::string units[] = {"a",  ".",    "\"", "'",  "-",     "中",   " ",
                               "1",  "a.",   "/",  "()", "\\",    "A.B",  "\x80",
                               "1,", "mr. ", "。", "😀",  "five ", "张三", "- "};
  for (const LangType language : {LangType::kChinese, LangType::kEnglish, LangType::kThai}) {
    const auto processor = make(language, language);
    for (const std::string& unit : units) {
      std::string text;
      while (text.size() < 1 << 18) text += unit;
      ProcessStr str(false, text);
      ProcessWordSeq words(false);
      processor->Preprocess(str, words);
      EXPECT_EQ(words.words().empty(), unit == " ");
      ProcessStr output(false, text);
      processor->Postprocess(output);
    }
  }
}

}  // namespace
}  // namespace koralite::textProcess
