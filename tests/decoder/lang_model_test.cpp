#include "decoder/lang_model.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "support/cases.h"
#include "support/temp_folder.h"

using namespace kora_test;
using koralite::decoder::CompactLmModel;
using koralite::decoder::LangModel;

namespace {

std::string head(int tree, int probability, int back_off) {
  return le(static_cast<std::uint64_t>(tree), 2) + le(static_cast<std::uint64_t>(probability), 2) +
         le(static_cast<std::uint64_t>(back_off), 2);
}

std::string node(int key, int link, int probability, int back_off, bool entry = true) {
  return le(static_cast<std::uint64_t>(key), 2) + le(static_cast<std::uint64_t>(link), 2) +
         le(static_cast<std::uint64_t>(probability), 2) +
         le(static_cast<std::uint64_t>(back_off | (entry ? 0x8000 : 0)), 2);
}

// One model, written by hand. Word 0 has no tree, word 1's holds "0 1" and "2 0 1", word 2's "1 2"
// as a mere step to "0 1 2", and words 3 and 4 share one that holds "1 3" (and so "1 4").
struct File {
  std::string heads = le(5, 2) + head(65535, 100, 500) + head(0, 200, 1500) + head(1, 300, 1000) +
                      head(2, 400, 1000) + head(2, 500, 1000);
  std::string offset = le(std::bit_cast<std::uint32_t>(-1.0F), 4);
  std::vector<std::string> trees = {
      le(2, 4) + node(0, 2, 50, 2000) + node(2, 1, 25, 0),
      le(4, 4) + node(65535, 2, 0, 0) + node(1, 4, 9999, 9999, false) + node(4, 1, 30, 1000) +
          node(0, 1, 10, 0),
      le(1, 4) + node(1, 1, 70, 1000),
  };

  std::string bytes() const {
    std::string positions;
    std::string body;
    const std::size_t start = heads.size() + 8 + 4 * (trees.size() + 1);
    for (const std::string& tree : trees) {
      positions += le(start + body.size(), 4);
      body += tree;
    }
    positions += le(start + body.size(), 4);
    return heads + offset + le(trees.size() + 1, 4) + positions + body;
  }
};

TEST(CompactLmModel, ScoresByHand) {
  const TempFolder folder;
  const std::string path = folder.write("lm", File().bytes());
  CompactLmModel model(path, 3);
  for_cases("cases.txt", "language model scores", [&](const Case& c) {
    EXPECT_FLOAT_EQ(model.compute_ngram_score(c.numbers(0)), static_cast<float>(c.ratios(1).at(0)));
  });
  EXPECT_EQ(model.max_probability(2), -0.1F);
  EXPECT_EQ(model.max_probability(5), -100.0F);
  EXPECT_EQ(model.max_back_off(1), 1.0F);
  EXPECT_EQ(model.max_back_off(0), 0.0F);

  // Nothing but one-word scores, until a sentence names the words.
  CompactLmModel small(path, 3, 0);
  const std::vector<int> pair = {1, 3};
  EXPECT_EQ(small.compute_ngram_score(pair), -4.0F + 0.5F);
  small.add_to_cache(std::set<int>{4, 77, -5});  // shares its tree with 3
  EXPECT_EQ(small.compute_ngram_score(pair), -0.7F);
  EXPECT_EQ(small.GetTree(3).count, 1U);
  EXPECT_EQ(small.GetTree(1).count, 0U);
  small.add_to_cache(std::set<int>{1});
  EXPECT_EQ(small.compute_ngram_score(pair), -4.0F + 0.5F);
  EXPECT_EQ(small.GetFilePos(3), small.GetFilePos(4));
  EXPECT_EQ(small.GetFilePos(0), -1);
  float probability = 0;
  float back_off = 0;
  EXPECT_TRUE(small.GetHeadValue(3, probability, back_off));
  EXPECT_EQ(probability, -4.0F);
  EXPECT_TRUE(small.GetHeadValue(1, probability, back_off));
  EXPECT_EQ(back_off, 0.5F);
  EXPECT_FALSE(small.GetHeadValue(77, probability, back_off));
}

TEST(CompactLmModel, PhraseAndJointScoresHaveTheirWindows) {
  const TempFolder folder;
  const std::string path = folder.write("lm", File().bytes());
  const std::vector<int> phrase = {0, 1, 2, 0, 1};
  float complete = 0;
  float total = 0;
  CompactLmModel(path, 3).compute_phrase_score(phrase, complete, total);
  EXPECT_EQ(complete, (0.0F + -0.1F) + (-1.0F + 0.0F + 0.0F) + -0.25F);
  EXPECT_EQ(total, (0.0F + -1.0F + -0.5F) + complete);
  CompactLmModel(path, 1).compute_phrase_score(phrase, complete, total);
  EXPECT_EQ(complete, total);
  CompactLmModel(path, 8).compute_phrase_score(phrase, complete, total);
  EXPECT_EQ(complete, 0.0F);
  const CompactLmModel model(path, 3);
  const std::vector<int> context(8, 0);
  EXPECT_EQ(message_of([&] { model.compute_joint_score(context, phrase); }),
            "context overflow in LangModel::compute_joint_score()");
  EXPECT_EQ(CompactLmModel(path, 1).compute_joint_score({}, phrase), 0.0F);
}

TEST(CompactLmModel, RefusesDamageWhenOpening) {
  const TempFolder folder;
  const std::string good = File().bytes();
  for_cases("cases.txt", "damaged language models", [&](const Case& c) {
    const std::string path = folder.write("lm", damaged(good, c[1]));
    EXPECT_EQ(message_of([&] {
                const CompactLmModel model(path, 8);
                for (int a = -1; a < 7; ++a) {
                  for (int b = -1; b < 7; ++b) {
                    // Cycles end with the words; what the scores are does not matter.
                    EXPECT_LE(
                        model.compute_ngram_score(std::vector<int>{a, b, 0, 2, 2, 2, 0, b, a}),
                        3.0F);
                  }
                }
              }),
              c[2]);
    // Without resident trees the same damage shows when a sentence asks for the tree.
    if (c[2] != "damaged tree in PackedLM") {
      return;
    }
    CompactLmModel model(path, 8, 0);
    EXPECT_EQ(message_of([&] { model.add_to_cache(std::set<int>{0, 1, 2, 3}); }), c[2]);
    EXPECT_EQ(model.GetTree(3).count, 0U);
    model.add_to_cache(std::set<int>{3});
    EXPECT_EQ(model.GetTree(3).count, 1U);
  });
  for (std::size_t size = 0; size < good.size(); ++size) {
    const std::string path = folder.write("cut", good.substr(0, size));
    EXPECT_NE(message_of([&] { CompactLmModel(path, 3); }), "") << size;
  }
}

TEST(CompactLmModel, RefusesOrdersAndMissingFiles) {
  const TempFolder folder;
  const std::string path = folder.write("lm", File().bytes());
  const char* const order = "language model n-gram order overflow in PackedLM";
  for (const int bad : {-1, 0, 9, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(message_of([&] { CompactLmModel(path, bad); }), order);
    EXPECT_EQ(message_of([&] { CompactLmModel(folder.path("none"), bad); }), order);
  }
  for (const int good : {1, 8}) {
    EXPECT_EQ(CompactLmModel(path, good).order(), good);
  }
  for (const std::string& missing : {folder.path("none"), folder.path()}) {
    EXPECT_EQ(message_of([&] { CompactLmModel(missing, 3); }), "failed to open file in PackedLM");
  }
}

}  // namespace
