// The pinyin file builder: what it takes from the Unihan readings, and that the
// engine reads back what it wrote.
#include "toolkit/resource/pinyin_builder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "textProcess/pinyin_converter.h"

namespace koralite::toolkit {
namespace {

TEST(PinyinBuilder, TakesTonesOff) {
  kora_test::for_cases("cases.txt", "tones",
                       [](const kora_test::Case& c) { EXPECT_EQ(toneless_pinyin(c[0]), c[1]); });
}

TEST(PinyinBuilder, WritesWhatTheEngineReads) {
  std::istringstream lines(
      "#\tkMandarin\n"
      "\n"
      "U+570B\tkMandarin\tguó\n"
      "U+4E2D\tkCantonese\tzung1\n"
      "U+4E2D\tkMandarin\tzhōng zhòng\r\n"
      "U+5973\tkMandarin\tnǚ\n"
      "U+4E2D\tkMandarin\txx\n"
      "U+20000\tkMandarin\thē\n"
      "U+5152\tkMandarin\tguó\n");
  PinyinBuilder builder;
  builder.add_lines(lines);
  const kora_test::TempFolder folder;
  const std::string path = folder.path("pinyin");
  const pinyin_report_t report = builder.write(path);
  EXPECT_EQ(report.characters, 4U);
  EXPECT_EQ(report.readings, 3U);
  EXPECT_EQ(report.longest, 5U);
  EXPECT_EQ(report.outside, 1U);

  const textProcess::PinyinConverter converter(path);
  std::string out;
  EXPECT_TRUE(converter.get_pinyin("中國女兒好", out));
  EXPECT_EQ(out, "zhongguonvguo");
}

TEST(PinyinBuilder, NamesTheFaultyLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"4E2D\tkMandarin\tzhōng", "line 2: \"4E2D\" is no code point; expected U+ and hex"},
      {"U+4E2DX\tkMandarin\tzhōng", "line 2: \"U+4E2DX\" is no code point; expected U+ and hex"},
      {"U+4E2D\tkMandarin\tzhong4", "Unihan readings, line 2: \"zhong4\" is no pinyin reading"},
      {"U+4E2D\tkMandarin", "Unihan readings, line 2: \"\" is no pinyin reading"},
      {"U+4E2D\tkDefinition\tmiddle", "no kMandarin readings; is this Unihan_Readings.txt"},
  };
  for (const auto& [line, message] : cases) {
    PinyinBuilder builder;
    builder.add_line("# first");
    EXPECT_THAT(kora_test::message_of([&, &given = line] {
                  builder.add_line(given);
                  builder.bytes();
                }),
                testing::HasSubstr(message));
  }
}

}  // namespace
}  // namespace koralite::toolkit
