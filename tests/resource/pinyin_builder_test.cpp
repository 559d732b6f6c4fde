// The pinyin file builder: what it takes from the Unihan readings, and that the
// engine reads back what it wrote.
#include "toolkit/resource/pinyin_builder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "textProcess/pinyin_converter.h"

namespace koralite::toolkit {
namespace {

TEST(PinyinBuilder, TakesTonesOff) {
  const std::pair<std::string, std::string> cases[] = {
      {"zhōng", "zhong"}, {"guó", "guo"}, {"nǚ", "nv"}, {"lüè", "lve"}, {"lǖ", "lv"},
      {"yú", "yu"},       {"ḿ", "m"},     {"ňg", "ng"}, {"ê̄", "e"},     {"a", "a"},
      {"", ""},           {"A", ""},      {"ma1", ""},  {"中", ""},     {"\xFF", ""},
  };
  for (const auto& [reading, plain] : cases) EXPECT_EQ(toneless_pinyin(reading), plain) << reading;
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
  const std::string path = testing::TempDir() + "/pinyin_builder_test.bin";
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
  const auto message = [](const std::string& line) -> std::string {
    PinyinBuilder builder;
    builder.add_line("# first");
    try {
      builder.add_line(line);
      builder.bytes();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return {};
  };
  EXPECT_EQ(
      message("4E2D\tkMandarin\tzhōng"),
      "Unihan readings, line 2: \"4E2D\" is no code point; expected U+ and hexadecimal digits");
  EXPECT_EQ(message("U+4E2DX\tkMandarin\tzhōng"),
            "Unihan readings, line 2: \"U+4E2DX\" is no code point; expected U+ and hexadecimal "
            "digits");
  EXPECT_EQ(message("U+4E2D\tkMandarin\tzhong4"),
            "Unihan readings, line 2: \"zhong4\" is no pinyin reading");
  EXPECT_EQ(message("U+4E2D\tkMandarin"), "Unihan readings, line 2: \"\" is no pinyin reading");
  EXPECT_EQ(message("U+4E2D\tkDefinition\tmiddle"),
            "no kMandarin readings; is this Unihan_Readings.txt, unpacked?");
}

}  // namespace
}  // namespace koralite::toolkit
