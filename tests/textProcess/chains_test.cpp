// The language pipelines: which steps run for which language, what the
// configuration leaves out, and that any bytes pass through every chain.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

#include "common/text_split.h"
#include "decoder/vocab.h"
#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/chs_constraint.h"
#include "textProcess/eng_constraint.h"
#include "textProcess/fake_lexicut.h"
#include "textProcess/jpa_constraint.h"
#include "textProcess/pinyin_bytes.h"
#include "textProcess/pinyin_converter.h"
#include "textProcess/processor.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_literals;
using namespace kora_test;

constexpr LangType kSources[] = {LangType::kChinese, LangType::kEnglish, LangType::kJapanese,
                                 LangType::kKorean,  LangType::kThai,    LangType::kArabic,
                                 LangType::kRussian, LangType::kWenYan,  LangType::kYue};

class Chains : public ::testing::Test {
 protected:
  Chains() {
    folder_.write("dict", "unread");
    folder_.write("pinyin", tests::pinyin_bytes("三 san 张 zhang 龘 da"));
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
    if (source == LangType::kEnglish) {
      sections.emplace_back("[rule]", "rules.ec");
    }
    if (source == LangType::kChinese) {
      sections.emplace_back("[rule]", "rules.ce");
    }
    if (source == LangType::kThai) {
      sections.emplace_back("[single-word-split]", "1");
    }
    return sections;
  }

  std::unique_ptr<Processor> make(LangType source, LangType target,
                                  const Sections& sections) const {
    std::string lines;
    for (const auto& [header, value] : sections) {
      lines += header + "\n" + value + "\n\n";
    }
    return std::make_unique<Processor>(source, target, folder_.write("conf", lines), folder_.path(),
                                       tests::FakeLibrary::api());
  }
  std::unique_ptr<Processor> make(LangType source, LangType target) const {
    return make(source, target, full(source));
  }

  TempFolder folder_;
  tests::FakeLibrary library_{tests::by_character};
};

template <class Step>
std::string names_of(const Step* head) {
  std::vector<std::string> names;
  for (const Step* step = head; step != nullptr; step = step->prior()) {
    names.insert(names.begin(), step->name());
  }
  std::string out;
  for (const std::string& name : names) {
    out += (out.empty() ? "" : ", ") + name;
  }
  return out;
}

// The words of a text, each with "/translation/tag" if it has them.
std::string words_of(Processor& processor, const std::string& text) {
  ProcessStr str(false, text);
  ProcessWordSeq words(false);
  processor.Preprocess(str, words);
  std::string out;
  for (const auto& node : words.words()) {
    if (!out.empty()) {
      out += ' ';
    }
    out += node.word;
    if (node.tag != nullptr) {
      out += "/"s + node.translation + "/" + node.tag;
    }
  }
  return out;
}

std::string postprocessed(Processor& processor, const std::string& text) {
  ProcessStr str(false, text);
  processor.Postprocess(str);
  return str.text();
}

TEST_F(Chains, ReadTheConfigurationAndItsDebugLevel) {
  const std::pair<const char*, bool> cases[] = {
      {"[debugLevel]\n1\n", true},    {"[debugLevel]\n2x\n", true}, {"[debugLevel]\n0\n", false},
      {"[debugLevel]\n\n1\n", false}, {"[debugLevel]\n", false},    {"[ne]\n1\n", false}};
  for (const auto& [text, debug] : cases) {
    const auto lines = AbstractProcessor::Config2Vec(folder_.write("conf", text));
    EXPECT_EQ(AbstractProcessor::GetDebLevel(lines), debug) << text;
  }
  const std::string missing = folder_.path("none");
  EXPECT_EQ(message_of([&] { AbstractProcessor::Config2Vec(missing); }),
            "failed to open config [file=" + missing + "]");
}

TEST_F(Chains, RunTheStepsOfTheirLanguage) {
  for_cases("words.txt", "chains", [this](const Case& c) {
    for (const int code : c.numbers(0)) {
      const auto processor = make(LangType{code}, LangType{code});
      EXPECT_EQ(names_of(processor->preprocessor().string_chain()), c[1]) << code;
      EXPECT_EQ(names_of(processor->preprocessor().word_chain()), c[2]) << code;
      EXPECT_EQ(names_of(processor->postprocessor().string_chain()), c[3]) << code;
    }
  });
}

