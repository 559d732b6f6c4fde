#include "toolkit/resource/recase_builder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "textProcess/eng_recase_str_processor.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

using testing::ElementsAre;

struct Case {
  const char* what;
  std::vector<std::string> lines;
  std::vector<std::string> entries;
  recase_options_t options = {.min_count = 1};
};

TEST(RecaseBuilder, LearnsWhatRunningTextSays) {
  for (const Case& c : std::vector<Case>{
           {"lower case needs no entry", {"the sun is hot", "a sun"}, {}},
           {"names", {"the sun of Rome", "in Rome"}, {"Rome"}},
           {"the usual form wins",
            {"we may go", "it may go", "in May"},
            {},
            {.max_words = 1, .min_count = 1}},
           {"a tie is no majority", {"we may", "in May"}, {}, {.max_words = 1, .min_count = 1}},
           {"a group that its words do not make",
            {"by New York", "at New York", "a new one", "my new one"},
            {"New York", "York"},
            {}},
           {"a group may undo its words",
            {"in May", "of May", "by May", "it may be so"},
            {"it may", "May", "may be"}},
           {"sentence starts say nothing", {"The cat . Some dog ? \" Any cow", "( Few"}, {}},
           {"but odd capitals do", {"eBay is old", "NASA flies ; then"}, {"eBay", "NASA"}},
           {"nor headings", {"Save As", "NO SMOKING", "The Long Way to Tipperary"}, {}},
           {"rare forms are left out", {"by Ann", "by Bob", "by Bob"}, {"Bob"}, {.max_words = 1}},
           {"no group across sentences", {"to Ann . Then to"}, {"Ann"}},
           {"long groups are left out",
            {"by Abcdefghi Jkl"},
            {"Abcdefghi", "Jkl"},
            {.max_bytes = 12, .min_count = 1}},
       }) {
    RecaseBuilder builder(c.options);
    for (const std::string& line : c.lines) builder.add_line(line);
    std::vector<std::string> entries = builder.entries();
    EXPECT_EQ(entries, c.entries) << c.what;
  }
}

TEST(RecaseBuilder, BoundedMemoryForgetsTheRarest) {
  RecaseBuilder builder({.max_words = 1, .min_count = 1, .max_forms = 10});
  for (int i = 0; i < 100; ++i) builder.add_line("by Rome and x" + std::to_string(i) + "Y");
  const std::vector<std::string> entries = builder.entries();
  EXPECT_THAT(entries, testing::Contains("Rome"));
  EXPECT_LT(entries.size(), 12U);
}

TEST(RecaseBuilder, TheEngineReadsWhatIsWritten) {
  const kora_test::TempFolder folder;
  const std::string path = folder.path("recase");
  // "R$" would end in a zero byte, "NEW" comes second, the last is empty.
  const recase_report_t report = write_recase_file(
      path, std::vector<std::string>{"USA", "New", "xxR$", "NEW", "New York", ""});
  EXPECT_EQ(report.entries, 3U);
  EXPECT_EQ(report.longest, 2U);
  EXPECT_EQ(report.dropped, 3U);
  EXPECT_THAT(read_resource_file(path), ElementsAre("2 3 17", "New", "New York", "USA"));

  textProcess::EngRecaseStrProcessor step(0, nullptr, path);
  textProcess::ProcessStr str(false, "see new york , usa");
  EXPECT_NE(step.Process(str), 0);
  EXPECT_EQ(str.text(), "See New York , USA");

  EXPECT_THAT(kora_test::message_of([&] { write_recase_file(path, {}); }),
              testing::HasSubstr("leave the recasing resource out"));
}

}  // namespace
}  // namespace koralite::toolkit
