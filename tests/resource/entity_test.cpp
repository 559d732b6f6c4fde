#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/ne_dict.h"
#include "textProcess/process_str.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

using namespace kora_test;
using textProcess::NeDict;

class EntityFile : public testing::Test {
 protected:
  // "type target" of a phrase, "-" when it is not there.
  static std::string find(const NeDict& dictionary, const char* phrase) {
    const char* type = nullptr;
    const char* target = nullptr;
    if (!dictionary.find(phrase, type, target)) {
      return "-";
    }
    return std::string(type) + " " + target;
  }

  // The message of loading these lines, "" when that goes well.
  std::string load(const std::vector<std::string>& lines) {
    write_resource_file(path_, lines);
    return message_of([&] { const NeDict dictionary(path_.c_str()); });
  }

  TempFolder folder_;
  std::string path_ = folder_.path("entities");
};

TEST_F(EntityFile, LoadsOnlyWhatIsSortedAndWhole) {
  for_cases("cases.txt", "entity files", [this](const Case& c) {
    EXPECT_EQ(load(std::vector<std::string>(c.cells.begin() + 1, c.cells.end())), c[0]);
  });
  EXPECT_THROW(NeDict("/no/such/file"), std::runtime_error);
}

TEST_F(EntityFile, FindsWholePhrasesAndKeepsWhatItHandedOut) {
  ASSERT_EQ(load({}), "");
  // Empty records have a number, too, and a target may hold TABs.
  ASSERT_EQ(load({"", "\tNIL\tempty", "", "new york\tLOC\t纽约", "york\tLOC\t约克\t\r"}), "");
  NeDict dictionary(path_.c_str());
  EXPECT_EQ(dictionary.size(), 3U);
  EXPECT_EQ(find(dictionary, "new york"), "LOC 纽约");
  EXPECT_EQ(find(dictionary, "york"), "LOC 约克\t\r");
  EXPECT_EQ(find(dictionary, ""), "NIL empty");
  for (const char* no : {"new", "new yor", "new york ", "New York", "new york\tLOC"}) {
    EXPECT_EQ(find(dictionary, no), "-") << no;
  }
  const char* type = nullptr;
  const char* target = nullptr;
  ASSERT_TRUE(dictionary.find("new york", type, target));
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(find(dictionary, "york"), "LOC 约克\t\r");
  }
  EXPECT_STREQ(type, "LOC");
  EXPECT_STREQ(target, "纽约");
  dictionary.clear_found();
  EXPECT_EQ(find(dictionary, "new york"), "LOC 纽约");
}

// Phrases as the English steps leave them: what is looked up must be found.
std::vector<std::string> english_words(const std::string& phrase) {
  using namespace textProcess;
  ProcessStr str(false, phrase);
  auto tokenize = std::make_unique<TokenizeEngStrProcessor>(0U, nullptr);
  auto lowercase = std::make_unique<LowercaseEngStrProcessor>(1U, std::move(tokenize));
  ReplaceSpecCharStrProcessor escape(2U, std::move(lowercase));
  if (escape.Process(str) == 0) {
    return {};
  }
  return Case{{}, {str.text()}}.words(0);
}

TEST_F(EntityFile, IsBuiltFromPhrasesAsPeopleWriteThem) {
  const std::vector<entity_t> entities = parse_entities(
      "# places\n"
      "New York\tLOC\t纽约\r\n"
      "\n"
      "Côte d'Ivoire\tLOC\t科特迪瓦\n"
      "St. John's\tLOC\t圣约翰斯\n"
      "C#\tLANG\tC# 语言\n"
      "NEW  YORK\tLOC\t新约克\n"
      "a b c d e f g h i\tLOC\tlong\n"
      "   \tLOC\tblanks\n"
      "Plan B\tX\tBA(\n",
      "list.tsv");
  ASSERT_EQ(entities.size(), 8U);
  entity_options_t options;
  options.words = english_words;
  const entity_report_t report = write_entity_file(entities, options, path_);
  EXPECT_EQ(report.read, 8U);
  EXPECT_EQ(report.written, 4U);
  EXPECT_THAT(report.types, testing::ElementsAre("LANG", "LOC"));
  using testing::StartsWith;
  EXPECT_THAT(report.dropped,
              testing::ElementsAre(StartsWith("7: NEW  YORK: is there already as \"new york\""),
                                   StartsWith("8: a b c d e f g h i: has 9 words, 8 at most"),
                                   StartsWith("9:    : nothing"), StartsWith("10: Plan B: ")));
  const NeDict dictionary(path_.c_str());
  EXPECT_EQ(find(dictionary, "new york"), "LOC 纽约");
  EXPECT_EQ(find(dictionary, "c ô te d'ivoire"), "LOC 科特迪瓦");
  EXPECT_EQ(find(dictionary, "st. john 's"), "LOC 圣约翰斯");
  EXPECT_EQ(find(dictionary, "c \\#"), "LANG C\\# 语言");
}

TEST_F(EntityFile, JoinsWordsAsTheLanguageIsLookedUp) {
  const entity_t entity{"北 京", "LOC", "Beijing", 1};
  entity_options_t options;
  options.join = "";
  EXPECT_EQ(write_entity_file({&entity, 1}, options, path_).written, 1U);
  EXPECT_EQ(find(NeDict(path_.c_str()), "北京"), "LOC Beijing");
}

TEST(Entities, BadListsAreRefusedByLine) {
  for_cases("cases.txt", "entity lists",
            [](const Case& c) { EXPECT_EQ(message_of([&] { parse_entities(c[0], "x"); }), c[1]); });
  EXPECT_THROW(read_entities("/no/such/list"), std::runtime_error);
}

}  // namespace
}  // namespace koralite::toolkit
