#include "decoder/vocab.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "common/string_index.h"
#include "support/cases.h"
#include "support/temp_folder.h"

using kora_test::message_of;
using kora_test::TempFolder;
using koralite::common::StringIndex;
using koralite::decoder::Vocab;

namespace {

TEST(Vocab, TagWords) {
  kora_test::for_cases("cases.txt", "tag words",
                       [](const kora_test::Case& c) { EXPECT_EQ(Vocab::is_ne(c[0]), c.yes(1)); });
}

TEST(Vocab, EncodesWordsFrom256AndTagsInGroups) {
  Vocab vocab;
  const std::pair<const char*, int> cases[] = {
      {"<unk>", 256}, {"a", 257},      {"<per>#5", 5},   {"<per>#0", 0}, {"b", 258},
      {"a", 257},     {"<org>#2", 10}, {"<per>#8", 259}, {"", 260},
  };
  for (const auto& [word, id] : cases) {
    EXPECT_EQ(vocab.encode(word), id) << word;
    EXPECT_STREQ(vocab.decode(id), word);
  }
  EXPECT_EQ(vocab.ne_count(), 16U);
  EXPECT_EQ(vocab.word_count(), 5U);
  for (const int id : {-1, 16, 255, 261, INT32_MAX, INT32_MIN}) {
    EXPECT_FALSE(vocab.has_id(id));
    EXPECT_STREQ(vocab.decode(id), "");
  }
  int id = 0;
  EXPECT_TRUE(vocab.find("<org>#7", id));
  EXPECT_EQ(id, 15);
  EXPECT_FALSE(vocab.find("<loc>#1", id));
  EXPECT_EQ(id, 256);
}

TEST(Vocab, EntityInformation) {
  for (const int id : {0, 13, 255, 256, 999}) {
    int base = -1, index = -1;
    EXPECT_EQ(Vocab::get_ne_info(id, base, index), id < 256);
    EXPECT_EQ(base, id < 256 ? id / 8 * 8 : id);
    EXPECT_EQ(index, id < 256 ? id % 8 : 0);
  }
}

TEST(Vocab, Limits) {
  Vocab vocab;
  const auto tag = [](int i) { return "<t" + std::to_string(i) + ">#3"; };
  const std::string long_tag = "<" + std::string(10236, 'x') + ">#1";  // 10240 bytes
  EXPECT_EQ(message_of([&] { vocab.encode(long_tag.c_str()); }),
            "string overflow in Vocab::encode()");
  EXPECT_EQ(vocab.encode(long_tag.substr(1).c_str()), 257);
  EXPECT_EQ(vocab.encode(("<" + long_tag.substr(2)).c_str()), 1) << "one byte less is a tag word";
  for (int i = 1; i < 32; ++i) {
    EXPECT_EQ(vocab.encode(tag(i).c_str()), 8 * i + 3);
  }
  EXPECT_EQ(message_of([&] { vocab.encode(tag(32).c_str()); }),
            "named entity overflow in Vocab::encode()");
  EXPECT_EQ(message_of([&] { vocab.encode(std::string(102400, 'x').c_str()); }),
            "string out of range in StringPool::add_string()");
  EXPECT_EQ(vocab.encode("next"), 258) << "a refused word takes no id";
  EXPECT_EQ(vocab.encode(tag(7).c_str()), 59);
}

TEST(Vocab, SavesAndLoads) {
  const TempFolder folder;
  const std::string path = folder.path("vocab");
  std::mt19937 random(1);
  Vocab built;
  for (int i = 0; i < 3000; ++i) {
    const std::string number = std::to_string(random() % 2000);
    built.encode((i % 100 == 0 ? "<t" + std::to_string(i / 100) + ">#1" : "w" + number).c_str());
  }
  built.save(path.c_str());
  Vocab loaded;
  loaded.encode("dropped by load");
  loaded.load(path.c_str());
  loaded.remove_useless_capacity();
  ASSERT_EQ(loaded.word_count(), built.word_count());
  ASSERT_EQ(loaded.ne_count(), built.ne_count());
  for (int id = 0; id < 2300; ++id) {
    EXPECT_STREQ(loaded.decode(id), built.decode(id));
    int found = -1;
    EXPECT_EQ(loaded.find(built.decode(id), found), built.has_id(id));
    EXPECT_EQ(found, built.has_id(id) ? id : 256);
  }
  const int next = 256 + static_cast<int>(built.word_count());
  EXPECT_EQ(loaded.encode("<s>"), next);
  EXPECT_EQ(loaded.encode("</s>"), next + 1);
  EXPECT_EQ(loaded.encode("<unk>"), 256);
}

TEST(Vocab, RefusesIdsThatAreNotDense) {
  const TempFolder folder;
  const std::string path = folder.path("vocab");
  kora_test::for_cases("cases.txt", "vocabulary ids", [&](const kora_test::Case& c) {
    const std::vector<int> ids = c.numbers(0);
    const bool good = c.yes(1);
    StringIndex index;
    for (std::size_t i = 0; i < ids.size(); ++i) {
      index.insert("w" + std::to_string(i), ids[i]);
    }
    index.save(path);
    Vocab vocab;
    EXPECT_EQ(message_of([&] { vocab.load(path.c_str()); }),
              good ? "" : "illegal word id in Vocab::load()");
    EXPECT_EQ(vocab.word_count() + vocab.ne_count(), good ? ids.size() : 1);
    int id = 0;
    EXPECT_EQ(vocab.find("<unk>", id), !good) << "a failed load changes nothing";
    EXPECT_EQ(id, 256);
  });
  folder.write("vocab", "short");
  Vocab vocab;
  EXPECT_EQ(message_of([&] { vocab.load(path.c_str()); }),
            "can't read file in StringIndex::load()");
  EXPECT_EQ(message_of([&] { vocab.load("/no/such"); }),
            "failed to load string index [file=/no/such]");
}

}  // namespace
