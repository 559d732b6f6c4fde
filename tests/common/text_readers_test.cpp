#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/log_writer.h"
#include "common/pack_free_input.h"
#include "common/pick_conf.h"
#include "common/text_io.h"
#include "support/temp_folder.h"

using namespace koralite::common;
using kora_test::message_of;
using kora_test::TempFolder;

namespace {

using Lines = std::vector<std::string>;

struct Stream {
  explicit Stream(const std::string& path) : file(std::fopen(path.c_str(), "rb"), &std::fclose) {}
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
};

TEST(KoraFgets, LinesAndOverflow) {
  const TempFolder folder;
  const std::string overflow = "<overflow>";
  struct case_t {
    std::string file;
    Lines lines;
  };
  const case_t cases[] = {
      {"", {}},
      {"ab\n\nabc", {"ab", "", "abc"}},
      {"123456\n", {"123456"}},
      {"123456", {"123456"}},
      {"1234567\n", {overflow}},
      {"1234567", {overflow}},
      {"abcdefghij\n", {overflow}},
      {"ab\r\n", {"ab\r"}},
      {std::string("\0ab\n", 4), {overflow}},
      {std::string("a\0b\nc\n", 6), {overflow}},
      {std::string("a\0b", 3), {"a"}},
  };
  for (const case_t& c : cases) {
    const Stream stream(folder.write("file", c.file));
    Lines found;
    char buffer[8];
    const std::string error = message_of([&] {
      while (char* line = kora_fgets(buffer, 8, stream.file.get())) found.emplace_back(line);
    });
    if (!error.empty()) {
      EXPECT_EQ(error, "input line length overflow in kora_fgets()");
      found.push_back(overflow);
    }
    EXPECT_EQ(found, c.lines) << c.file;
  }
}

TEST(SplitString, ArrayForm) {
  struct case_t {
    std::string text;
    int limit;
    Lines fields;
    std::string after;  // the text afterwards, '|' for a zero byte
  };
  const case_t cases[] = {
      {",a,,b,", 9, {"a", "b"}, "|a||b|"},
      {",a,,b,", 1, {"a"}, "|a|,b,"},
      {"a,b", 2, {"a", "b"}, "a|b"},
      {"a,b", 1, {"a"}, "a|b"},
      {"a,b,c", 2, {"a", "b"}, "a|b|c"},
      {"", 3, {}, ""},
      {",,,", 3, {}, "|||"},
      {"a,b", 0, {}, "a,b"},
      {"a,b", -1, {}, "a,b"},
      {"a", 1, {"a"}, "a"},
  };
  for (const case_t& c : cases) {
    std::string text = c.text;
    const char* fields[9];
    const int count = split_string(text.data(), fields, c.limit, ',');
    EXPECT_EQ(Lines(fields, fields + count), c.fields) << c.text;
    for (char& byte : text) byte = byte == '\0' ? '|' : byte;
    EXPECT_EQ(text, c.after) << c.text;
  }
}

TEST(SplitString, ListForms) {
  const std::tuple<const char*, const char*, Lines> cases[] = {
      {",a,,b,", ",", {"a", "b"}},
      {"", ",", {}},
      {"a ||| b ||| c", " ||| ", {"a", "b", "c"}},
      {"||||a|||", "|||", {"|a"}},
      {"aaa", "aa", {"a"}},
      {"abc", "", {}},
      {"abc", nullptr, {}},
      {"abc", "abcd", {"abc"}},
  };
  for (const auto& [given, separator, wanted] : cases) {
    std::string text = given;
    std::vector<char*> fields = {text.data()};
    split_string(text.data(), fields, separator);
    EXPECT_EQ(Lines(fields.begin(), fields.end()), wanted) << given;
    if (separator && std::string(separator).size() == 1) {
      text = given;
      split_string(text.data(), fields, *separator);
      EXPECT_EQ(Lines(fields.begin(), fields.end()), wanted) << given;
    }
  }
}

TEST(PackFreeInput, ReadsAcrossBufferBoundsAndStopsAtTheEnd) {
  const TempFolder folder;
  std::string bytes;  // 7-byte groups, so that values straddle the end of every buffer
  for (unsigned i = 0; i < 5000; ++i)
    bytes += kora_test::le(i * 2654435761U, 4) + kora_test::le(i, 3);
  const Stream stream(folder.write("file", bytes + "ab"));
  PackFreeInput input(stream.file.get());
  for (unsigned i = 0; i < 5000; ++i) {
    std::uint32_t first = 0;
    std::uint16_t second = 0;
    char third = 1;
    input.Read(first);
    input.Read(second);
    input.Read(third);
    ASSERT_EQ(first, i * 2654435761U);
    ASSERT_EQ(second, i & 0xFFFFU);
    ASSERT_EQ(third, 0);
  }
  float missing = 0;
  const std::string refused = "Invalid input file for PackFreeInput";
  EXPECT_EQ(message_of([&] { input.Read(missing); }), refused) << "two bytes are not a float";
  unsigned char last = 0;
  input.Read(last);
  EXPECT_EQ(last, 'a');
  input.Read(last);
  EXPECT_EQ(last, 'b');
  EXPECT_EQ(message_of([&] { input.Read(last); }), refused);
  EXPECT_FALSE(input.RefreshBuf());
}

TEST(PickConf, LinesOfAFile) {
  const TempFolder folder;
  const std::pair<std::string, Lines> cases[] = {
      {"", {}},
      {"\n", {""}},
      {"[a]", {"[a]"}},
      {"[a]\n", {"[a]"}},
      {"[a]\r\n \n\nx", {"[a]\r", " ", "", "x"}},
      {std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
  };
  for (const auto& [file, wanted] : cases) {
    Lines lines = {"old"};
    PickConf(folder.write("file", file), lines);
    EXPECT_EQ(lines, wanted) << file;
  }
  for (const std::string& bad : {folder.path("missing"), folder.path()}) {
    Lines lines = {"old"};
    EXPECT_EQ(message_of([&] { PickConf(bad, lines); }),
              "failed to open config [file=" + bad + "]");
    EXPECT_TRUE(lines.empty());
  }
}

TEST(FindConf, SingleAndListLookups) {
  struct case_t {
    Lines lines;
    bool single;
    std::string value;
    Lines list;
  };
  const case_t cases[] = {
      {{}, false, "", {}},
      {{"[k]"}, false, "", {}},
      {{"[k]", "v"}, true, "v", {"v"}},
      {{"[k]", "", "v"}, true, "", {}},
      {{"[k]", "v", "[k]", "w", "", "x"}, true, "v", {"v", "[k]", "w"}},
      {{"[k]", "", "[k]", "w"}, true, "", {}},
      {{"x", "[k]", "[other]", "v"}, true, "[other]", {"[other]", "v"}},
      {{"[k]\r", "v"}, false, "", {}},
      {{" [k]", "v"}, false, "", {}},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const case_t& c = cases[i];
    std::string value;
    Lines list = {"old"};
    EXPECT_EQ(find_conf(c.lines, "[k]", value), c.single) << i;
    EXPECT_EQ(value, c.value) << i;
    EXPECT_EQ(find_conf(c.lines, "[k]", list), !c.list.empty()) << i;
    EXPECT_EQ(list, c.list) << i;
  }
}

TEST(LogWriter, OneInstanceWritesWholeLines) {
  testing::internal::CaptureStderr();
  LogWriter::GetInstance().write("a line");
  LogWriter::GetInstance().write("");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line\n\n");
  EXPECT_EQ(&LogWriter::GetInstance(), &LogWriter::GetInstance());
}

}  // namespace
