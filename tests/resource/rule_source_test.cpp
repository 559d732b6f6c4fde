#include "toolkit/resource/rule_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

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

INSTANTIATE_TEST_SUITE_P(Directions, RuleData, testing::Values("en-zh", "zh-en"),
                         [](const auto& direction) {
                           return direction.param[0] == 'e' ? "EnZh" : "ZhEn";
                         });

}  // namespace
}  // namespace koralite::toolkit
