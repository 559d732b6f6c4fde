#include "toolkit/resource/rule_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "common/string_pool.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/process_str.h"
#include "textProcess/process_word_seq.h"
#include "textProcess/str2word.h"
#include "textProcess/tokenize_eng_str_processor.h"

namespace koralite::toolkit {
namespace {

// A resource file of rules that is removed again.
class RuleFile {
 public:
  explicit RuleFile(const rule_source_t& source)
      : path_(std::filesystem::temp_directory_path() /
              ("kora_rules_" + std::to_string(::getpid()) + source.direction)) {
    write_rule_file(source, path_);
  }
  ~RuleFile() { std::filesystem::remove(path_); }
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

class RuleData : public testing::TestWithParam<const char*> {};

// The examples in the rule files are their tests: each must be translated as it
// says, by the very rule that it stands under.
TEST_P(RuleData, EveryExampleIsTranslatedByItsRule) {
  const rule_source_t source =
      read_rule_source(std::string(KORA_SOURCE_DIR "/data/rules/") + GetParam() + ".rules");
  ASSERT_EQ(source.direction, GetParam());
  const RuleFile file(source);
  const auto translator = open_rules(source.direction, file.path());
  ASSERT_EQ(translator->rules().size(), source.compiled().size());
  EXPECT_THAT(check_rule_examples(source, *translator), testing::ElementsAre());
  std::size_t examples = 0;
  for (const source_rule_t& rule : source.rules) examples += rule.examples.size();
  RecordProperty("examples", static_cast<int>(examples));
  std::printf("%s: %zu rules, %zu lines, %zu examples, %zu refusals\n", GetParam(),
              source.rules.size(), source.compiled().size(), examples, source.refused.size());
}

// translate() looks only at rules that fit the first and last byte; trying them all
// must give the same, whatever the phrase.
TEST_P(RuleData, TranslatesAsIfEveryRuleWereTried) {
  const rule_source_t source =
      read_rule_source(std::string(KORA_SOURCE_DIR "/data/rules/") + GetParam() + ".rules");
  const RuleFile file(source);
  const auto translator = open_rules(source.direction, file.path());
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
    for (auto n = random() % 3 + 1; n > 0; --n) phrase += pieces[random() % pieces.size()];
    std::string target;
    std::string type;
    const bool found = translator->translate(phrase, target, type);
    const auto hit = translate_by_rule(*translator, phrase);
    ASSERT_EQ(found, hit.has_value()) << phrase;
    if (!found) continue;
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
  const RuleFile file(source);
  EXPECT_THAT(check_rule_examples(source, *open_rules("en-zh", file.path())),
              testing::ElementsAre());
}

TEST(RuleSource, MistakesAreNamedWithTheirLine) {
  struct Case {
    const char* text;  // behind a %direction line
    const char* message;
  };
  constexpr Case cases[] = {
      {"(ai) ||| (ai)\n", "x:2: a rule has 3 fields, or 5"},
      {"(ai) ||| a ||| b ||| c\n", "x:2: a rule has 3 fields, or 5"},
      {"(ai) |||  ||| t0 = 1 ||| c ||| T\n#: 1 => c\n", "x:2: a field is empty"},
      {"(ci) ||| (ci) ||| T\n", "x:2: (ci) can't be read in en-zh"},
      {"(xx) ||| (ci) ||| T\n", "x:2: (xx) can't be read in en-zh"},
      {"(ai) ||| (ei) ||| T\n", "x:2: (ei) can't be written in en-zh"},
      {"(ed) ||| (ad) ||| T\n", "x:2: (ad) can't be written in en-zh"},
      {"(ai ||| x ||| T\n", "x:2: a ( without its )"},
      {"(ai) ||| (ai)(ai) ||| T\n", "x:2: the target writes more numbers"},
      {"a ||| b ||| T\n\nc ||| d ||| T\n#: c => d\n", "x:2: the rule has no example"},
      {"a ||| b ||| T\n", "x:2: the rule has no example"},
      {"a {t} ||| b ||| T\n", "x:2: there is no table t"},
      {"%table t\na = b\n%end\na {t ||| b ||| T\n", "x:5: a { without its }"},
      {"%table t\na = b\n%end\na {t} ||| b{t.2} ||| T\n", "x:5: table t has no value 2"},
      {"%table t\na = b\n%end\na ||| b{t} ||| T\n", "x:5: {t} must occur in the source pattern"},
      {"%table t\na = b\nc = d | e\n%end\n", "x:4: the entry has another number of values"},
      {"%table t\na\n%end\n", "x:3: an entry is KEY = VALUE"},
      {"%table t\n%end\n", "x:3: the table is empty"},
      {"%table t\na = b\n", "x:4: the table has no %end"},
      {"%table t\na = b\n%end\n%table t\n", "x:5: there is a table t already"},
      {"%tabel t\n", "x:2: unknown directive %tabel t"},
      {"%direction de-fr\n", "x:2: the direction must be"},
      {"#: a => b\n", "x:2: the example stands under no rule"},
      {"a ||| b ||| T\n#: a b\n", "x:3: an example is SOURCE => TARGET"},
  };
  for (const Case& c : cases) {
    try {
      parse_rule_source(std::string("%direction en-zh\n") + c.text, "x");
      ADD_FAILURE() << c.text;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), testing::StartsWith(c.message)) << c.text;
    }
  }
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
  const RuleFile file(source);
  EXPECT_THAT(check_rule_examples(source, *open_rules("en-zh", file.path())),
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
  const RuleFile file(source);
  const auto rules = open_rules(source.direction, file.path());
  struct Case {
    const char* text;
    const char* expected;  // fixed translations in brackets, other words as they are
  };
  constexpr Case cases[] = {
      {"Born on May 3, 2024 in Rome.", "born on [2024年5月3日] in rome ."},
      {"It cost US$3.5 million, 20% more.", "it cost [350万美元] , [20%] more ."},
      {"At -5°C, 10 km away", "at [零下5摄氏度] , [10公里] away"},
      {"Issue #5 of the 21st century", "issue [5号] of [21世纪]"},
      {"The 1990s: 1,234,567 copies", "[20世纪90年代] : [1234567] copies"},
      {"Call me at 10:30 or at 9 a.m.", "call me at 10:30 or at [上午9点]"},
      {"Two-thirds of version 2.0.1 in two weeks", "[三分之二] of [2.0.1版] in [两周]"},
      {"I may have a point.", "i may have a point ."},
  };
  common::StringPool pool(102400);
  textProcess::Str2Word words_of(nullptr, rules.get(), pool, ' ');
  for (const Case& c : cases) {
    textProcess::ProcessStr str(false, c.text);
    auto norm = std::make_unique<textProcess::EraseCommaStrProcessor>(0U, nullptr);
    auto token = std::make_unique<textProcess::TokenizeEngStrProcessor>(1U, std::move(norm));
    auto lower = std::make_unique<textProcess::LowercaseEngStrProcessor>(2U, std::move(token));
    textProcess::ReplaceSpecCharStrProcessor escape(3U, std::move(lower));
    ASSERT_NE(escape.Process(str), 0);
    textProcess::ProcessWordSeq words(false);
    ASSERT_NE(words_of.DoProcess(str, words), 0);
    std::string shown;
    for (const common::word_node_t& word : words.words()) {
      if (!shown.empty()) shown += ' ';
      shown += word.translation ? "[" + std::string(word.translation) + "]" : word.word;
    }
    EXPECT_EQ(shown, c.expected) << c.text;
  }
}

TEST(RulesAsShipped, TheTableInTheDocumentsIsUpToDate) {
  EXPECT_EQ(std::system(KORA_SOURCE_DIR "/script/rules-table --check"), 0);
}

}  // namespace
}  // namespace koralite::toolkit
