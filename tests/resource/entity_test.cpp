#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/ne_dict.h"
#include "textProcess/process_str.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

using textProcess::NeDict;

class EntityFile : public testing::Test {
 protected:
  ~EntityFile() override { std::filesystem::remove(path_); }

  // "type target" of a phrase, "-" when it is not there.
  static std::string find(const NeDict& dictionary, const char* phrase) {
    const char* type = nullptr;
    const char* target = nullptr;
    if (!dictionary.find(phrase, type, target)) return "-";
    return std::string(type) + " " + target;
  }

  // The message of loading these lines, "" when that goes well.
  std::string load(const std::vector<std::string>& lines) {
    write_resource_file(path_, lines);
    try {
      const NeDict dictionary(path_.c_str());
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  }

  std::string path_ =
      (std::filesystem::temp_directory_path() / ("kora_entities_" + std::to_string(::getpid())))
          .string();
};

TEST_F(EntityFile, LoadsOnlyWhatIsSortedAndWhole) {
  const std::string format = "unknown format in named entity dictionary file [";
  const std::string twice = "duplicated source words in named entity dictionary file [";
  struct Case {
    std::vector<std::string> lines;
    std::string message;
  };
  const Case cases[] = {
      {{"a\tLOC\tx", "a b\tLOC\ty", "b\tPER\tz"}, ""},
      {{"", "a\tLOC\tx", "", "b\tLOC\ty"}, ""},
      {{"\tLOC\tnothing"}, ""},
      {{"a\t\t"}, ""},
      {{"b\tLOC\tx", "a\tLOC\ty"}, "Invalidate NE Input"},
      {{"b\tLOC\tx", "a"}, "Invalidate NE Input"},  // order is looked at first
      {{"a\tLOC"}, format + "a\tLOC]"},
      {{"a"}, format + "a]"},
      {{"a\tLOC\tx", "a\tLOC\ty"}, twice + "a\tLOC\ty]"},
      {{"a\tLOC\tx", "a\tLOC\tx"}, twice + "a\tLOC\tx]"},
      {{"\xE4\xB8\xAD\tLOC\tx", "a\tLOC\tx"}, "Invalidate NE Input"},  // bytes are unsigned
  };
  for (const Case& c : cases) EXPECT_EQ(load(c.lines), c.message) << c.lines[0];
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
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(find(dictionary, "york"), "LOC 约克\t\r");
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
  if (escape.Process(str) == 0) return {};
  std::vector<std::string> words;
  std::istringstream in(str.text());
  for (std::string word; in >> word;) words.push_back(word);
  return words;
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
  struct Case {
    const char* text;
    const char* message;
  };
  constexpr Case cases[] = {
      {"a\tb\tc\nno tabs\n", "x:2: an entry is SOURCE, TAB, TYPE, TAB, TARGET"},
      {"a\tb\n", "x:1: an entry is SOURCE, TAB, TYPE, TAB, TARGET"},
      {"\ta\tb", "x:1: an entry has an empty field"},
      {"a\t\tb", "x:1: an entry has an empty field"},
      {"a\tb\tc\td", "x:1: an entry has more than three fields"},
  };
  for (const Case& c : cases) {
    try {
      parse_entities(c.text, "x");
      ADD_FAILURE() << c.text;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), c.message);
    }
  }
  EXPECT_THROW(read_entities("/no/such/list"), std::runtime_error);
}

}  // namespace
}  // namespace koralite::toolkit
