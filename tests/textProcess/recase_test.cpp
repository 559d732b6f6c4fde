#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "textProcess/eng_recase_str_processor.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

using namespace kora_test;

TEST(EngRecase, LongestGroupOfTheModelWins) {
  const TempFolder folder;
  EngRecaseStrProcessor step(
      4, nullptr,
      folder.write_lines("recase", {"3 7 53", "IBM", "iPhone", "iPhone X", "", "New", "New York",
                                    "New York City", "USA"}));
  expect_cases(step, "recase");
  EngRecaseStrProcessor one(0, nullptr, folder.write_lines("one", {"1 2 13", "New", "New York"}));
  expect_cases(one, "recase, one word an entry");
  EngRecaseStrProcessor none(0, nullptr, folder.write_lines("none", {"0 1 4", "New"}));
  expect_cases(none, "recase, no word an entry");
  // Entries out of order are only missed.
  EngRecaseStrProcessor odd(0, nullptr,
                            folder.write_lines("odd", {"9 4 15", "Zz", "Aa", "Zz Y", "Bb"}));
  EXPECT_EQ(run_step(odd, "x bb zz y q", false).text().size(), 11U);
}

TEST(EngRecase, HeadAndEntriesMustAgree) {
  const TempFolder folder;
  for_cases("steps.txt", "recase heads", [&](const Case& c) {
    std::vector<std::string> lines(c.cells.begin() + 1, c.cells.end());
    const std::string path = folder.write_lines("recase", lines);
    EXPECT_EQ(message_of([&] { EngRecaseStrProcessor(0, nullptr, path); }),
              c[0] == "good" ? "" : "Invalidate head info in ercase");
  });
  EXPECT_EQ(message_of([&] { EngRecaseStrProcessor(0, nullptr, folder.path("missing")); }),
            "Invalidate Input file");
}

}  // namespace
}  // namespace koralite::textProcess
