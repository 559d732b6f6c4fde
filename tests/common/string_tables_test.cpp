#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "common/string_hash_map.h"
#include "common/string_index.h"
#include "common/string_pool.h"
#include "support/cases.h"
#include "support/temp_folder.h"

using namespace kora_test;
using koralite::common::StringHashMap;
using koralite::common::StringIndex;
using koralite::common::StringPool;

namespace {

constexpr const char* kDamaged = "can't read file in StringIndex::load()";

// Words that share fronts, hold bytes on both sides of 127, and are sometimes empty.
std::string random_word(std::mt19937& random) {
  static constexpr char kLetters[] = {'a', 'b', '\x7F', '\x80', '\xFF'};
  std::string word(random() % 8, ' ');
  for (char& c : word) {
    c = kLetters[random() % 5];
  }
  return word;
}

TEST(StringPool, KeepsStringsInPlaceUpToTheBlockSize) {
  StringPool pool(8);
  const char* first = pool.add_string("1234567");  // a block to the last byte
  const char* second = pool.add_string("");
  const std::string piece = "abcdef";
  const char* third = pool.add_string(piece.data() + 1, piece.data() + 3);
  EXPECT_STREQ(first, "1234567");
  EXPECT_STREQ(second, "");
  EXPECT_STREQ(third, "bc");
  EXPECT_EQ(pool.block_count(), 2U);
  EXPECT_EQ(pool.free_bytes(), 4U);
  EXPECT_EQ(message_of([&] { pool.add_string("12345678"); }),
            "string out of range in StringPool::add_string()");
  pool.add_string("1234");  // needs five bytes, four are free
  EXPECT_EQ(pool.block_count(), 3U);
  pool.add_block(std::make_unique<char[]>(3));
  EXPECT_STREQ(pool.add_string("x"), "x") << "a block taken over is not written to";
  pool.clear();
  EXPECT_EQ(pool.block_count() + pool.free_bytes(), 0U);
}

TEST(StringHashMap, LaterKeysShadowEarlierOnesAndLengthsCount) {
  struct pair_t {
    int a, b;
  };
  // With 131 buckets only the last byte chooses the bucket: all these keys collide.
  StringHashMap<pair_t> map(131);
  const char* keys[] = {"one", "tone", "e", "", "one"};
  for (int i = 0; i < 5; ++i) {
    map.insert(keys[i], {i, -i});
  }
  EXPECT_EQ(map.bucket_of("one", 3), map.bucket_of("tone", 4));
  const std::tuple<const char*, std::size_t, int> cases[] = {
      {"one", 3, 4}, {"onerous", 3, 4}, {"tone", 4, 1},  {"e", 1, 2},
      {"x", 0, 3},   {"on", 2, -1},     {"one!", 4, -1}, {"\xE4", 1, -1},
  };
  for (const auto& [text, length, wanted] : cases) {
    pair_t found{-1, 0};
    EXPECT_EQ(map.find(text, length, found), wanted >= 0) << text;
    EXPECT_EQ(found.a, wanted) << text;
  }
  // 131 * 0xFF.. wraps in 32 bits and bit 31 is cleared before the division.
  EXPECT_EQ(StringHashMap<pair_t>(1000).bucket_of("\xFF\xFF\xFF\xFF\xFF", 5), [] {
    std::uint64_t h = 0;
    for (int i = 0; i < 5; ++i) {
      h = (h * 131 + 255) % 4294967296ULL;
    }
    return h % 2147483648ULL % 1000;
  }());
}

// The index against std::map, filled one by one, in bulk and from a file.
TEST(StringIndex, AgreesWithAnOrderedMap) {
  const TempFolder folder;
  for (unsigned seed = 0; seed < 40; ++seed) {
    std::mt19937 random(seed);
    std::map<std::string, std::int32_t> reference;  // char_traits compares bytes as unsigned
    StringIndex single;
    std::vector<std::pair<std::string, std::int32_t>> given;
    for (unsigned i = 0; i < 20 * seed; ++i) {
      const std::string word = random_word(random);
      const auto id = static_cast<std::int32_t>(random());
      given.emplace_back(word, id);
      const bool is_new = reference.emplace(word, id).second;
      EXPECT_EQ(single.insert(word, id) != nullptr, is_new);
    }
    std::vector<StringIndex::node_t> first, second;
    for (std::size_t i = 0; i < given.size(); ++i) {
      (i < given.size() / 3 ? first : second).push_back({given[i].first.c_str(), given[i].second});
    }
    StringIndex bulk;
    bulk.insert(first);
    bulk.insert(second);
    const std::string path = folder.path("index");
    single.save(path);
    StringIndex loaded;
    loaded.load(path);

    std::uint64_t key_bytes = 0;
    for (const auto& [word, id] : reference) {
      key_bytes += word.size() + 1;
    }
    for (const StringIndex* index : {&single, &bulk, &loaded}) {
      ASSERT_EQ(index->size(), reference.size());
      EXPECT_EQ(index->get_key_capacity(), key_bytes);
      EXPECT_EQ(index->serialize(), single.serialize());
      for (int i = 0; i < 200; ++i) {
        const std::string word = random_word(random);
        const auto hit = reference.find(word);
        std::size_t position = 0;
        std::int32_t id = 0;
        EXPECT_EQ(index->find(word, id), hit != reference.end());
        if (hit != reference.end()) {
          EXPECT_EQ(id, hit->second);
        }
        index->locate(word, position);
        EXPECT_EQ(position, static_cast<std::size_t>(
                                std::distance(reference.begin(), reference.lower_bound(word))));
      }
    }
  }
}

TEST(StringIndex, StringsEndAtTheirFirstZeroByte) {
  StringIndex index;
  EXPECT_STREQ(index.insert(std::string("a\0b", 3), 1), "a");
  EXPECT_EQ(index.insert("a", 2), nullptr);
  std::int32_t id = 0;
  EXPECT_TRUE(index.find(std::string("a\0c", 3), id));
  EXPECT_EQ(id, 1);
  EXPECT_EQ(message_of([] { StringIndex(4).insert("1234", 0); }),
            "string out of range in StringPool::add_string()");
}

TEST(StringIndex, FilesOfEveryShape) {
  const TempFolder folder;
  const auto load = [&](StringIndex& index, const std::string& bytes) {
    return message_of([&] { index.load(folder.write("index", bytes)); });
  };
  for_cases("cases.txt", "string index files", [&](const Case& c) {
    std::string bytes = le(c.size(1), 8) + le(c.size(2), 8);
    for (const int id : c.numbers(3)) {
      bytes += le(static_cast<std::uint32_t>(id), 4);
    }
    for (const char byte : c[4]) {
      bytes += byte == '|' ? '\0' : byte;
    }
    StringIndex index;
    EXPECT_EQ(load(index, bytes), c[5] == "damaged" ? kDamaged : "");
    std::vector<std::string> listing;
    for (const auto& node : index.nodes()) {
      listing.push_back(std::string(node.text) + "=" + std::to_string(node.id));
    }
    EXPECT_EQ(listing, c[5] == "damaged" ? std::vector<std::string>() : c.words(5));
  });
  // A file cut anywhere before its last key byte is damaged.
  const std::string whole =
      le(3, 8) + le(9, 8) + le(1, 4) + le(2, 4) + le(3, 4) + std::string("ab\0cd\0ef\0", 9);
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    StringIndex index;
    EXPECT_EQ(load(index, whole.substr(0, size)), size < whole.size() ? kDamaged : "") << size;
  }
}

