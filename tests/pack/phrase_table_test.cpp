#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "decoder/compact_trans_model.h"
#include "decoder/compressor.h"
#include "decoder/shared_member.h"
#include "support/random_model.h"
#include "support/temp_folder.h"
#include "toolkit/pack/phrase_table_builder.h"
#include "toolkit/pack/score_samples.h"

using namespace koralite::decoder;
using namespace koralite::toolkit;
using namespace kora_test;

namespace {

using ids_t = std::vector<int>;

ids_t ids_of(const phrase_t& phrase) {
  return {phrase.words().begin(), phrase.words().end()};
}

// What a table must give for each pair of a source phrase.
using wanted_t = std::map<ids_t, std::vector<float>>;

std::map<ids_t, wanted_t> wanted_of(const RandomModel& model, bool prune) {
  CompactLmModel lang_model(model.lm_path(), 8);
  std::map<ids_t, wanted_t> wanted;
  for (const phrase_entry_t& pair : model.pairs()) {
    const ids_t target = ids_of(pair.target);
    lang_model.add_to_cache(std::set<int>(target.begin(), target.end()));
    float complete = 0;
    float total = 0;
    lang_model.compute_phrase_score(target, complete, total);
    std::vector<float> scores;
    if (!prune) {
      scores = {total, complete};
    }
    scores.push_back(pair.translation);
    for (std::size_t i = 0; i < 6; ++i) {
      const std::size_t triple = i - i % 3;
      const float sum =
          pair.reordering[triple] + pair.reordering[triple + 1] + pair.reordering[triple + 2];
      const float share = (pair.reordering[i] + 0.5F) / (sum + 1.5F);
      scores.push_back(static_cast<float>(std::log(static_cast<double>(share))));
    }
    wanted[ids_of(pair.source)][target] = scores;
  }
  return wanted;
}

// The entries of a cell, read in both ways, best first: all that are wanted.
void compare(const TargetData& cell, const Compressor* compressor, const wanted_t& wanted,
             bool prune) {
  TargetData first = cell;
  TargetData second = cell;
  first.begin();
  second.begin();
  ids_t ids;
  std::vector<float> scores;
  target_entry_t entry;
  std::size_t count = 0;
  for (float last = 0; first.next(compressor, ids, scores); ++count) {
    const auto target = wanted.find(ids);
    ASSERT_NE(target, wanted.end());
    ASSERT_EQ(scores, target->second);
    const float rank = scores[prune ? 0 : 2] * 0.2F + static_cast<float>(ids.size()) +
                       (prune ? 0.0F : scores[0] * 0.5F);
    ASSERT_TRUE(count == 0 || rank <= last);
    last = rank;
    ASSERT_TRUE(second.next(compressor, entry));
    ASSERT_TRUE(entry.fits());
    ASSERT_EQ(ids_t(entry.words().begin(), entry.words().end()), ids);
    ASSERT_EQ(std::vector<float>(entry.scores.begin(), entry.scores.begin() + entry.score_count),
              scores);
  }
  ASSERT_FALSE(second.next(compressor, entry));
  ASSERT_EQ(count, wanted.size());
}

TEST(PhraseTable, GivesBackEveryPairOfRandomModels) {
  const TempFolder folder;
  std::size_t entries = 0;
  for (std::uint32_t seed = 1; seed <= 120; ++seed) {
    random_model_options_t options{.seed = seed};
    options.compact = seed % 2 == 1;
    options.prune = seed % 4 >= 2;
    options.pairs = static_cast<int>(1 + seed * 3);
    options.max_phrase = static_cast<int>(1 + seed % 8);
    RandomModel random(folder.path(), options);
    Parameter parameter(random.parameter_path().c_str());
    SharedMember shared(&parameter, random.folder());
    ASSERT_EQ(shared.compressor != nullptr, options.compact);
    const CompactTransModel model(shared.trans_model_path);
    const std::map<ids_t, wanted_t> wanted = wanted_of(random, options.prune);

    // Sentences that hold every source phrase of the table, and words between them.
    std::vector<ids_t> sentences(1);
    for (const auto& [source, targets] : wanted) {
      if (sentences.back().size() > 24) {
        sentences.emplace_back();
      }
      sentences.back().insert(sentences.back().end(), source.begin(), source.end());
      if (random.random(3) == 0) {
        sentences.back().push_back(random.random(400) - 5);
      }
    }
    std::set<ids_t> seen;
    CompactTransModel::target_table_t table;
    for (const ids_t& sentence : sentences) {
      model.search_sentence(sentence, table);
      for (std::size_t i = 0; i < sentence.size(); ++i) {
        for (std::size_t k = 0; k < 8; ++k) {
          const ids_t rest(sentence.begin() + static_cast<std::ptrdiff_t>(i), sentence.end());
          const auto at =
              k < rest.size()
                  ? wanted.find({rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(k + 1)})
                  : wanted.end();
          ASSERT_EQ(table[i][k].empty(), at == wanted.end()) << "seed " << seed;
          if (table[i][k].empty()) {
            continue;
          }
          seen.insert(at->first);
          ASSERT_NO_FATAL_FAILURE(
              compare(table[i][k], shared.compressor.get(), at->second, options.prune))
              << "seed " << seed;
          entries += at->second.size();
        }
      }
    }
    ASSERT_EQ(seen.size(), wanted.size());
  }
  TargetData::s_score_size = 9;
  EXPECT_GT(entries, 20000U);
}

phrase_entry_t pair(const ids_t& source, const ids_t& target, float translation = -1) {
  phrase_entry_t entry;
  entry.source = phrase_t(source);
  entry.target = phrase_t(target);
  entry.translation = translation;
  return entry;
}

std::string text(const phrase_entry_t& entry) {
  return testing::PrintToString(ids_of(entry.source)) +
         testing::PrintToString(ids_of(entry.target));
}

TEST(PhraseTableBuilder, CountsWhatItDrops) {
  const TempFolder folder;
  const ids_t nine(9, 1);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  using report_t = phrase_table_report_t;
  using counter_t = std::uint64_t report_t::*;
  const counter_t written = &report_t::written;
  const std::tuple<phrase_entry_t, counter_t, counter_t> cases[] = {
      // counted plain, compact
      {pair({}, {1}), &report_t::bad_source_length, &report_t::bad_source_length},
      {pair(nine, {1}), &report_t::bad_source_length, &report_t::bad_source_length},
      {pair({1}, nine), &report_t::long_targets, &report_t::long_targets},
      {pair({-1}, {1}), &report_t::bad_source_words, &report_t::bad_source_words},
      {pair({65535}, {1}), written, written},
      {pair({1, 65534}, {1}), written, written},
      {pair({1, 65535}, {1}), &report_t::bad_source_words, &report_t::bad_source_words},
      {pair({1}, {-1}), &report_t::bad_target_words, &report_t::bad_target_words},
      {pair({1}, {65536}), written, &report_t::bad_target_words},
      {pair({1}, {}), written, written},
      {pair({1}, {1}, nan), &report_t::bad_scores, &report_t::bad_scores},
      {pair({7}, {7}), &report_t::repeated, &report_t::repeated},
      {pair({7}, {9}, -3), &report_t::over_limit, &report_t::over_limit},
  };
  for (const auto& [entry, plain_counter, compact_counter] : cases) {
    for (const bool compact : {false, true}) {
      PhraseTableBuilder builder({.compact = compact,
                                  .score_size = 7,
                                  .max_targets = 2,
                                  .quantifier_path = folder.path("quantifier")});
      builder.add(pair({7}, {7}));
      builder.add(pair({7}, {8}));
      builder.add(entry);
      const phrase_table_report_t report = builder.write(folder.path("table"));
      const counter_t counter = compact ? compact_counter : plain_counter;
      const bool kept = counter == written;
      EXPECT_EQ(report.*counter, kept ? 3U : 1U) << text(entry);
      EXPECT_EQ(report.written, kept ? 3U : 2U) << text(entry);
      EXPECT_EQ(report.warnings().empty(), kept) << text(entry);
    }
  }
  const std::pair<phrase_table_options_t, const char*> refused[] = {
      {{.score_size = 8}, "a phrase table has 7 or 9 scores"},
      {{.score_size = 9}, "a phrase table of 9 scores needs a language model"},
      {{.compact = true, .score_size = 7},
       "a compact phrase table needs the path of its quantifier file"},
      {{.compact = true, .score_size = 7, .samples = 257, .quantifier_path = "q"},
       "a score of a compact phrase table has 1 to 256 samples"},
  };
  for (const auto& [options, message] : refused) {
    EXPECT_EQ(message_of([&options = options] { PhraseTableBuilder builder(options); }), message);
  }
}

TEST(PhraseTableBuilder, WritesTheDocumentedExample) {
  const TempFolder folder;
  PhraseTableBuilder builder(
      {.compact = true, .score_size = 7, .quantifier_path = folder.path("quantifier")});
  const auto add = [&](const ids_t& source, const ids_t& target, float translation,
                       const std::array<float, 6>& counts) {
    phrase_entry_t entry = pair(source, target, translation);
    entry.kind = ReorderingKind::kCounts;
    entry.reordering = counts;
    builder.add(entry);
  };
  add({1}, {257}, -1, {3, 0, 1, 4, 0, 0});
  add({1}, {258, 257}, -2.5F, {});
  add({1, 2}, {259}, -0.5F, {1, 0, 0, 1, 0, 0});
  add({1, 4}, {260}, -0.5F, {1, 0, 0, 1, 0, 0});
  add({1, 4, 3}, {261}, -1, {5, 5, 5, 0, 5, 0});
  builder.write(folder.path("t"));
  EXPECT_EQ(dumps_of(KORA_SOURCE_DIR "/docs/format-phrase-table.md"),
            (std::vector<std::string>{
                read_file(folder.path("t")), read_file(folder.path("t.nodes")),
                read_file(folder.path("t.data")), read_file(folder.path("quantifier"))}));
}

TEST(PhraseTableBuilder, KeepsTheBestAndJoinsReordering) {
  const TempFolder folder;
  TargetData::s_score_size = 7;
  PhraseTableBuilder builder({.score_size = 7, .max_targets = 2});
  builder.add_reordering(phrase_t(ids_t{5, 6}), phrase_t(ids_t{1}), ReorderingKind::kLogProbs,
                         {-0.5F, -2, -3, -1, -2, -0.75F});
  builder.add_reordering(phrase_t(ids_t{5, 6}), phrase_t(ids_t{4}), ReorderingKind::kLogProbs, {});
  builder.add(pair({5, 6}, {2}, -9));
  builder.add(pair({5, 6}, {1}, -2));
  builder.add(pair({5, 6}, {1}, -1));
  builder.add(pair({5, 6}, {3}, -8));
  const phrase_table_report_t report = builder.write(folder.path("table"));
  EXPECT_EQ(report.over_limit, 1U);
  EXPECT_EQ(report.repeated, 1U);
  EXPECT_EQ(report.lone_reordering, 1U);
  const CompactTransModel model(folder.path("table"));
  CompactTransModel::target_table_t table;
  model.search_sentence(ids_t{5, 6}, table);
  EXPECT_TRUE(table[0][0].empty());
  ids_t ids;
  std::vector<float> scores;
  ASSERT_TRUE(table[0][1].next(ids, scores));
  EXPECT_EQ(ids, ids_t{1});
  EXPECT_EQ(scores, (std::vector<float>{-1, -0.5F, -2, -3, -1, -2, -0.75F}));
  ASSERT_TRUE(table[0][1].next(ids, scores));
  EXPECT_EQ(ids, ids_t{3});
  EXPECT_FLOAT_EQ(scores[1], std::log(1.0F / 3.0F));
  EXPECT_FALSE(table[0][1].next(ids, scores));
  TargetData::s_score_size = 9;
}

TEST(PhraseTableBuilder, FindsTheNearestReorderingIndex) {
  for (int index = 0; index < Compressor::kReorderIndexes; ++index) {
    std::array<float, 3> scores{};
    Compressor::compute_reordering_score(index, scores.data());
    std::array<float, 3> found{};
    Compressor::compute_reordering_score(nearest_reordering(scores), found.data());
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(found[i], scores[i], 1e-6) << index;
    }
  }
}

TEST(ScoreSamples, KMeansBeatsQuantilesAndKeepsFewValuesExact) {
  std::mt19937 random(1);
  std::exponential_distribution<float> long_tail(0.3F);
  std::vector<float> values(20000);
  for (float& value : values) {
    value = -long_tail(random);
  }
  for (const int count : {1, 2, 16, 256}) {
    const Quantifier kmeans(kmeans_samples(values, count));
    const Quantifier quantiles(quantile_samples(values, count));
    for (const Quantifier& quantifier : {kmeans, quantiles}) {
      EXPECT_LE(quantifier.samples().size(), static_cast<std::size_t>(count));
      EXPECT_TRUE(std::is_sorted(quantifier.samples().begin(), quantifier.samples().end()));
    }
    EXPECT_EQ(kmeans.samples().size(), static_cast<std::size_t>(count));
    EXPECT_LE(quantize_error(values, kmeans), quantize_error(values, quantiles) + 1e-9) << count;
  }
  const std::vector<float> few = {-2, -1, -2, -2, 0, -1, -7};
  EXPECT_EQ(kmeans_samples(few, 4), (std::vector<float>{-7, -2, -1, 0}));
  EXPECT_TRUE(kmeans_samples({}, 4).empty());
}

}  // namespace
