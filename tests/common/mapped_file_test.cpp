#include "common/mapped_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_folder.h"

using kora_test::message_of;
using kora_test::TempFolder;
using koralite::common::MappedFile;

namespace {

std::string text_of(const MappedFile& file) {
  return {file.data().begin(), file.data().end()};
}

TEST(MappedFile, BothWaysGiveTheBytesOfTheFile) {
  const TempFolder folder;
  for (const std::size_t size : {0U, 1U, 4096U, 65536U, 65537U, 300000U}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<char>(i * 7 + i / 256);
    }
    const std::string path = folder.write("file", bytes);
    for (const auto access : {MappedFile::Access::kMap, MappedFile::Access::kCopy}) {
      MappedFile file(path, access);
      EXPECT_EQ(text_of(file), bytes);
      const auto* before = file.data().data();
      MappedFile moved = std::move(file);
      EXPECT_EQ(moved.data().data(), before) << "views must survive a move";
      MappedFile assigned;
      assigned = std::move(moved);
      EXPECT_EQ(text_of(assigned), bytes);
    }
  }
}

TEST(MappedFile, RefusesWhatIsNoRegularFileAndSaysWhy) {
  const TempFolder folder;
  const std::string zero = folder.write("file", "x") + std::string("\0tail", 5);
  std::vector<std::pair<std::string, std::string>> cases = {
      {folder.path("missing"), "No such file"},
      {folder.path(), "is a folder"},
      {zero, "zero byte in the name"},
      {"", "No such file"},
  };
#ifdef _WIN32
  cases.emplace_back("NUL", "not a regular file");
  cases.emplace_back("broken \xff", "not UTF-8");
#else
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  cases.emplace_back(pipe, "not a regular file");
  cases.emplace_back("/dev/zero", "not a regular file");
#endif
  for (const auto& [path, reason] : cases) {
    std::string said;
    EXPECT_FALSE(MappedFile::open(path, &said)) << path;
    EXPECT_THAT(said, testing::HasSubstr(reason)) << path;
    const std::string wanted = "can't open [file=" + path + "]: " + said;
    EXPECT_EQ(message_of([&path = path] { MappedFile file(path); }), wanted.c_str());
  }
}

TEST(MappedFile, TakesPathsInUtf8AndOfAnyLength) {
  const TempFolder folder;
  std::filesystem::path deep = folder.path();
#ifdef _WIN32
  deep = L"\\\\?\\" + std::filesystem::absolute(deep).make_preferred().native();
#endif
  std::string path = folder.path();
  for (int i = 0; i < 6; ++i) {
    const std::string name = "\xe6\xa8\xa1\xe5\x9e\x8b \xc3\xa9 " + std::string(50, 'x');
    deep /= std::u8string(name.begin(), name.end());
    path += "/" + name;
    std::filesystem::create_directory(deep);
  }
  std::ofstream(deep / "file") << "text";
  path += "/file";
  ASSERT_GT(path.size(), 300U);
  for (const auto access : {MappedFile::Access::kMap, MappedFile::Access::kCopy}) {
    EXPECT_EQ(text_of(MappedFile(path, access)), "text");
  }
}

}  // namespace
