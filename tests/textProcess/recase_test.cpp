#include <string>
#include <string_view>
#include <vector>

#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/model_folder.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

using tests::error_of;
using tests::ModelFolder;

TEST(EngRecase, WithoutAModelOnlySentenceStarts) {
  EngRecaseStrProcessor step(0, nullptr, "");
  expect_texts(step, {{"", ""},
                      {"   ", "   "},
                      {"  hello . new  york ? 2010 x", "  Hello . New  york ? 2010 x"},
                      {"2010 was", "2010 was"},
                      {"中 a . b", "中 a . B"}});
}

TEST(EngRecase, LongestGroupOfTheModelWins) {
  const ModelFolder folder;
  const std::string model = folder.write_lines(
      "recase",
      {"3 7 53", "IBM", "iPhone", "iPhone X", "", "New", "New York", "New York City", "USA"});
  EngRecaseStrProcessor step(4, nullptr, model);
  expect_texts(step, {{"", ""},
                      {"   ", ""},
                      {"in new york city hall", "In New York City hall"},
                      {"in new york", "In New York"},
                      {"new yorks and new  york", "New yorks and New York"},
                      {"an iphone x . iphone", "An iPhone X . IPhone"},
                      {"ibm usa us usas zzz", "IBM USA us usas zzz"},
                      // The key is not lower-cased, and what is unknown stays as it stands.
                      {"in Ibm", "In Ibm"},
                      {" hello.  new ? ok", "Hello. New ? Ok"}});
  expect_places(step,
                {{" a  new   york b", "A New York b", {1, 2, 4, 5, 6, 7, 10, 11, 12, 13, 14, 15}}});

  std::vector<std::string_view> list = {"new", "york", "x"};
  std::span<const std::string_view> tokens = list;
  std::string token;
  ASSERT_TRUE(step.GetNextToken(tokens, token));
  EXPECT_EQ(token, "New York");
  ASSERT_TRUE(step.GetNextToken(tokens, token));
  EXPECT_EQ(token, "x");
  EXPECT_FALSE(step.GetNextToken(tokens, token));
}

TEST(EngRecase, WordsPerEntryAreBoundedByTheHead) {
  const ModelFolder folder;
  EngRecaseStrProcessor one(0, nullptr, folder.write_lines("one", {"1 2 13", "New", "New York"}));
  expect_texts(one, {{"in new york", "In New york"}});
  EngRecaseStrProcessor none(0, nullptr, folder.write_lines("none", {"0 1 4", "New"}));
  expect_texts(none, {{"in  new", "In  new"}});
}

TEST(EngRecase, HeadAndEntriesMustAgree) {
  const ModelFolder folder;
  struct Case {
    std::vector<std::string> lines;
    bool good;
  };
  for (const Case& c : std::vector<Case>{
           {{"1 1 4", "New"}, true},
           {{"\t+1  1\v4x", "New"}, true},
           {{"1 1 400", "New"}, true},
           {{"4294967295 1 4", "New"}, true},
           {{}, false},
           {{""}, false},
           {{"1 1", "New"}, false},
           {{"1 0 4", "New"}, false},
           {{"1 1 0", "New"}, false},
           {{"1 -1 4", "New"}, false},
           {{"1 1 4294967296", "New"}, false},
           {{"1 ++1 4", "New"}, false},
           {{"1,1,4", "New"}, false},
           {{"1 1 3", "New"}, false},
           {{"1 1 40", "New", "Old"}, false},
           {{"1 2 40", "New"}, false},
           {{"1 4294967295 4294967295", "New"}, false},
       }) {
    const std::string path = folder.write_lines("recase", c.lines);
    EXPECT_EQ(error_of([&] { EngRecaseStrProcessor(0, nullptr, path); }),
              c.good ? "" : "Invalidate head info in ercase")
        << testing::PrintToString(c.lines);
  }
  EXPECT_EQ(error_of([&] { EngRecaseStrProcessor(0, nullptr, folder.file("missing")); }),
            "Invalidate Input file");
}

TEST(EngRecase, EntriesOutOfOrderAreOnlyMissed) {
  const ModelFolder folder;
  EngRecaseStrProcessor step(0, nullptr,
                             folder.write_lines("recase", {"9 4 15", "Zz", "Aa", "Zz Y", "Bb"}));
  EXPECT_EQ(run_plain(step, "x bb zz y q").text().size(), 11U);
}

}  // namespace
}  // namespace koralite::textProcess
