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
#include "support/cases.h"
#include "support/temp_folder.h"

using namespace koralite::common;
using namespace kora_test;

namespace {

using Lines = std::vector<std::string>;

struct Stream {
  explicit Stream(const std::string& path) : file(std::fopen(path.c_str(), "rb"), &std::fclose) {}
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
};

TEST(KoraFgets, LinesAndOverflow) {
  const TempFolder folder;
  for_cases("cases.txt", "kora_fgets", [&](const Case& c) {
    const Stream stream(folder.write("file", c[0]));
    Lines found = {c[0]};
    char buffer[8];
    const std::string error = message_of([&] {
      while (char* line = kora_fgets(buffer, 8, stream.file.get())) {
        found.emplace_back(line);
      }
    });
    if (!error.empty()) {
      EXPECT_EQ(error, "input line length overflow in kora_fgets()");
      found.push_back("<overflow>");
    }
    EXPECT_EQ(found, c.cells);
  });
}

TEST(SplitString, ArrayForm) {
  for_cases("cases.txt", "split array", [](const Case& c) {
    std::string text = c[0];
    const char* fields[9];
    const int count = split_string(text.data(), fields, c.number(1), ',');
    EXPECT_EQ(Lines(fields, fields + count), Lines(c.cells.begin() + 3, c.cells.end()));
    for (char& byte : text) {
      byte = byte == '\0' ? '~' : byte;
    }
    EXPECT_EQ(text, c[2]);
  });
}

TEST(SplitString, ListForms) {
  std::string text = "abc";
  std::vector<char*> fields = {text.data()};
  split_string(text.data(), fields, static_cast<const char*>(nullptr));
  EXPECT_TRUE(fields.empty());
  for_cases("cases.txt", "split list", [&](const Case& c) {
    const Lines wanted(c.cells.begin() + 2, c.cells.end());
    text = c[0];
    split_string(text.data(), fields, c[1].c_str());
    EXPECT_EQ(Lines(fields.begin(), fields.end()), wanted);
    if (c[1].size() != 1) {
      return;
    }
    text = c[0];
    split_string(text.data(), fields, c[1][0]);
    EXPECT_EQ(Lines(fields.begin(), fields.end()), wanted);
  });
}

TEST(PackFreeInput, ReadsAcrossBufferBoundsAndStopsAtTheEnd) {
  const TempFolder folder;
  std::string bytes;  // 7-byte groups, so that values straddle the end of every buffer
  for (unsigned i = 0; i < 5000; ++i) {
    bytes += le(i * 2654435761U, 4) + le(i, 3);
  }
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
  for_cases("cases.txt", "configuration lines", [&](const Case& c) {
    Lines lines = {"old"};
    PickConf(folder.write("file", c[0]), lines);
    EXPECT_EQ(lines, Lines(c.cells.begin() + 1, c.cells.end()));
  });
  for (const std::string& bad : {folder.path("missing"), folder.path()}) {
    Lines lines = {"old"};
    EXPECT_EQ(message_of([&] { PickConf(bad, lines); }),
              "failed to open config [file=" + bad + "]");
    EXPECT_TRUE(lines.empty());
  }
}

TEST(FindConf, SingleAndListLookups) {
  for_cases("cases.txt", "find_conf", [](const Case& c) {
    const Lines lines(c.cells.begin() + 3, c.cells.end());
    std::string value;
    Lines list = {"old"};
    EXPECT_EQ(find_conf(lines, "[k]", value), c.yes(0));
    EXPECT_EQ(value, c[1]);
    EXPECT_EQ(find_conf(lines, "[k]", list), !c[2].empty());
    EXPECT_EQ(list, c[2].empty() ? Lines() : c.parts(2, " // "));
  });
}

TEST(LogWriter, OneInstanceWritesWholeLines) {
  testing::internal::CaptureStderr();
  LogWriter::GetInstance().write("a line");
  LogWriter::GetInstance().write("");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line\n\n");
  EXPECT_EQ(&LogWriter::GetInstance(), &LogWriter::GetInstance());
}

}  // namespace