TEST_F(Chains, RefuseLanguagesWithoutOne) {
  for (const int code : {0, 7, 8, 10, 11, 14, -1}) {
    const auto language = static_cast<LangType>(code);
    EXPECT_EQ(message_of([&] { make(language, language, {}); }), "Invalid source language type!");
    EXPECT_EQ(message_of([&] { make(LangType::kEnglish, language, {}); }),
              "Invalid target language type!");
  }
  for (int code = -1; code <= 14; ++code) {
    const auto language = static_cast<LangType>(code);
    const std::string message = message_of([&] { make(LangType::kEnglish, language, {}); });
    EXPECT_EQ(has_postprocessor(language), message != "Invalid target language type!") << code;
  }
  EXPECT_EQ(message_of([&] {
              Processor(LangType::kEnglish, LangType::kChinese, folder_.path("none"), "");
            }),
            "failed to open config [file=" + folder_.path("none") + "]");
}

TEST_F(Chains, LeaveOutWhatTheConfigurationDoesNotName) {
  for_cases("words.txt", "optional sections", [this](const Case& c) {
    const LangType source{c.number(0)};
    const std::string& section = c[2];
    Sections sections = full(source);
    std::erase_if(sections, [&](const auto& entry) { return entry.first == section; });
    // With the section's value, "none" for no such section.
    const auto result = [&](const std::string& value) {
      Sections given = sections;
      if (value != "none") {
        given.emplace_back(section, value);
      }
      const auto processor = make(source, LangType{c.number(1)}, given);
      return section == "[recase]" ? postprocessed(*processor, c[4]) : words_of(*processor, c[4]);
    };
    for (const char* absent : {"none", ""}) {
      std::string found;
      EXPECT_EQ(message_of([&] { found = result(absent); }), c[7]);
      EXPECT_EQ(found, c[6]);
    }
    EXPECT_EQ(result(c[3]), c[5]);
    if (section != "[segment]") {
      EXPECT_NE(message_of([&] { result("no such file"); }), "");
    }
  });
}

TEST_F(Chains, SplitSingleWordsOnDemand) {
  for_cases("words.txt", "single word split on demand", [this](const Case& c) {
    Sections sections;
    if (c[0] != "none") {
      sections.emplace_back("[segment]", c[0]);
    }
    if (c[1] != "none") {
      sections.emplace_back("[single-word-split]", c[1]);
    }
    std::string chain = "error";
    message_of([&] {
      chain = names_of(
          make(LangType::kRussian, LangType::kThai, sections)->preprocessor().string_chain());
    });
    EXPECT_EQ(chain, c[2] == "error" ? c[2]
                                     : "clean, sbc2dbc, " + c[2] +
                                           "text_replace, unique_blank, replace_spec_char");
  });
}

TEST_F(Chains, TurnTextIntoWords) {
  for_cases("words.txt", "texts", [this](const Case& c) {
    EXPECT_EQ(words_of(*make(LangType{c.number(0)}, LangType::kEnglish), c[1]), c[2]);
  });
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
    return message_of([&] {
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
  ProcessStr plain(false, "中");
  ProcessWordSeq placed(true);
  EXPECT_EQ(message_of([&] { processor->Preprocess(plain, placed); }),
            "Preprocess Str2WordSeq error\n");
  ProcessStr unplaced(true, "a");
  EXPECT_EQ(message_of([&] { processor->Postprocess(unplaced); }), "Postprocess error\n");
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
  static const std::vector<std::string> kBits = read_cases("words.txt", "bits").at(0).cells;
  std::string text;
  const std::size_t kinds = 1 + random() % kBits.size();
  const std::size_t shift = random() % kBits.size();
  for (std::size_t n = random() % 60; n > 0; --n) {
    text += kBits[(shift + random() % kinds) % kBits.size()];
  }
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
      const std::string error = message_of([&] { processor->Preprocess(placed, placed_words); });
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

// A quadratic step would need minutes for such a line, linear ones need milliseconds.
TEST_F(Chains, TakeLongHostileLinesInTheirStride) {
  const auto units = read_cases("words.txt", "hostile units").at(0).cells;
  for (const LangType language : {LangType::kChinese, LangType::kEnglish, LangType::kThai}) {
    const auto processor = make(language, language);
    for (const std::string& unit : units) {
      std::string text;
      while (text.size() < 1 << 18) {
        text += unit;
      }
      const std::clock_t start = std::clock();
      const bool empty = unit == " " || unit == std::string(1, '\0');
      EXPECT_EQ(words_of(*processor, text).empty(), empty) << unit;
      std::string output = postprocessed(*processor, text);
      common::text_split_sent_eng(text, output);
      common::text_split_sent_chs(text, output);
      common::text_uppercase_eng(text, output);
      EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC) << unit;
    }
  }
}

}  // namespace
}  // namespace koralite::textProcess
