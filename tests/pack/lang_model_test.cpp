#include "decoder/lang_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "support/lang_model_reference.h"
#include "support/random_model.h"
#include "support/temp_folder.h"
#include "toolkit/lm/lang_model_builder.h"

using namespace koralite::decoder;
using namespace koralite::toolkit;
using namespace kora_test;

namespace {

// Looks n-grams up in the packed model, but scores with the plain code of the base class.
class PlainScoring : public LangModel {
 public:
  explicit PlainScoring(const CompactLmModel& model) : LangModel(model.order()), model_(model) {}
  bool find_ngram_score(std::span<const int> ids, float& probability,
                        float& back_off) const override {
    return model_.find_ngram_score(ids, probability, back_off);
  }

 private:
  const CompactLmModel& model_;
};

std::uint32_t bits(float value) {
  return std::bit_cast<std::uint32_t>(value);
}

std::string text(std::span<const int> ids) {
  std::string out;
  for (const int id : ids) {
    out += std::to_string(id) + " ";
  }
  return out;
}

// One sentence: everything that can be asked, of the model, of the plain code, of the reference.
void compare(const CompactLmModel& model, const ReferenceScorer& reference, RandomModel& words) {
  const PlainScoring plain(model);
  for (int query = 0; query < 12; ++query) {
    std::vector<int> ids(static_cast<std::size_t>(1 + words.random(9)));
    for (int& id : ids) {
      id = words.random(25) == 0
               ? std::vector<int>{-1, 9999, 65535,
                                  65536 + 260}[static_cast<std::size_t>(words.random(4))]
               : words.random_target_word();
    }
    const std::span<const int> all(ids);
    const auto window = all.first(std::min<std::size_t>(all.size(), 8));
    const float ngram = reference.ngram(window);
    ASSERT_EQ(bits(model.compute_ngram_score(window)), bits(ngram)) << text(window);
    ASSERT_EQ(bits(plain.compute_ngram_score(window)), bits(ngram)) << text(window);

    float wanted[2];
    float got[2];
    reference.phrase(all, wanted[0], wanted[1]);
    model.compute_phrase_score(all, got[0], got[1]);
    ASSERT_EQ(bits(got[0]), bits(wanted[0])) << text(all);
    ASSERT_EQ(bits(got[1]), bits(wanted[1])) << text(all);
    plain.compute_phrase_score(all, got[0], got[1]);
    ASSERT_EQ(bits(got[0]), bits(wanted[0])) << text(all);
    ASSERT_EQ(bits(got[1]), bits(wanted[1])) << text(all);

    const auto cut = static_cast<std::size_t>(words.random(static_cast<int>(window.size())));
    const auto context = window.first(cut);
    const auto phrase = all.subspan(cut);
    const float joint = reference.joint(context, phrase);
    ASSERT_EQ(bits(model.compute_joint_score(context, phrase)), bits(joint)) << text(all);
    ASSERT_EQ(bits(plain.compute_joint_score(context, phrase)), bits(joint)) << text(all);
    lm_levels_t before;
    model.TrieSearchInvert(context, before);
    ASSERT_EQ(bits(model.joint_score(context, before, phrase)), bits(joint)) << text(all);
  }
}

TEST(LangModel, AgreesWithTheReferenceOnRandomModels) {
  const TempFolder folder;
  int compared = 0;
  for (std::uint32_t seed = 1; seed <= 2400; ++seed) {
    random_model_options_t options{.seed = seed, .ngrams = 60, .pairs = 0};
    options.order = static_cast<int>(1 + seed % 8);
    options.target_words = static_cast<int>(3 + seed % 20);
    if (seed % 100 == 0) {  // the tree of "</s>" then has a large root group
      options.order = static_cast<int>(2 + seed / 100 % 3);
      options.target_words = static_cast<int>(200 + seed % 700);
      options.ngrams = 5000;
    }
    RandomModel random(folder.path(), options);
    const std::string file = read_file(random.lm_path());
    const lm_file_t plain(file);
    const std::int64_t budgets[] = {CompactLmModel::kBudget, 0, 20 + 8 * random.random(100)};
    const std::int64_t budget = budgets[random.random(3)];
    const int order = 1 + random.random(8);
    CompactLmModel model(random.lm_path(), order, budget);
    for (int sentence = 0; sentence < 3; ++sentence) {
      std::set<int> shown;
      for (int i = sentence * 3; i > 0; --i) {
        shown.insert(random.random_target_word());
      }
      if (sentence > 0) {
        model.add_to_cache(shown);  // the first is scored with resident trees only
      }
      const ReferenceScorer reference(plain, order, budget, shown);
      ASSERT_NO_FATAL_FAILURE(compare(model, reference, random)) << "seed " << seed;
      ++compared;
      const auto bounded = std::min<std::size_t>(random.target_ids().size(), 22);
      for (const int word : std::span<const int>(random.target_ids()).first(bounded)) {
        float probability = plain.ngrams.contains({word}) ? -1000 : LangModel::LM_UNK_PROB;
        float back_off = 0;
        for (const auto& [ids, entry] : plain.ngrams) {
          if (ids.back() != word || reference.find(ids) == nullptr) {
            continue;
          }
          probability = std::max(probability, entry.probability);
          back_off = std::max(back_off, entry.back_off);
        }
        ASSERT_EQ(model.max_probability(word), probability) << "seed " << seed << " word " << word;
        ASSERT_EQ(model.max_back_off(word), back_off) << "seed " << seed << " word " << word;
      }
    }
  }
  EXPECT_EQ(compared, 7200);
}

TEST(LangModel, FileHoldsExactlyTheGivenNgrams) {
  const TempFolder folder;
  for (std::uint32_t seed = 1; seed <= 100; ++seed) {
    const RandomModel random(
        folder.path(),
        {.seed = seed, .order = static_cast<int>(1 + seed % 8), .ngrams = 100, .pairs = 0});
    const std::string file = read_file(random.lm_path());
    std::map<std::vector<int>, lm_file_t::entry_t> found = lm_file_t(file).ngrams;
    for (const auto& ngram : random.ngrams()) {
      const auto at = found.find(ngram.ids);
      ASSERT_NE(at, found.end()) << text(ngram.ids);
      // The grids of the generator are whole codes.
      EXPECT_EQ(at->second.probability, ngram.probability);
      EXPECT_EQ(at->second.back_off, ngram.back_off);
      found.erase(at);
    }
    for (const auto& [ids, entry] : found) {  // what is left are gaps between word ids
      EXPECT_EQ(ids.size(), 1U);
      EXPECT_EQ(entry, (lm_file_t::entry_t{-100.0F, 0.0F}));
    }
  }
}

struct given_t {
  std::vector<int> ids;
  float probability;
  float back_off;
};

lang_model_report_t build(const std::string& path, const std::vector<given_t>& ngrams,
                          lang_model_options_t options = {}) {
  LangModelBuilder builder(options);
  for (const given_t& ngram : ngrams) {
    builder.add(ngram.ids, ngram.probability, ngram.back_off);
  }
  return builder.write(path);
}

TEST(LangModelBuilder, CountsWhatItDrops) {
  const TempFolder folder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  struct case_t {
    std::vector<given_t> ngrams;
    std::uint64_t lang_model_report_t::*counter;
    std::vector<int> asked;
    float score;
  };
  using report_t = lang_model_report_t;
  const case_t cases[] = {
      {{{{1}, -1, 0}, {{1}, -2, 0}}, &report_t::repeated, {1}, -2.0F},
      {{{{1}, -1, 0}, {{65535}, -1, 0}}, &report_t::bad_words, {65535}, -100.0F},
      {{{{1}, -1, 0}, {{1, -1}, -1, 0}}, &report_t::bad_words, {1}, -1.0F},
      {{{{1}, -1, 0}, {{}, -1, 0}}, &report_t::bad_length, {1}, -1.0F},
      {{{{1}, -1, 0}, {std::vector(9, 1), -1, 0}}, &report_t::bad_length, {1, 1}, -1.0F},
      {{{{1}, -1, 0}, {{2}, nan, 0}}, &report_t::bad_scores, {2}, -100.0F},
      {{{{1}, 0.5F, 0}}, &report_t::positive, {1}, 0.0F},
      {{{{1}, -infinity, 0}}, &report_t::clamped, {1}, -655.35F},
      {{{{1}, -1, -500}, {{2}, -1, 0}}, &report_t::clamped, {1, 2}, -33.767F},
      {{{{1}, -1, 0}, {{0, 1}, -2, 90}}, &report_t::clamped, {0, 1}, -2.0F},
      {{{{2}, -1, 0}}, &report_t::missing_words, {2, 1}, -100.0F},
  };
  for (const case_t& test : cases) {
    const lang_model_report_t report = build(folder.path("lm"), test.ngrams);
    EXPECT_GE(report.*test.counter, 1U) << text(test.asked);
    EXPECT_EQ(report.written, test.counter == &report_t::clamped ? test.ngrams.size() : 1U)
        << text(test.asked);
    EXPECT_FALSE(report.warnings().empty());
    CompactLmModel model(folder.path("lm"), 8);
    EXPECT_FLOAT_EQ(model.compute_ngram_score(test.asked), test.score) << text(test.asked);
  }
  EXPECT_NE(message_of([&] { build(folder.path("none"), {}); }), "");
  EXPECT_FALSE(std::filesystem::exists(folder.path("none")));
}

TEST(LangModelBuilder, PutsTheEndTreeFirstThenFrequentWords) {
  const TempFolder folder;
  const std::vector<given_t> ngrams = {{{1}, -3, 0},    {{2}, -1, 0},    {{3}, -2, 0},
                                       {{4}, -9, 0},    {{1, 1}, -1, 0}, {{1, 2}, -1, 0},
                                       {{1, 3}, -1, 0}, {{1, 4}, -1, 0}};
  EXPECT_TRUE(build(folder.path("lm"), ngrams, {.end_id = 4}).warnings().size() == 1);  // id 0
  // Room for two trees of one node: the end's and the most frequent word's.
  const CompactLmModel model(folder.path("lm"), 2, 2 * 28);
  EXPECT_EQ(model.resident_count(), 2U);
  std::vector<int> visible;
  for (int word = 0; word < 5; ++word) {
    if (model.GetTree(word).count > 0) {
      visible.push_back(word);
    }
  }
  EXPECT_EQ(visible, (std::vector<int>{2, 4}));
}

// Pruning goes by the change of the expected score: of two n-grams that nothing depends on, the one
// whose score back-off already gives goes first, and a context outlives what is not one.
TEST(LangModelBuilder, PrunesTheLeastUseful) {
  const TempFolder folder;
  const std::vector<given_t> ngrams = {
      {{1}, -1, -1},           {{2}, -2, -1},      {{3}, -2, -1},
      {{4}, -2, -1},           {{2, 1}, -0.1F, 0},  // says much more than -1 - 1
      {{3, 1}, -2.0F, 0},                           // says exactly what back-off says
      {{4, 1}, -1.99F, -0.5F},                      // says next to nothing, but is a context
      {{4, 1, 2}, -0.5F, 0},
  };
  struct case_t {
    std::uint32_t nodes;
    std::vector<std::vector<int>> gone;
  };
  const std::vector<case_t> cases = {
      {4, {}}, {3, {{3, 1}}}, {2, {{3, 1}, {2, 1}}}, {0, {{3, 1}, {2, 1}, {4, 1}, {4, 1, 2}}}};
  for (const case_t& test : cases) {
    const auto report = build(folder.path("lm"), ngrams, {.max_tree_nodes = test.nodes});
    EXPECT_EQ(report.pruned, test.gone.size()) << test.nodes;
    const CompactLmModel model(folder.path("lm"), 3);
    for (const given_t& ngram : ngrams) {
      float score = 0;
      float back_off = 0;
      const bool gone = std::count(test.gone.begin(), test.gone.end(), ngram.ids) > 0;
      EXPECT_EQ(model.find_ngram_score(ngram.ids, score, back_off), !gone)
          << test.nodes << ": " << text(ngram.ids);
    }
  }
}

// A tree at the format's limit: links of 16 bits reach all of it.
TEST(LangModelBuilder, FillsATreeToTheLimit) {
  const TempFolder folder;
  LangModelBuilder builder;
  std::mt19937 random(3);
  std::set<std::vector<int>> given;
  for (int word = 0; word < 300; ++word) {
    builder.add(std::vector<int>{word}, -5, -0.25F);
  }
  const auto add = [&](std::vector<int> ids, float probability, float back_off) {
    if (given.insert(ids).second) {
      builder.add(ids, probability, back_off);
    }
  };
  for (int first = 0; first < 300; ++first) {
    add({first, 7}, -1, -0.5F);
    for (int second = 0; second < 250; ++second) {
      add({second, first, 7}, -0.5F, 0);
    }
  }
  const lang_model_report_t report = builder.write(folder.path("lm"));
  EXPECT_EQ(report.oversize_trees, 1U);
  EXPECT_EQ(report.nodes, 65534U);
  EXPECT_EQ(report.written + report.pruned, 300 + given.size());
  EXPECT_EQ(report.warnings().size(), 1U);
  const std::string file = read_file(folder.path("lm"));
  const lm_file_t plain(file);
  EXPECT_EQ(plain.ngrams.size(), report.written);
  const CompactLmModel model(folder.path("lm"), 3);
  for (const auto& [ids, entry] : plain.ngrams) {
    float probability = 0;
    float back_off = 0;
    ASSERT_TRUE(model.find_ngram_score(ids, probability, back_off)) << text(ids);
    ASSERT_EQ(probability, entry.probability);
  }
}

TEST(LangModelBuilder, WritesTheDocumentedExample) {
  const TempFolder folder;
  build(folder.path("lm"),
        {{{0}, -3, 0},
         {{1}, -1, -0.25F},
         {{2}, -2, 0.125F},
         {{2, 1}, -0.5F, 0},
         {{0, 2}, -0.75F, -0.5F},
         {{0, 2, 1}, -0.25F, 0}},
        {.end_id = 1});
  EXPECT_EQ(dumps_of(KORA_SOURCE_DIR "/docs/format-language-model.md"),
            std::vector<std::string>{read_file(folder.path("lm"))});
}

TEST(LangModelBuilder, TakesAnyOrder) {
  const TempFolder folder;
  RandomModel random(folder.path(), {.seed = 5, .order = 5, .ngrams = 200, .pairs = 0});
  std::vector<given_t> ngrams;
  for (const auto& ngram : random.ngrams()) {
    ngrams.push_back({ngram.ids, ngram.probability, ngram.back_off});
  }
  std::shuffle(ngrams.begin(), ngrams.end(), std::mt19937(9));
  build(folder.path("shuffled"), ngrams, {.end_id = random.end_id()});
  EXPECT_EQ(read_file(folder.path("shuffled")), read_file(random.lm_path()));
}

}  // namespace
