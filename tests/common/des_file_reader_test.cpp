#include "common/des_file_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"

using namespace kora_test;
using koralite::common::DesFileReader;

namespace {

using Lines = std::vector<std::string>;

std::string bytes(std::initializer_list<int> values) {
  std::string text;
  for (const int value : values) {
    text.push_back(static_cast<char>(value));
  }
  return text;
}

// Records are worked out by hand: "zA" exchanges the bits 0x28 (7A 41 becomes 52 69) and each byte
// turns right by three bits; an odd last byte turns only.
TEST(DesFileReader, Records) {
  const TempFolder folder;
  struct case_t {
    const char* name;
    std::string file;
    Lines lines;
  };
  const case_t cases[] = {
      {"pair", le(3, 4) + bytes({0x4A, 0x2D, 0}), {"zA"}},
      {"odd byte", le(4, 4) + bytes({0x4A, 0x2D, 0x2C, 0}), {"zAa"}},
      {"no padding", le(2, 4) + bytes({0x4A, 0x2D}), {"zA"}},
      {"empty lines", le(2, 4) + bytes({0, 0, 0x2C, 0, 0, 0}), {"", "a", ""}},
      {"partial record", le(2, 4) + bytes({0x2C, 0, 0x2C}), {"a"}},
      {"no record", le(2, 4), {}},
      {"record larger than the file", le(0x7FFFFFFF, 4) + bytes({0x2C, 0}), {}},
      // 28 D0 turns to 41 86, which exchanges 84: the text is C5 02. With 28 01 it is 49 00.
      {"high bits", le(3, 4) + bytes({0x28, 0xD0, 0}), {bytes({0xC5, 0x02})}},
      {"zero byte ends the text", le(4, 4) + bytes({0x28, 0x01, 0x2C, 0}), {"I"}},
      {"zero byte comes first", le(4, 4) + bytes({0x00, 0x00, 0x2C, 0}), {""}},
  };
  for (const case_t& c : cases) {
    const std::string path = folder.write("file", c.file);
    DesFileReader reader(path);
    Lines found;
    for (std::string line; reader.getline(line);) {
      found.push_back(line);
    }
    EXPECT_EQ(found, c.lines) << c.name;
    ASSERT_EQ(reader.record_count(), c.lines.size()) << c.name;

    DesFileReader random(path.c_str());
    random.CloseEnumMode();
    std::string line;
    EXPECT_FALSE(random.getline(line)) << "no way back to enumeration";
    for (std::size_t i = c.lines.size(); i-- > 0;) {
      EXPECT_TRUE(random.getline(line, static_cast<unsigned>(i)));
      EXPECT_EQ(line, c.lines[i]) << c.name;
    }
    EXPECT_FALSE(random.getline(line, static_cast<unsigned>(c.lines.size()))) << c.name;
    EXPECT_FALSE(random.getline(line, 0xFFFFFFFFU)) << c.name;
  }
}

TEST(DesFileReader, LongFilesGiveEveryRecord) {
  const TempFolder folder;
  for (const unsigned size : {2U, 40U, 50000U}) {
    std::string file = le(size, 4);
    for (int i = 0; i < 30; ++i) {
      file += bytes({0x2C}) + std::string(size - 1, '\0');
    }
    DesFileReader reader(folder.write("file", file));
    int count = 0;
    for (std::string line; reader.getline(line); ++count) {
      EXPECT_EQ(line, "a");
    }
    EXPECT_EQ(count, 30) << size;
  }
}

TEST(DesFileReader, RefusedFiles) {
  const TempFolder folder;
  const std::pair<std::string, const char*> cases[] = {
      {folder.path("missing"), "Invalidate Input file"},
      {folder.path(), "Invalidate Input file"},
      {folder.write("empty", ""), "Cannot read line size"},
      {folder.write("short", "abc"), "Cannot read line size"},
      {folder.write("zero", le(0, 4) + "abc"), "Cannot read line size"},
      {folder.write("negative", le(0x80000000U, 4) + "abc"), "Cannot read line size"},
  };
  for (const auto& [path, message] : cases) {
    EXPECT_EQ(message_of([&path = path] { DesFileReader reader(path); }), message) << path;
  }
  EXPECT_EQ(message_of([] { DesFileReader reader(static_cast<const char*>(nullptr)); }),
            "Invalidate Input file");
}

}  // namespace
