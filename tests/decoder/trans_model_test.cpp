#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "common/byte_reader.h"
#include "decoder/compact_trans_model.h"
#include "decoder/compressor.h"
#include "decoder/quantifier.h"
#include "decoder/target_data.h"
#include "support/cases.h"
#include "support/temp_folder.h"

using namespace kora_test;
using koralite::common::ByteReader;
using namespace koralite::decoder;

namespace {

const char* const kLoad = "can't load target data in TargetData::load()";

std::span<const unsigned char> bytes_of(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

TEST(Compressor, ReorderingTable) {
  const Compressor compressor(std::vector<Quantifier>(1));
  std::uint64_t sum = 14695981039346656037U;
  for (int index = 0; index < 256; ++index) {
    const auto& scores = compressor.reordering(static_cast<unsigned char>(index));
    const int counts[] = {index / 36, index / 6 % 6, index % 6};
    for (std::size_t i = 0; i < 3; ++i) {
      const double share = (counts[i] + 0.5) / (counts[0] + counts[1] + counts[2] + 1.5);
      EXPECT_NEAR(scores[i], index < 216 ? std::log(share) : 0.0, 2e-7) << index;
      sum = (sum ^ std::bit_cast<std::uint32_t>(scores[i])) * 1099511628211U;
    }
  }
  // The bits of all entries: scores of a table must be the same on every machine.
  EXPECT_EQ(sum, 8517107373596273508U);
  EXPECT_EQ(compressor.reordering(0)[1], std::log(0.5F / 1.5F));
  EXPECT_EQ(compressor.reordering(215)[2], std::log(5.5F / 16.5F));
  float out[3];
  for (const int index : {-1, 216, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(message_of([&] { Compressor::compute_reordering_score(index, out); }),
              "occurrence overflow in Compressor::compute_reordering_score()");
  }
}

TEST(Compressor, ReducesCountsToAnIndex) {
  const std::int64_t huge = std::numeric_limits<std::int64_t>::max();
  const std::tuple<std::int64_t, std::int64_t, std::int64_t, int> cases[] = {
      {0, 0, 0, 0},      {5, 5, 5, 215},  {1, 2, 3, 36 + 12 + 3},     {6, 0, 0, 180},
      {6, 1, 5, 184},    {10, 4, 2, 193}, {100, 19, 20, 180 + 0 + 1}, {huge, huge, 0, 210},
      {0, 7, 7, 30 + 5}, {0, 0, huge, 5},
  };
  for (const auto& [a, b, c, index] : cases) {
    EXPECT_EQ(Compressor::reordering_index(a, b, c), index) << a << " " << b << " " << c;
  }
}

TEST(Compressor, RefusesWhatItCannotWrite) {
  const Compressor compressor({Quantifier({-1, 0}), Quantifier({-2}), Quantifier({-3})});
  const std::vector<std::int64_t> counts(6, 1);
  std::vector<unsigned char> out;
  const auto write = [&](std::size_t words, std::size_t scores, std::size_t count) {
    return message_of([&] {
      compressor.compress(std::vector<int>(words, 300), std::vector<float>(scores, -1),
                          std::vector<std::int64_t>(count, 1), out);
    });
  };
  EXPECT_EQ(write(16, 3, 6), "phrase size overflow in Compressor::compress()");
  EXPECT_EQ(write(15, 2, 6), "score size unmatched in Compressor::compress()");
  EXPECT_EQ(write(15, 3, 5), "unknown occurrence size in Compressor::compress()");
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(write(15, 3, 6), "");
  EXPECT_EQ(out.size(), 1U + 2 * 15 + 3 + 2);
  const TempFolder folder;
  EXPECT_EQ(message_of([&] { Compressor(folder.path("none"), 9); }),
            "failed to open quantifier file in Compressor()");
  EXPECT_EQ(message_of([&] { Compressor(folder.path("none"), 6); }),
            "unknown score size in Compressor()");
  const std::pair<std::string, const char*> files[] = {
      {"", "failed to read quantify size from file"},
      {le(0, 4) + le(1, 3), "failed to read quantify size from file"},
      {le(0xFFFFFFFF, 4), "illegual quantify size"},
      {le(0, 4) + le(2, 4) + f32(1), "failed to read quantify value from file"},
      {le(0x7FFFFFFF, 4), "failed to read quantify value from file"},
      {le(0, 4) + le(1, 4) + f32(1) + le(0, 4), ""},
  };
  for (const auto& [file, message] : files) {
    EXPECT_EQ(message_of([&, &file = file] { Compressor(folder.write("q", file), 9); }), message);
  }
}

TEST(Quantifier, TakesTheNearestSample) {
  const Quantifier quantifier({-4, -2, -1, 3});
  const float infinity = std::numeric_limits<float>::infinity();
  const std::pair<float, int> cases[] = {{-9, 0},    {-4, 0},    {-3.5F, 0},    {-3, 0},
                                         {-2.9F, 1}, {-1.5F, 1}, {-1.25F, 2},   {1, 2},
                                         {1.1F, 3},  {3, 3},     {infinity, 3}, {-infinity, 0}};
  for (const auto& [value, code] : cases) {
    float error = -1;
    EXPECT_EQ(quantifier.quantify(value, error), code) << value;
    EXPECT_EQ(error, std::fabs(value - quantifier.unquantify(code))) << value;
  }
  EXPECT_EQ(quantifier.unquantify(4), 3);
  EXPECT_EQ(quantifier.unquantify(255), 3);
  EXPECT_EQ(Quantifier().unquantify(7), 0);
  float error = 0;
  EXPECT_EQ(Quantifier({-2, -2}).quantify(-2, error), 0);  // not above the first: before the last
  EXPECT_EQ(Quantifier({-2, -2}).quantify(-1, error), 1);
  EXPECT_EQ(message_of([&] { Quantifier().quantify(1, error); }),
            "try to quantify float value with empty quantify sample");
  Quantifier disorder({3, 1, 2, 9});  // whatever it answers, it stays inside
  for (const float value : {0.0F, 4.0F, 8.0F, 10.0F}) {
    EXPECT_LT(disorder.quantify(value, error), 4);
  }
}

// What is inserted comes back, in both forms and by all ways of reading; a copy is independent.
TEST(TargetData, RoundTrip) {
  const Compressor compressor({Quantifier({-3, -1}), Quantifier({-2}), Quantifier()});
  const std::vector<std::int64_t> counts = {1, 2, 3, 5, 0, 0};
  TargetData plain;
  plain.insert(std::vector<int>{300, 70000, -1}, std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9});
  plain.insert(nullptr, std::vector<int>{}, std::vector<float>{-1, -2, -3}, counts);
  std::ostringstream file;
  plain.save(file);
  const std::string saved = file.str() + "next";
  ByteReader reader(bytes_of(saved));
  TargetData loaded;
  loaded.load(reader);
  EXPECT_EQ(reader.remaining(), 4U);
  TargetData copy = loaded;
  copy.insert(std::vector<int>{1}, std::vector<float>(9));
  EXPECT_GT(copy.bytes().size(), loaded.bytes().size());
  EXPECT_THAT(loaded.bytes(), testing::ElementsAreArray(plain.bytes()));
  std::vector<int> ids;
  std::vector<float> scores;
  target_entry_t entry;
  loaded.begin();
  ASSERT_TRUE(loaded.next(ids, scores));
  EXPECT_EQ(ids, (std::vector<int>{300, 70000, -1}));
  EXPECT_EQ(scores, (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  ASSERT_TRUE(loaded.next(nullptr, entry));
  EXPECT_TRUE(entry.fits());
  EXPECT_TRUE(entry.words().empty());
  EXPECT_EQ(entry.scores[3], std::log(1.5F / 7.5F));
  EXPECT_EQ(entry.scores[6], std::log(5.5F / 6.5F));
  EXPECT_FALSE(loaded.next(nullptr, entry));

  EXPECT_EQ(message_of([&] { plain.insert(ids, std::vector<float>(8)); }),
            "unmatched score size in TargetData::insert()");
  EXPECT_EQ(message_of([&] { plain.insert(ids, std::vector<float>(4), counts); }),
            "unmatched score size in TargetData::insert()");
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_EQ(message_of([&] { plain.save(broken); }),
            "can't save target data in TargetData::save()");
}

struct block_case_t {
  std::string block;
  int entries;  // before the damage
  bool damaged;
};

TEST(TargetData, ReadsNoFurtherThanItsBlock) {
  const Compressor compressor({Quantifier({-3, -1}), Quantifier({-2}), Quantifier()});
  const std::string scores(36, '\0');
  const std::string plain = le(1, 4) + le(300, 4) + scores;
  const std::string ten = le(10, 4) + std::string(40, 'x') + scores;
  const block_case_t plain_cases[] = {
      {"", 0, false},
      {plain + plain, 2, false},
      {ten + plain, 2, false},  // overlong phrases are read over
      {plain + "x", 1, true},
      {plain + plain.substr(0, plain.size() - 1), 1, true},
      {le(0xFFFFFFFF, 4) + scores, 0, true},
      {le(0x40000000, 4) + scores, 0, true},
      {le(0x3FFFFFFF, 4) + scores, 0, true},
  };
  const std::string compact = std::string("\x01\x2c\x01\x01\x00\x07\xd7\x05", 8);
  const block_case_t compact_cases[] = {
      {compact + compact, 2, false},
      {compact + "\x09" + std::string(18 + 3, 'x') + std::string("\xff\xfe", 2) + compact, 3,
       false},
      {compact + "\xff", 1, true},
      {compact + compact.substr(0, 7), 1, true},
      {std::string(1, '\0'), 0, true},
  };
  const auto check = [](const block_case_t& test, const Compressor* by) {
    for (const bool in_place : {false, true}) {
      TargetData data;
      data.view(bytes_of(test.block));
      std::vector<int> ids;
      std::vector<float> values;
      target_entry_t entry;
      int entries = 0;
      EXPECT_EQ(message_of([&] {
                  while (in_place ? data.next(by, entry) : data.next(by, ids, values)) ++entries;
                }),
                test.damaged ? kLoad : "");
      EXPECT_EQ(entries, test.entries);
    }
  };
  for (const block_case_t& test : plain_cases) {
    check(test, nullptr);
  }
  for (const block_case_t& test : compact_cases) {
    check(test, &compressor);
  }
}

std::string node(int key, std::int64_t link, std::uint32_t offset = 0) {
  return le(static_cast<std::uint64_t>(key), 2) + le(static_cast<std::uint64_t>(link), 4) +
         le(offset, 4);
}

// One table, written by hand: phrases "0", "1 5", "1 7 2", "1 7 2 9".
struct Files {
  std::string head = le(3, 8) + le(0, 4) + le(0xFFFFFFFF, 4) + le(0xFFFFFFFF, 4) + le(1, 4) +
                     le(0xFFFFFFFF, 4) + le(0xFFFFFFFF, 4) + le(77, 8);
  std::string nodes = node(9, -1) +                                   // belongs to no word
                      node(65535, 2) + node(5, -1, 5) + node(7, 4) +  // group of "1"
                      node(2, -5, 10) +                               // of "1 7"
                      node(9, -1, 5);                                 // of "1 7 2"
  std::string data = le(1, 4) + "a" + le(1, 4) + "b" + le(1, 4) + "c";
};

std::string open_and_search(const TempFolder& folder, const Files& files,
                            const std::vector<int>& sentence = {0, 1, 7, 2, 9}) {
  folder.write("t", files.head);
  folder.write("t.nodes", files.nodes);
  folder.write("t.data", files.data);
  std::string found;
  const std::string message = message_of([&] {
    const CompactTransModel model(folder.path("t"));
    CompactTransModel::target_table_t table;
    model.search_sentence(sentence, table);
    for (std::size_t i = 0; i < sentence.size(); ++i) {
      for (std::size_t k = 0; k < 8; ++k) {
        if (table[i][k].empty()) {
          continue;
        }
        found += (found.empty() ? "" : " ") + std::to_string(i) + std::to_string(k) +
                 std::string(table[i][k].bytes().begin(), table[i][k].bytes().end());
      }
    }
  });
  return message.empty() ? found : message;
}

TEST(CompactTransModel, WalksTheTrie) {
  const TempFolder folder;
  for_cases("cases.txt", "phrases found", [&](const Case& c) {
    EXPECT_EQ(open_and_search(folder, Files(), c.numbers(0)), c[1]);
  });
  const CompactTransModel model(folder.path("t"));
  EXPECT_EQ(model.head_count(), 3U);
  EXPECT_EQ(model.trailing_count(), 77U);
  std::uint32_t found = 9;
  EXPECT_TRUE(model.TrieFindKey(1, 7, found));
  EXPECT_EQ(found, 2U);
  EXPECT_TRUE(model.TrieFindKey(4, 2, found));
  EXPECT_EQ(found, 0U);
  TargetData data;
  std::vector<TargetData> all;
  const std::vector<int> ids = {0};
  const std::string refused = "This interface should not be called";
  EXPECT_EQ(message_of([&] { model.search(ids, data); }), refused);
  EXPECT_EQ(message_of([&] { model.search_all(ids, all); }), refused);
  EXPECT_EQ(message_of([&] { model.TrieFind(ids); }), refused);
  EXPECT_EQ(message_of([&] { model.TrieSearch(ids); }), refused);
  // Cells keep nothing of the sentence before.
  CompactTransModel::target_table_t table;
  model.search_sentence(std::vector<int>{0, 1, 5}, table);
  EXPECT_FALSE(table[0][0].empty());
  model.search_sentence(std::vector<int>{2}, table);
  EXPECT_TRUE(table[0][0].empty());
}

TEST(CompactTransModel, NeverFollowsDamage) {
  const TempFolder folder;
  for_cases("cases.txt", "damaged phrase tables", [&](const Case& c) {
    Files files;
    std::string& file = c[1] == "head" ? files.head : c[1] == "nodes" ? files.nodes : files.data;
    file = damaged(file, c[2]);
    EXPECT_EQ(open_and_search(folder, files), c[3]);
  });
  const std::pair<const char*, const char*> missing[] = {
      {"t.data", "failed to open data file in CompactTransModel"},
      {"t.nodes", "failed to open nodes file in CompactTransModel"},
      {"t", "failed to open file in CompactTransModel"}};
  open_and_search(folder, Files());
  for (const auto& [name, message] : missing) {
    std::filesystem::remove(folder.path(name));
    EXPECT_EQ(message_of([&] { CompactTransModel(folder.path("t")); }), message);
    std::filesystem::create_directory(folder.path(name));
    EXPECT_EQ(message_of([&] { CompactTransModel(folder.path("t")); }), message);
  }
}

}  // namespace