TEST(StringIndex, LoadingAndSavingKeepsWhatIsThere) {
  const TempFolder folder;
  const std::string path = folder.path("index");
  StringIndex().save(path);
  EXPECT_EQ(read_file(path), std::string(16, '\0'));

  StringIndex index;
  index.insert("b", 1);
  index.insert("d", 2);
  index.save(path);
  StringIndex other;
  other.insert("b", 9);
  other.insert("c", 3);
  other.load(path);  // "b" keeps its id
  other.save(path);  // over the file that its strings are mapped from
  other.insert("a", 4);
  EXPECT_EQ(other.serialize().size(), 16U + 4 * 4 + 8);
  StringIndex again;
  again.load(path);
  std::int32_t id = 0;
  EXPECT_TRUE(again.find("b", id) && id == 9);
  EXPECT_EQ(again.size(), 3U);

  folder.write("index", "damaged");
  EXPECT_EQ(message_of([&] { other.load(path); }), kDamaged);
  EXPECT_EQ(other.size(), 4U);
  for (const std::string& bad : {folder.path("no/file"), folder.path()}) {
    EXPECT_EQ(message_of([&] { other.load(bad); }),
              "failed to load string index [file=" + bad + "]");
    EXPECT_EQ(message_of([&] { other.save(bad); }),
              "failed to save string index [file=" + bad + "]");
  }
  EXPECT_EQ(message_of([&] { other.save("/dev/full"); }),
            "can't write data in StringIndex::save()");
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    ++files;
  }
  EXPECT_EQ(files, 1U) << "no half-written file stays";
}

}  // namespace
