#include "toolkit/resource/recase_builder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/eng_recase_str_processor.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

using testing::ElementsAre;

TEST(RecaseBuilder, LearnsWhatRunningTextSays) {
  kora_test::for_cases("cases.txt", "recasing", [](const kora_test::Case& c) {
    const std::vector<int> options = c.numbers(0);
    RecaseBuilder builder({.max_words = static_cast<unsigned>(options.at(0)),
                           .max_bytes = static_cast<std::size_t>(options.at(1)),
                           .min_count = static_cast<std::uint64_t>(options.at(2))});
    for (const std::string& line : c.parts(2, " // ")) {
      builder.add_line(line);
    }
    EXPECT_EQ(builder.entries(), c[1].empty() ? std::vector<std::string>() : c.parts(1, " // "));
  });
}

TEST(RecaseBuilder, BoundedMemoryForgetsTheRarest) {
  RecaseBuilder builder({.max_words = 1, .min_count = 1, .max_forms = 10});
  for (int i = 0; i < 100; ++i) {
    builder.add_line("by Rome and x" + std::to_string(i) + "Y");
  }
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
