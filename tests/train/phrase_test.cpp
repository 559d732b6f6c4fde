#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/lm/discounts.h"
#include "toolkit/phrases/phrase_extract.h"
#include "toolkit/phrases/phrase_table.h"
#include "train/generated_text.h"

namespace koralite::toolkit {
namespace {

using Box = std::array<int, 4>;  // source begin, end, target begin, end

// The definition, word for word: at least one link inside, none half inside.
std::set<Box> all_boxes(int sources, int targets, int longest, const std::vector<Link>& links) {
  std::set<Box> boxes;
  for (int s1 = 0; s1 < sources; ++s1) {
    for (int s2 = s1; s2 < std::min(sources, s1 + longest); ++s2) {
      for (int t1 = 0; t1 < targets; ++t1) {
        for (int t2 = t1; t2 < std::min(targets, t1 + longest); ++t2) {
          bool any = false;
          bool broken = false;
          for (const Link& l : links) {
            const bool s = l.source >= s1 && l.source <= s2;
            const bool t = l.target >= t1 && l.target <= t2;
            any = any || (s && t);
            broken = broken || s != t;
          }
          if (any && !broken) {
            boxes.insert({s1, s2, t1, t2});
          }
        }
      }
    }
  }
  return boxes;
}

TEST(PhraseExtraction, AgreesWithTheDefinition) {
  SeededRandom random(3);
  for (int round = 0; round < 300; ++round) {
    const int sources = 1 + static_cast<int>(random.below(6));
    const int targets = 1 + static_cast<int>(random.below(6));
    const int longest = 1 + static_cast<int>(random.below(6));
    std::set<Link> set;
    for (std::size_t i = random.below(7); i > 0; --i) {
      set.insert({static_cast<std::uint16_t>(random.below(static_cast<std::size_t>(sources))),
                  static_cast<std::uint16_t>(random.below(static_cast<std::size_t>(targets)))});
    }
    const std::vector<Link> links(set.begin(), set.end());
    const std::set<Box> expected = all_boxes(sources, targets, longest, links);
    PhraseExtractor extractor(static_cast<std::size_t>(longest), static_cast<std::size_t>(longest),
                              OrientationModel::kPhrase);
    std::set<Box> found;
    for (const ExtractedPhrase& p : extractor.extract(static_cast<std::size_t>(sources),
                                                      static_cast<std::size_t>(targets), links)) {
      EXPECT_TRUE(
          found.insert({p.source_begin, p.source_end, p.target_begin, p.target_end}).second);
      // A neighbour in place is a box that touches the corner.
      const auto touches = [&](std::size_t s_side, int s, std::size_t t_side, int t) {
        return std::any_of(expected.begin(), expected.end(),
                           [&](const Box& b) { return b[s_side] == s && b[t_side] == t; });
      };
      const auto orientation = [&](bool border, bool monotone, bool swap) {
        return border || monotone ? kMonotone : swap ? kSwap : kDiscontinuous;
      };
      const Orientation previous =
          orientation(p.source_begin == 0 && p.target_begin == 0,
                      touches(1, p.source_begin - 1, 3, p.target_begin - 1),
                      touches(0, p.source_end + 1, 3, p.target_begin - 1));
      const Orientation next =
          orientation(p.source_end == sources - 1 && p.target_end == targets - 1,
                      touches(0, p.source_end + 1, 2, p.target_end + 1),
                      touches(1, p.source_begin - 1, 2, p.target_end + 1));
      EXPECT_EQ(p.previous, previous) << round;
      EXPECT_EQ(p.next, next) << round;
    }
    EXPECT_EQ(found, expected) << "round " << round << ": " << to_text(links);
  }
}

TEST(PhraseExtraction, WordOrientationLooksAtLinks) {
  // Links 0-1, 1-0 and 2-2; seen from the pair (1, 0).
  const std::vector<Link> links{{0, 1}, {1, 0}, {2, 2}};
  PhraseExtractor extractor(1, 1, OrientationModel::kWord);
  std::map<int, std::pair<int, int>> by_target;
  for (const ExtractedPhrase& p : extractor.extract(3, 3, links)) {
    by_target[p.target_begin] = {p.previous, p.next};
  }
  EXPECT_EQ(by_target[0], (std::pair<int, int>{kDiscontinuous, kSwap}));
  EXPECT_EQ(by_target[1], (std::pair<int, int>{kSwap, kDiscontinuous}));
  EXPECT_EQ(by_target[2], (std::pair<int, int>{kDiscontinuous, kMonotone}));
}

struct Row {
  double forward, forward_lexical, backward, backward_lexical, significance;
  std::uint32_t count;
  std::array<std::uint32_t, 3> previous, next;
  std::uint64_t links;
  friend bool operator==(const Row&, const Row&) = default;
};
using Rows = std::vector<std::pair<std::string, Row>>;

std::string text_of(std::span<const WordId> ids, const WordTable& words) {
  std::string text;
  for (const WordId id : ids) {
    text += (text.empty() ? "" : " ") + words.word(id);
  }
  return text;
}

Rows rows_of(const Bitext& bitext, const Alignment& alignment, const PhraseOptions& options,
             PhraseStatistics* statistics = nullptr) {
  Rows rows;
  const PhraseStatistics made =
      build_phrase_table(bitext, alignment, options, [&](std::span<const PhrasePair> pairs) {
        for (const PhrasePair& p : pairs) {
          rows.emplace_back(text_of(p.source, bitext.source_words) + " | " +
                                text_of(p.target, bitext.target_words),
                            Row{p.forward, p.forward_lexical, p.backward, p.backward_lexical,
                                p.significance, p.count, p.previous, p.next, p.links});
        }
      });
  if (statistics != nullptr) {
    *statistics = made;
  }
  return rows;
}

TEST(PhraseTable, ScoresWorkedByHand) {
  // a-x twice, a-y once, b-x once, each alone in its sentence.
  const std::vector<std::string> source{"a", "a", "a", "b"};
  const std::vector<std::string> target{"x", "x", "y", "x"};
  const Bitext bitext = make_bitext(source, target);
  Alignment alignment;
  for (int i = 0; i < 4; ++i) {
    alignment.add(std::vector<Link>{{0, 0}});
  }
  PhraseOptions options;
  std::map<std::string, Row> rows;
  const auto build = [&](PhraseSmoothing smoothing) {
    options.smoothing = smoothing;
    const Rows built = rows_of(bitext, alignment, options);
    rows = {built.begin(), built.end()};
  };
  kora_test::for_cases("cases.txt", "phrase scores", [&](const kora_test::Case& c) {
    build(c.yes(0) ? PhraseSmoothing::kKneserNey : PhraseSmoothing::kNone);
    ASSERT_EQ(rows.size(), 3U);
    const Row& row = rows.at(c.words(1).at(0) + " | " + c.words(1).at(1));
    EXPECT_DOUBLE_EQ(row.forward, c.ratios(2).at(0));
    EXPECT_DOUBLE_EQ(row.backward, c.ratios(3).at(0));
  });
  EXPECT_EQ(rows["a | x"].previous, (std::array<std::uint32_t, 3>{2, 0, 0}));
  // Of 4 sentences 3 hold a and 3 hold x: at least 2 shared ones are certain.
  EXPECT_DOUBLE_EQ(rows["a | x"].significance, 0);
  // 3 of 4 chances that the one y falls beside an a.
  EXPECT_NEAR(rows["a | y"].significance, -std::log(3.0 / 4), 1e-12);

  options.min_count = 2;
  build(PhraseSmoothing::kKneserNey);
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.begin()->first, "a | x");
}

TEST(PhraseTable, SameForAnyThreadsMemoryAndFingerprints) {
  const GeneratedText text = generate_text(400, 30, 9);
  const Bitext bitext = make_bitext(text.source, text.target);
  PhraseOptions options;
  options.threads = 1;
  PhraseStatistics statistics;
  const Rows plain = rows_of(bitext, text.truth, options, &statistics);
  ASSERT_GT(plain.size(), 2000U);
  EXPECT_EQ(statistics.runs, 1);
  EXPECT_EQ(statistics.kept, plain.size());
  EXPECT_EQ(statistics.previous[0] + statistics.previous[1] + statistics.previous[2],
            statistics.instances);

  options.threads = 3;
  EXPECT_EQ(rows_of(bitext, text.truth, options), plain);
  options.memory = 50000;
  EXPECT_EQ(rows_of(bitext, text.truth, options, &statistics), plain);
  EXPECT_GT(statistics.runs, 3);

  // Fingerprints of four bits: nearly all phrases collide, order changes, no row does.
  options = {};
  options.fingerprint_mask = 0xF00000000000000FULL;
  const auto sorted = [](Rows rows) {
    std::sort(rows.begin(), rows.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return rows;
  };
  EXPECT_EQ(sorted(rows_of(bitext, text.truth, options)), sorted(plain));
}

TEST(PhraseTable, KeepsTheBestTargetsAndTheSignificantPairs) {
  const GeneratedText text = generate_text(300, 10, 4);
  const Bitext bitext = make_bitext(text.source, text.target);
  PhraseOptions options;
  const Rows all = rows_of(bitext, text.truth, options);
  options.max_targets = 2;
  std::map<std::string, int> per_source;
  for (const auto& [name, row] : rows_of(bitext, text.truth, options)) {
    EXPECT_LE(++per_source[name.substr(0, name.find('|'))], 2);
  }
  options.max_targets = 0;
  options.min_significance = 5;
  Rows expected = all;
  std::erase_if(expected, [](const auto& row) { return row.second.significance < 5; });
  ASSERT_LT(expected.size(), all.size());
  ASSERT_GT(expected.size(), 20U);
  EXPECT_EQ(rows_of(bitext, text.truth, options), expected);
}

TEST(PhraseTable, RefusesWhatDoesNotFit) {
  const std::vector<std::string> line{"a b"};
  const Bitext bitext = make_bitext(line, line);
  const auto refused = [&](const std::vector<Link>& links, std::size_t sentences,
                           std::size_t max_source, std::size_t max_target) {
    Alignment alignment;
    for (std::size_t i = 0; i < sentences; ++i) {
      alignment.add(links);
    }
    PhraseOptions options;
    options.max_source = max_source;
    options.max_target = max_target;
    return !kora_test::message_of([&] {
              build_phrase_table(bitext, alignment, options, [](std::span<const PhrasePair>) {});
            }).empty();
  };
  EXPECT_FALSE(refused({{0, 0}}, 1, 7, 7) || refused({}, 1, 8, 1));
  EXPECT_TRUE(refused({{2, 0}}, 1, 7, 7) && refused({{0, 2}}, 1, 7, 7));
  EXPECT_TRUE(refused({}, 1, 9, 7) && refused({}, 1, 7, 0) && refused({}, 2, 7, 7));
}

TEST(Statistics, FisherAndDiscounts) {
  const std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, double> cases[] = {
      {1, 1, 1, 10, 1.0 / 10},
      {1, 1, 2, 10, 2.0 / 10},
      {2, 2, 2, 4, 1.0 / 6},
      {1, 2, 2, 4, 5.0 / 6},
      {0, 3, 3, 9, 1},
      {4, 4, 4, 4, 1},
      {3, 5, 4, 20, (10.0 * 15 + 5) / 4845},  // C(5,3) C(15,1) + C(5,4) of C(20,4)
  };
  for (const auto& [both, source, target, sentences, p] : cases) {
    EXPECT_NEAR(fisher_significance(both, source, target, sentences), -std::log(p), 1e-9) << p;
  }
  // y = 4 / (4 + 2 * 2) = 1/2; D1 = 1 - 2 y 2/4, D2 = 2 - 3 y 1/2, D3 = 3 - 4 y 1/1.
  EXPECT_EQ(modified_discounts({4, 2, 1, 1}), (std::array<double, 3>{0.5, 1.25, 1.0}));
  EXPECT_EQ(modified_discounts({4, 2, 0, 1}), (std::array<double, 3>{0.5, 1.0, 1.5}));
}

}  // namespace
}  // namespace koralite::toolkit
