#include "toolkit/resource/rule_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/string_pool.h"
#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/process_str.h"
#include "textProcess/process_word_seq.h"
#include "textProcess/str2word.h"
#include "textProcess/tokenize_eng_str_processor.h"

namespace koralite::toolkit {
namespace {

using namespace kora_test;

// The translator of a source, by way of its resource file.
auto translator_of(const rule_source_t& source) {
  const TempFolder folder;
  write_rule_file(source, folder.path("rules"));
  return open_rules(source.direction, folder.path("rules"));
}

class RuleData : public testing::TestWithParam<const char*> {};

// The examples in the rule files are their tests: each must be translated as it
// says, by the very rule that it stands under.
TEST_P(RuleData, EveryExampleIsTranslatedByItsRule) {
  const rule_source_t source =
      read_rule_source(std::string(KORA_SOURCE_DIR "/data/rules/") + GetParam() + ".rules");
  ASSERT_EQ(source.direction, GetParam());
  const auto translator = translator_of(source);
  ASSERT_EQ(translator->rules().size(), source.compiled().size());
  EXPECT_THAT(check_rule_examples(source, *translator), testing::ElementsAre());
  std::size_t examples = 0;
  for (const source_rule_t& rule : source.rules) {
    examples += rule.examples.size();
  }
  EXPECT_GE(examples, source.rules.size());
}

// translate() looks only at rules that fit the first and last byte; trying them all
// must give the same, whatever the phrase.
TEST_P(RuleData, TranslatesAsIfEveryRuleWereTried) {
  const rule_source_t source =
      read_rule_source(std::string(KORA_SOURCE_DIR "/data/rules/") + GetParam() + ".rules");
  const auto translator = translator_of(source);
  std::vector<std::string> pieces = {" ", "", "\xE5", "99999999999999999999", "0", "."};
  for (const source_rule_t& rule : source.rules) {
    for (const rule_example_t& example : rule.examples) {
      const std::string& phrase = example.source;
      for (std::size_t cut = 1; cut <= phrase.size(); cut += 4) {
        pieces.push_back(phrase.substr(0, cut));
        pieces.push_back(phrase.substr(cut));
      }
      pieces.push_back(phrase);
    }
  }
  std::mt19937 random(5);
  int translated = 0;
  for (int i = 0; i < 4000; ++i) {
    std::string phrase;
    for (auto n = random() % 3 + 1; n > 0; --n) {
      phrase += pieces[random() % pieces.size()];
    }
    std::string target;
    std::string type;
    const bool found = translator->translate(phrase, target, type);
    const auto hit = translate_by_rule(*translator, phrase);
    ASSERT_EQ(found, hit.has_value()) << phrase;
    if (!found) {
      continue;
    }
    ++translated;
    ASSERT_EQ(target, hit->target) << phrase;
    ASSERT_EQ(type, hit->type) << phrase;
  }
  EXPECT_GT(translated, 200);
}

INSTANTIATE_TEST_SUITE_P(Directions, RuleData, testing::Values("en-zh", "zh-en"),
                         [](const auto& direction) {
                           return direction.param[0] == 'e' ? "EnZh" : "ZhEn";
                         });

TEST(RuleSource, TablesRepeatTheirRules) {
  const rule_source_t source = parse_rule_source(
      "%direction en-zh\n"
      "%table unit\n"
      "km = 公里 | s0 > 1\n"
      "square feet = 平方英尺 | s0 > 2\n"
      "%end\n"
      "%table unit2\n"
      "a = b\n"
      "%end\n"
      "## Measures\n"
      "(ai) {unit} {unit2} ||| {unit.2} |||   ||| (ai){unit}{unit.1}{unit2} ||| QTY\n"
      "#: 2 km a => 2公里公里b\n"
      "#! 1 km a\n",
      "x");
  EXPECT_THAT(source.compiled(),
              testing::ElementsAre("(ai) km a ||| s0 > 1 |||   ||| (ai)公里公里b ||| QTY",
                                   "(ai) square feet a ||| s0 > 2 |||   ||| "
                                   "(ai)平方英尺平方英尺b ||| QTY"));
  ASSERT_EQ(source.rules.size(), 1U);
  EXPECT_EQ(source.rules[0].section, "Measures");
  EXPECT_EQ(source.rule_of_line(1).line, 10U);
  EXPECT_THROW(source.rule_of_line(2), std::out_of_range);
  EXPECT_THAT(check_rule_examples(source, *translator_of(source)), testing::ElementsAre());
}

TEST(RuleSource, MistakesAreNamedWithTheirLine) {
  for_cases("cases.txt", "rule mistakes", [](const Case& c) {
    EXPECT_THAT(message_of([&] { parse_rule_source("%direction en-zh\n" + c[0], "x"); }),
                testing::StartsWith(c[1]));
  });
  EXPECT_THROW(parse_rule_source("a ||| b ||| T\n#: a => b\n", "x"), std::runtime_error);
  EXPECT_THROW(parse_rule_source("", "x"), std::runtime_error);
  EXPECT_THROW(read_rule_source("/no/such/file"), std::runtime_error);
  EXPECT_THROW(open_rules("de-fr", "x"), std::runtime_error);
}

TEST(RuleSource, WrongExamplesAreFound) {
  const rule_source_t source = parse_rule_source(
      "%direction en-zh\n"
      "(ai) ||| 第(ci) ||| T\n"
      "#: 5 => 五\n"
      "(ads) ||| (ads) ||| T\n"
      "#: 7 => 第七\n"
      "#: x => 1\n"
      "(ai) km ||| s0 / 0 |||   ||| a ||| T\n"
      "#: 3 km => a\n"
      "#! 6\n",
      "x");
  EXPECT_THAT(check_rule_examples(source, *translator_of(source)),
              testing::ElementsAre("x:3: 5: becomes 第五", "x:5: 7: is taken by the rule in line 2",
                                   "x:6: x: no rule translates it",
                                   testing::StartsWith("x:8: 3 km: number calculation error"),
                                   "x:8: 3 km: no rule translates it",
                                   "x:9: 6: should be left alone, becomes 第六"));
}

// Ordinary text, through the English steps that make words of it, then through
// the word step that asks the rules.
TEST(RulesAsShipped, OrdinaryEnglishReachesTheRules) {
  const rule_source_t source = read_rule_source(KORA_SOURCE_DIR "/data/rules/en-zh.rules");
  const auto rules = translator_of(source);
  common::StringPool pool(102400);
  textProcess::Str2Word words_of(nullptr, rules.get(), pool, ' ');
  for_cases("cases.txt", "English to the rules", [&](const Case& c) {
    textProcess::ProcessStr str(false, c[0]);
    auto norm = std::make_unique<textProcess::EraseCommaStrProcessor>(0U, nullptr);
    auto token = std::make_unique<textProcess::TokenizeEngStrProcessor>(1U, std::move(norm));
    auto lower = std::make_unique<textProcess::LowercaseEngStrProcessor>(2U, std::move(token));
    textProcess::ReplaceSpecCharStrProcessor escape(3U, std::move(lower));
    ASSERT_NE(escape.Process(str), 0);
    textProcess::ProcessWordSeq words(false);
    ASSERT_NE(words_of.DoProcess(str, words), 0);
    std::string shown;
    for (const common::word_node_t& word : words.words()) {
      if (!shown.empty()) {
        shown += ' ';
      }
      shown += word.translation ? "[" + std::string(word.translation) + "]" : word.word;
    }
    EXPECT_EQ(shown, c[1]);
  });
}

TEST(RulesAsShipped, TheTableInTheDocumentsIsUpToDate) {
  EXPECT_EQ(std::system(KORA_SOURCE_DIR "/script/rules-table --check"), 0);
}

}  // namespace
}  // namespace koralite::toolkit
