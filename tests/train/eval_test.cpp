#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/eval/bleu.h"
#include "toolkit/eval/bootstrap.h"
#include "toolkit/eval/chrf.h"
#include "toolkit/eval/tokenizer.h"

namespace koralite::toolkit {
namespace {

std::string joined(std::string_view line, Tokenizer tokenizer) {
  std::string text;
  for (const std::string& word : tokenize(line, tokenizer))
    text += (text.empty() ? "" : " ") + word;
  return text;
}

TEST(Tokenizer, Cases) {
  struct Case {
    const char* tokenizer;
    const char* line;
    const char* words;
  };
  const Case cases[] = {
      {"13a", "Hello, world!", "Hello , world !"},
      {"13a", "It's 1,000.5 km.", "It's 1,000.5 km ."},
      {"13a", "U.S. a,,b", "U . S . a , , b"},
      {"13a", "5. .5 x.5 5.x", "5 . . 5 x . 5 5 . x"},
      {"13a", "3-4 well-known -5", "3 - 4 well-known -5"},
      {"13a", "&quot;x&quot; &lt;b&gt; &amp;amp;", "\" x \" < b > & amp ;"},
      {"13a", "$5.00 (50%) a/b [c] {d} e=f", "$ 5.00 ( 50 % ) a / b [ c ] { d } e = f"},
      {"13a", "<skipped>a\u00A0b\u3000c\t d", "a b c d"},
      {"13a", "naïve “quoted” 中文。", "naïve “quoted” 中文。"},
      {"13a", "", ""},
      {"zh", "你好,world。", "你 好 , world 。"},
      {"zh", "版本1.2的“文件”——打开", "版 本 1.2 的 “ 文 件 ” — — 打 开"},
      {"zh", "按Ctrl+S、Ａ", "按 Ctrl + S 、 Ａ"},
      {"zh", " naïve 3-4 ", "naïve 3 - 4"},
      {"char", "ab 中\u3000文", "a b 中 文"},
      {"none", " a,b  c. ", "a,b c."},
      {"none",
       "a\xFF"
       "b",
       "a\uFFFD"
       "b"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(joined(c.line, tokenizer_by_name(c.tokenizer)), c.words)
        << c.tokenizer << ": " << c.line;
  }
  EXPECT_THROW(tokenizer_by_name("14a"), std::runtime_error);
  EXPECT_EQ(lower_case("ÄBC ΣΑΣ İ"), "äbc σας i̇");
}

BleuStats stats_of(const std::vector<std::vector<std::string>>& references,
                   const std::vector<std::string>& translations, const BleuOptions& options = {}) {
  BleuStats sum;
  for (const BleuStats& s : BleuScorer(references, options).sentences(translations)) sum += s;
  return sum;
}

TEST(Bleu, StatisticsAndScoresWorkedByHand) {
  struct Case {
    const char* what;
    std::vector<std::vector<std::string>> references;
    std::vector<std::string> translations;
    BleuStats stats;
    double score;
  };
  const double e = std::exp(1.0);
  const Case cases[] = {
      // 5 of 6 words, "the cat", "on the", "the mat", "on the mat"; no four: half a match.
      {"one word differs",
       {{"the cat is on the mat"}},
       {"the cat sat on the mat"},
       {{5, 3, 1, 0}, {6, 5, 4, 3}, 6, 6},
       100 * std::pow(5.0 / 6 * 3 / 5 * 1 / 4 * 0.5 / 3, 0.25)},
      {"equal", {{"a b c d e"}}, {"a b c d e"}, {{5, 4, 3, 2}, {5, 4, 3, 2}, 5, 5}, 100},
      // A word counts as often as the reference that has it oftenest.
      {"clipped",
       {{"x x y z"}, {"x w y z v"}},
       {"x x x y z"},
       {{4, 3, 2, 1}, {5, 4, 3, 2}, 5, 5},
       100 * std::pow(4.0 / 5 * 3 / 4 * 2 / 3 * 1 / 2, 0.25)},
      // 8 words against 4: brevity exp(1 - 8 / 4).
      {"short", {{"a b c d e f g h"}}, {"a b c d"}, {{4, 3, 2, 1}, {4, 3, 2, 1}, 4, 8}, 100 / e},
      {"two orders without a match",
       {{"a b x y z"}},
       {"a b c d e"},
       {{2, 1, 0, 0}, {5, 4, 3, 2}, 5, 5},
       100 * std::pow(2.0 / 5 * 1 / 4 * (1.0 / 2 / 3) * (1.0 / 4 / 2), 0.25)},
      {"closest length, shorter one of two",
       {{"a b c d e f g"}, {"a b c d e"}},
       {"a b c d e f"},
       {{6, 5, 4, 3}, {6, 5, 4, 3}, 6, 5},
       100},
      {"two sentences",
       {{"a b c d", "e"}},
       {"a b c d", "f"},
       {{4, 3, 2, 1}, {5, 3, 2, 1}, 5, 5},
       100 * std::pow(4.0 / 5, 0.25)},
      {"nothing in common", {{"a b c d"}}, {"e f g h"}, {{0, 0, 0, 0}, {4, 3, 2, 1}, 4, 4}, 0},
      {"no word", {{"a b"}}, {""}, {{0, 0, 0, 0}, {0, 0, 0, 0}, 0, 2}, 0},
      {"too short for four", {{"a b c"}}, {"a b c"}, {{3, 2, 1, 0}, {3, 2, 1, 0}, 3, 3}, 0},
  };
  for (const Case& c : cases) {
    const BleuStats stats = stats_of(c.references, c.translations, {Tokenizer::kNone, false});
    EXPECT_EQ(stats, c.stats) << c.what;
    EXPECT_NEAR(bleu(stats).score, c.score, 1e-9) << c.what;
  }
  EXPECT_EQ(stats_of({{"The END."}}, {"the end ."}).matches[0], 1);
  EXPECT_EQ(stats_of({{"The END."}}, {"the end ."}, {Tokenizer::k13a, true}).matches[0], 3);
  EXPECT_EQ(stats_of({{"中文字"}}, {"文字中"}, {Tokenizer::kZh, false}).matches,
            (std::array<std::int64_t, 4>{3, 1, 0, 0}));
}

TEST(Bleu, TextSignatureAndErrors) {
  const std::vector<std::vector<std::string>> references{{"a b c d"}, {"a b c d e"}};
  const BleuScorer scorer(references, {Tokenizer::kZh, true});
  EXPECT_EQ(scorer.signature(), "nrefs:2|case:lc|eff:no|tok:zh|smooth:exp|version:kora-1.0.0");
  EXPECT_EQ(bleu(scorer.sentence(0, "a b c d")).text(),
            "100.00 100.0/100.0/100.0/100.0 (BP = 1.000 ratio = 1.000 hyp_len = 4 ref_len = 4)");
  EXPECT_THROW(scorer.sentences(std::vector<std::string>{"a", "b"}), std::runtime_error);
  EXPECT_THROW(BleuScorer({}, {}), std::runtime_error);
  const std::vector<std::vector<std::string>> uneven{{"a", "b"}, {"a"}};
  EXPECT_THROW(BleuScorer(uneven, {}), std::runtime_error);
  EXPECT_THROW(ChrfScorer(uneven, false), std::runtime_error);
}

TEST(Chrf, ScoresWorkedByHand) {
  struct Case {
    std::vector<std::vector<std::string>> references;
    const char* translation;
    double score;
  };
  const auto f2 = [](double p, double r) { return 100 * 5 * p * r / (4 * p + r); };
  const Case cases[] = {
      // Signs 2 of 3, pairs 1 of 2, triples 0 of 1; nothing longer.
      {{{"abd"}}, "abc", f2((2.0 / 3 + 1.0 / 2) / 3, (2.0 / 3 + 1.0 / 2) / 3)},
      // Blanks do not count: 2 of 2 and 4, 1 of 1 and 3, no triple in the translation.
      {{{"abc d"}}, "a b", f2(1, (2.0 / 4 + 1.0 / 3) / 2)},
      {{{"zz"}, {"ab"}}, "ab", 100},  // the better reference
      {{{"中文 文字"}}, "中文", f2(1, (2.0 / 4 + 1.0 / 3) / 2)},
      {{{"abc"}}, "xyz", 0},
      {{{"abc"}}, "", 0},
      {{{""}}, "abc", 0},
      {{{"ab"}}, "abcd", f2((2.0 / 4 + 1.0 / 3) / 2, 1)},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(chrf(ChrfScorer(c.references, false).sentence(0, c.translation)), c.score, 1e-9)
        << c.translation;
  }
  const std::vector<std::vector<std::string>> capitals{{"ABC"}};
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
  for (std::size_t i = 0; i < 20; ++i) slightly[i * 2] = {1, 1};
  EXPECT_NEAR(compare(slightly).p, 0.3, 0.06);  // 5 % against a deviation of 4.9 %
  EXPECT_EQ(compare(better).p, compare(better).p);
  EXPECT_THROW(compare({}), std::runtime_error);
}

}  // namespace
}  // namespace koralite::toolkit
