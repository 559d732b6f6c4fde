#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "support/cases.h"
#include "toolkit/eval/bleu.h"
#include "toolkit/eval/bootstrap.h"
#include "toolkit/eval/chrf.h"
#include "toolkit/eval/tokenizer.h"

namespace koralite::toolkit {
namespace {

using kora_test::Case;
using kora_test::for_cases;

TEST(Tokenizer, Cases) {
  for_cases("cases.txt", "tokenizer", [](const Case& c) {
    std::string text;
    for (const std::string& word : tokenize(c[1], tokenizer_by_name(c[0]))) {
      text += (text.empty() ? "" : " ") + word;
    }
    EXPECT_EQ(text, c[2]);
  });
  EXPECT_THROW(tokenizer_by_name("14a"), std::runtime_error);
  EXPECT_EQ(lower_case("ÄBC ΣΑΣ İ"), "äbc σας i̇");
}

using References = std::vector<std::vector<std::string>>;

BleuStats stats_of(const References& references, const std::vector<std::string>& translations,
                   const BleuOptions& options = {}) {
  BleuStats sum;
  for (const BleuStats& s : BleuScorer(references, options).sentences(translations)) {
    sum += s;
  }
  return sum;
}

// "a / b // c / d": the first reference of two sentences, the second.
References references_of(const Case& c) {
  References references;
  for (const std::string& reference : c.parts(0, " // ")) {
    references.push_back(Case{{}, {reference}}.parts(0, " / "));
  }
  return references;
}

TEST(Bleu, StatisticsAndScoresWorkedByHand) {
  for_cases("cases.txt", "bleu", [](const Case& c) {
    const BleuStats stats =
        stats_of(references_of(c), c.parts(1, " / "), {Tokenizer::kNone, false});
    EXPECT_THAT(stats.matches, testing::ElementsAreArray(c.numbers(2)));
    EXPECT_THAT(stats.totals, testing::ElementsAreArray(c.numbers(3)));
    const std::vector<double> lengths = c.ratios(4);
    EXPECT_EQ(static_cast<double>(stats.length), lengths[0]);
    EXPECT_EQ(static_cast<double>(stats.reference), lengths[1]);
    double product = 1;
    for (const double precision : c.ratios(5)) {
      product *= precision;
    }
    const double brevity =
        lengths[0] == 0 ? 1 : std::exp(std::min(0.0, 1 - lengths[1] / lengths[0]));
    EXPECT_NEAR(bleu(stats).score, 100 * brevity * std::pow(product, 0.25), 1e-9);
  });
  EXPECT_EQ(stats_of({{"The END."}}, {"the end ."}).matches[0], 1);
  EXPECT_EQ(stats_of({{"The END."}}, {"the end ."}, {Tokenizer::k13a, true}).matches[0], 3);
  EXPECT_EQ(stats_of({{"中文字"}}, {"文字中"}, {Tokenizer::kZh, false}).matches,
            (std::array<std::int64_t, 4>{3, 1, 0, 0}));
}

TEST(Bleu, TextSignatureAndErrors) {
  const References references{{"a b c d"}, {"a b c d e"}};
  const BleuScorer scorer(references, {Tokenizer::kZh, true});
  EXPECT_EQ(scorer.signature(), "nrefs:2|case:lc|eff:no|tok:zh|smooth:exp|version:kora-1.0.0");
  EXPECT_EQ(bleu(scorer.sentence(0, "a b c d")).text(),
            "100.00 100.0/100.0/100.0/100.0 (BP = 1.000 ratio = 1.000 hyp_len = 4 ref_len = 4)");
  EXPECT_THROW(scorer.sentences(std::vector<std::string>{"a", "b"}), std::runtime_error);
  EXPECT_THROW(BleuScorer({}, {}), std::runtime_error);
  const References uneven{{"a", "b"}, {"a"}};
  EXPECT_THROW(BleuScorer(uneven, {}), std::runtime_error);
  EXPECT_THROW(ChrfScorer(uneven, false), std::runtime_error);
}

TEST(Chrf, ScoresWorkedByHand) {
  const auto mean = [](const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
  };
  for_cases("cases.txt", "chrf", [&](const Case& c) {
    const double p = mean(c.ratios(2));
    const double r = mean(c.ratios(3));
    EXPECT_NEAR(chrf(ChrfScorer(references_of(c), false).sentence(0, c[1])),
                p + r == 0 ? 0 : 100 * 5 * p * r / (4 * p + r), 1e-9);
  });
  const References capitals{{"ABC"}};
  EXPECT_NEAR(chrf(ChrfScorer(capitals, true).sentence(0, "abc")), 100, 1e-9);
  EXPECT_EQ(ChrfScorer(capitals, false).signature(),
            "nrefs:1|case:mixed|eff:yes|nc:6|nw:0|space:no|version:kora-1.0.0");
}

// A statistic that is easy to reason about: the share of right answers.
struct Share {
  double right = 0;
  double all = 0;
  Share& operator+=(const Share& other) {
    right += other.right;
    all += other.all;
    return *this;
  }
};
double percent(const Share& s) {
  return 100 * s.right / s.all;
}

TEST(Bootstrap, IntervalAndSignificance) {
  std::vector<Share> half;
  std::vector<Share> better;
  std::vector<Share> shuffled;
  for (int i = 0; i < 400; ++i) {
    half.push_back({i % 2 == 0 ? 1.0 : 0.0, 1});
    better.push_back(
        {i % 2 == 0 || i % 8 == 1 ? 1.0 : 0.0, 1});   // never worse, one in eight better
    shuffled.push_back({i % 2 == 1 ? 1.0 : 0.0, 1});  // as good, on other sentences
  }
  const Interval interval = bootstrap(std::span<const Share>(half), percent);
  EXPECT_EQ(interval.score, 50);
  // The standard deviation of the mean of 400 coins is 2.5 %.
  EXPECT_NEAR(interval.low, 50 - 1.96 * 2.5, 0.8);
  EXPECT_NEAR(interval.high, 50 + 1.96 * 2.5, 0.8);

  const auto compare = [&](const std::vector<Share>& other) {
    return paired_bootstrap(std::span<const Share>(half), std::span<const Share>(other), percent);
  };
  EXPECT_EQ(compare(half).p, 1);
  EXPECT_EQ(compare(better).difference, 12.5);
  EXPECT_LT(compare(better).p, 0.002);
  EXPECT_EQ(compare(better).other.score, 62.5);
  EXPECT_EQ(compare(shuffled).p, 1);
  // A difference of two standard deviations: p near 0.05.
  std::vector<Share> slightly = shuffled;
  for (std::size_t i = 0; i < 20; ++i) {
    slightly[i * 2] = {1, 1};
  }
  EXPECT_NEAR(compare(slightly).p, 0.3, 0.06);  // 5 % against a deviation of 4.9 %
  EXPECT_EQ(compare(better).p, compare(better).p);
  EXPECT_THROW(compare({}), std::runtime_error);
}

}  // namespace
}  // namespace koralite::toolkit
