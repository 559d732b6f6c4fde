#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "common/byte_reader.h"
#include "decoder/vocab.h"
#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/resource/vocab_file.h"

using namespace koralite::toolkit;
using namespace kora_test;
using testing::HasSubstr;

namespace {

using Lines = std::vector<std::string>;

std::size_t file_count(const TempFolder& folder) {
  const std::filesystem::directory_iterator begin(folder.path());
  return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

TEST(AtomicFile, OldFileStaysUntilCommit) {
  const TempFolder folder;
  const std::string path = folder.write("file", "old");
  {
    AtomicFile file(path);
    file.write("new, thrown away");
  }
  EXPECT_EQ(read_file(path), "old");
  EXPECT_EQ(file_count(folder), 1U);
  AtomicFile file(path);
  file.write("head body");
  const unsigned char head[] = {'H', 'E'};
  file.write_at(0, head);
  file.write("!");
  EXPECT_EQ(file.position(), 10U);
  EXPECT_THAT(message_of([&] { file.write_at(9, head); }), HasSubstr("place not written before"));
  EXPECT_EQ(read_file(path), "old");
  file.commit();
  EXPECT_EQ(read_file(path), "HEad body!");
  EXPECT_THAT(message_of([&] { file.commit(); }), HasSubstr("already committed"));
  EXPECT_EQ(file_count(folder), 1U);

  EXPECT_THAT(message_of([&] { write_file(folder.path(), "x"); }), HasSubstr("is a folder"));
  EXPECT_THAT(message_of([&] { write_file(folder.path("no/file"), "x"); }),
              HasSubstr("No such file"));
  EXPECT_THAT(message_of([&] { write_file("/dev/full", "x"); }), HasSubstr("No space left"));
}

TEST(ByteWriter, WhatItWritesTheReaderReads) {
  ByteWriter writer;
  writer.put_u8(1);
  writer.put_u16(0x0302);
  writer.put_f32(1.0F);
  writer.put_u64(5);
  writer.put_text("ab");
  writer.store(7, std::uint64_t{6});
  const std::string wanted = le(0x030201, 3) + le(0x3F800000, 4) + le(6, 8) + "ab";
  EXPECT_EQ(std::string(writer.bytes().begin(), writer.bytes().end()), wanted);
}

TEST(ResourceFile, LinesThatWouldNotReadBackAreRefused) {
  const TempFolder folder;
  for_cases("cases.txt", "resource lines", [&](const Case& c) {
    const std::string path = folder.path("file");
    std::filesystem::remove(path);
    const auto size = static_cast<std::uint32_t>(c.number(1));
    const Lines lines = size == 0 ? Lines{"first", c[0]} : Lines{c[0]};
    const std::string error = message_of([&] { write_resource_file(path, lines, size); });
    if (c[2].empty()) {
      EXPECT_EQ(error, "");
      EXPECT_EQ(read_resource_file(path), lines);
    } else {
      EXPECT_THAT(error, HasSubstr(c[2]));
      EXPECT_THAT(error, HasSubstr(size == 0 ? "line 2 " : "line 1 "));
      EXPECT_EQ(file_count(folder), 0U) << "no half-written file";
    }
  });
  // Of all printable pairs exactly these scramble into a trailing zero byte.
  for (char a = ' '; a <= '~'; ++a) {
    for (char b = ' '; b <= '~'; ++b) {
      const bool lost = std::string_view("@ABCPQRS").find(a) != std::string_view::npos &&
                        std::string_view(" $(,").find(b) != std::string_view::npos;
      EXPECT_EQ(resource_line_survives(std::string{a, b}, 3), !lost) << a << b;
    }
  }
}

TEST(ResourceFile, RandomLinesComeBack) {
  const TempFolder folder;
  std::mt19937 random(3);
  for (int round = 0; round < 100; ++round) {
    const auto width = 2 + static_cast<std::uint32_t>(random() % 40);
    Lines lines;
    for (int i = 0; i < 50; ++i) {
      std::string line(random() % width, ' ');
      for (char& c : line) {
        c = static_cast<char>(1 + random() % 255);
      }
      if (resource_line_survives(line, width)) {
        lines.push_back(line);
      }
    }
    const std::string path = folder.path("file");
    write_resource_file(path, lines, width);
    EXPECT_EQ(read_resource_file(path), lines);
    const resource_info_t info = inspect_resource_file(path);
    EXPECT_EQ(info.record_size, width);
    EXPECT_EQ(info.records, lines.size());
    folder.write("tail", read_file(path) + std::string(width - 1, 'x'));
    EXPECT_EQ(read_resource_file(folder.path("tail")), lines);
    EXPECT_EQ(inspect_resource_file(folder.path("tail")).trailing_bytes, width - 1);
  }
  write_resource_file(folder.path("none"), Lines{});
  EXPECT_EQ(read_file(folder.path("none")), le(1, 4));
}

TEST(VocabFile, BuilderAndClassWriteTheSameBytes) {
  const TempFolder folder;
  std::mt19937 random(5);
  koralite::decoder::Vocab vocab;
  VocabBuilder builder;
  for (int i = 0; i < 2000; ++i) {
    const std::string word = i % 90 == 0 ? "<t" + std::to_string(i) + ">#" + std::to_string(i % 8)
                                         : std::to_string(random() % 1500);
    EXPECT_EQ(builder.encode(word), vocab.encode(word.c_str()));
  }
  vocab.save(folder.path("a").c_str());
  builder.save(folder.path("b"));
  EXPECT_EQ(read_file(folder.path("a")), read_file(folder.path("b")));
  std::int32_t id = 0;
  EXPECT_FALSE(builder.find("unseen", id));
  EXPECT_EQ(id, 256);
  EXPECT_EQ(builder.decode(256), "<unk>");
  EXPECT_EQ(builder.decode(7), "<t0>#7");
}

TEST(VocabFile, WordListsAndIndexes) {
  const TempFolder folder;
  const std::string path = folder.path("vocab");
  for_cases("cases.txt", "vocabularies", [&](const Case& c) {
    const Lines words = c.words(0);
    const Lines tags = c.words(1);
    const std::string error = message_of([&] { write_vocab_file(path, words, tags); });
    EXPECT_THAT(error, HasSubstr(c[2]));
    EXPECT_EQ(error.empty(), c[2].empty());
    if (!error.empty()) {
      return;
    }
    koralite::decoder::Vocab vocab;
    vocab.load(path.c_str());
    for (std::size_t i = 0; i < words.size(); ++i) {
      EXPECT_EQ(vocab.decode(256 + static_cast<int>(i)), words[i]);
    }
    EXPECT_EQ(vocab.ne_count(), 8 * tags.size());
  });
  const std::pair<std::string, std::int32_t> entries[] = {{"b", 2}, {"a", -1}, {"b", 3}};
  write_string_index(path, entries);
  EXPECT_EQ(read_file(path),
            le(2, 8) + le(4, 8) + le(0xFFFFFFFF, 4) + le(2, 4) + std::string("a\0b\0", 4));
}

// The dumps in docs/format-resource.md and docs/format-string-index.md.
TEST(Documents, ExampleDumpsAreWhatTheWritersWrite) {
  const TempFolder folder;
  const std::string path = folder.path("file");
  write_resource_file(path, Lines{"zA", "", "zAa"});
  EXPECT_EQ(read_file(path), std::string("\4\0\0\0\x4A\x2D\0\0\0\0\0\0\x4A\x2D\x2C\0", 16));
  write_vocab_file(path, Lines{"<unk>", "a", "\xE7\x8C\xAB"});
  EXPECT_EQ(read_file(path), le(3, 8) + le(12, 8) + le(256, 4) + le(257, 4) + le(258, 4) +
                                 std::string("<unk>\0a\0\xE7\x8C\xAB\0", 12));
}

}  // namespace
