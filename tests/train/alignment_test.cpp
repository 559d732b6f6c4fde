#include <gtest/gtest.h>

#include "support/cases.h"
#include "toolkit/align/aligner.h"
#include "toolkit/io/progress.h"
#include "toolkit/phrases/word_translation.h"
#include "train/generated_text.h"

namespace koralite::toolkit {
namespace {

TEST(Corpus, TakesLinesApartAndRefusesUnequalSides) {
  const std::vector<std::string> source{"a  b\ta", "", " c"};
  const std::vector<std::string> target{"x", "y", "z z"};
  const Bitext bitext = make_bitext(source, target);
  EXPECT_EQ(bitext.source.length(0), 3U);
  EXPECT_EQ(bitext.source.length(1), 0U);
  EXPECT_EQ(bitext.source[0][0], bitext.source[0][2]);
  EXPECT_EQ(bitext.source_words.word(bitext.source[2][0]), "c");
  EXPECT_EQ(bitext.source_words.find("x"), WordTable::kNone);
  EXPECT_THROW(make_bitext(source, std::span(target).first(2)), std::runtime_error);
}

TEST(Symmetrization, Methods) {
  kora_test::for_cases("cases.txt", "symmetrization", [](const kora_test::Case& c) {
    const std::vector<int> forward = c.numbers(0);
    const std::vector<int> backward = c.numbers(1);
    for (std::size_t method = 0; method < 4; ++method) {
      EXPECT_EQ(to_text(symmetrize(std::vector<std::int16_t>(forward.begin(), forward.end()),
                                   std::vector<std::int16_t>(backward.begin(), backward.end()),
                                   static_cast<Symmetrization>(method))),
                c[2 + method]);
    }
  });
}

TEST(Links, TextThereAndBack) {
  const std::vector<Link> links{{0, 3}, {12, 0}};
  EXPECT_EQ(to_text(links), "0-3 12-0");
  EXPECT_EQ(parse_links(" 0-3\t12-0 "), links);
  for (const char* bad : {"0", "0-", "-1", "0-1x", "a-1", "0_1", "0-70000"}) {
    EXPECT_THROW(parse_links(bad), std::runtime_error) << bad;
  }
}

TEST(Aligner, LearnsWordsFromWhatTheyMeet) {
  // No pair alone tells which word is which; all together do.
  const std::vector<std::string> source{"das haus", "das buch", "ein buch", "ein haus"};
  const std::vector<std::string> target{"the house", "the book", "a book", "a house"};
  const Bitext bitext = make_bitext(source, target);
  AlignOptions options;
  options.diagonal_iterations = 10;
  options.tension = 0.1;
  options.optimise_tension = false;
  options.hmm_iterations = 0;
  options.null_probability = 0.01;
  const Alignment alignment = align_both(bitext, options);
  for (std::size_t pair = 0; pair < bitext.size(); ++pair) {
    EXPECT_EQ(to_text(alignment[pair]), "0-0 1-1") << pair;
  }
}

// Share of right links among found ones and true ones together (1 - error rate).
double agreement(const Alignment& found, const Alignment& truth) {
  std::size_t both = 0;
  for (std::size_t pair = 0; pair < truth.size(); ++pair) {
    for (const Link& link : found[pair]) {
      both += static_cast<std::size_t>(std::count(truth[pair].begin(), truth[pair].end(), link));
    }
  }
  return 2.0 * static_cast<double>(both) / static_cast<double>(found.links() + truth.links());
}

TEST(Aligner, FindsAKnownAlignmentWithEveryModelAndAnyThreads) {
  const GeneratedText text = generate_text(1500, 200, 5);
  const Bitext bitext = make_bitext(text.source, text.target);
  struct Case {
    int diagonal;
    int markov;
    double least;
  };
  for (const Case& c : {Case{5, 0, 0.95}, Case{1, 5, 0.94}, Case{4, 4, 0.94}}) {
    AlignOptions options;
    options.diagonal_iterations = c.diagonal;
    options.hmm_iterations = c.markov;
    options.threads = 1;
    const Alignment one = align_both(bitext, options);
    EXPECT_GT(agreement(one, text.truth), c.least) << c.diagonal << "+" << c.markov;
    options.threads = 3;
    const Alignment three = align_both(bitext, options);
    ASSERT_EQ(one.links(), three.links());
    for (std::size_t pair = 0; pair < one.size(); ++pair) {
      ASSERT_TRUE(
          std::equal(one[pair].begin(), one[pair].end(), three[pair].begin(), three[pair].end()))
          << pair;
    }
  }
}

TEST(Aligner, LikelihoodNeverFallsUnderMaximumLikelihood) {
  const GeneratedText text = generate_text(300, 50, 6);
  const Bitext bitext = make_bitext(text.source, text.target);
  AlignOptions options;
  options.diagonal_iterations = 6;
  options.hmm_iterations = 0;
  options.prior = 0;
  options.optimise_tension = false;
  const AlignResult result = align(bitext.source, bitext.target, bitext.source_words.size(),
                                   bitext.target_words.size(), options);
  ASSERT_EQ(result.perplexities.size(), 6U);
  for (std::size_t i = 1; i < 6; ++i) {
    EXPECT_LE(result.perplexities[i], result.perplexities[i - 1] + 1e-6);
  }
  // A fitted tension explains the text better than a fixed loose one.
  options.tension = 0.5;
  const double loose = align(bitext.source, bitext.target, bitext.source_words.size(),
                             bitext.target_words.size(), options)
                           .log_likelihood;
  options.optimise_tension = true;
  const AlignResult fitted = align(bitext.source, bitext.target, bitext.source_words.size(),
                                   bitext.target_words.size(), options);
  EXPECT_GT(fitted.log_likelihood, loose);
  EXPECT_GT(fitted.tension, 2);
}

TEST(Aligner, PassesOverWhatItCannotAlign) {
  const std::vector<std::string> source{"a b", "", "a", "a a a a a", "b"};
  const std::vector<std::string> target{"x y", "x", "", "x x x", "y"};
  const Bitext bitext = make_bitext(source, target);
  AlignOptions options;
  options.max_words = 4;
  double last = 0;
  const Alignment alignment =
      align_both(bitext, options, [&](std::string_view, double done) { last = done; });
  EXPECT_EQ(last, 1);
  EXPECT_EQ(to_text(alignment[0]), "0-0 1-1");
  EXPECT_EQ(to_text(alignment[4]), "0-0");
  for (const std::size_t pair : {1U, 2U, 3U}) {
    EXPECT_TRUE(alignment[pair].empty());
  }

  const Bitext nothing = make_bitext({}, {});
  EXPECT_EQ(align_both(nothing, {}).size(), 0U);
  EXPECT_THROW(align(bitext.source, nothing.target, 2, 0, {}), std::runtime_error);
  options.max_words = 0;
  EXPECT_THROW(align_both(bitext, options), std::runtime_error);
}

TEST(WordTranslation, ProbabilitiesAndLexicalWeights) {
  const std::vector<std::string> source{"a b", "a", "a c"};
  const std::vector<std::string> target{"x y", "y", "x"};
  const Bitext bitext = make_bitext(source, target);
  Alignment alignment;
  alignment.add(std::vector<Link>{{0, 0}, {1, 0}, {1, 1}});
  alignment.add(std::vector<Link>{{0, 0}});
  alignment.add(std::vector<Link>{{0, 0}});  // c stays without
  const WordTranslation words(bitext, alignment);
  const WordId a = 0, b = 1, c = 2, x = 0, y = 1;
  EXPECT_DOUBLE_EQ(words.forward(a, x), 2.0 / 3);  // a: x x y
  EXPECT_DOUBLE_EQ(words.forward(a, y), 1.0 / 3);
  EXPECT_DOUBLE_EQ(words.forward(b, y), 1.0 / 2);   // b: x y
  EXPECT_DOUBLE_EQ(words.backward(a, x), 2.0 / 3);  // x: a b a
  EXPECT_DOUBLE_EQ(words.backward(c, WordTranslation::kEmpty), 1.0);
  EXPECT_EQ(words.forward(c, x), 0);
  EXPECT_EQ(words.forward(WordTranslation::kEmpty, x), 0);

  const WordId ab[] = {a, b};
  const WordId xy[] = {x, y};
  const std::uint64_t links = 1U | 1U << 8U | 1U << 9U;  // a-x b-x b-y
  EXPECT_DOUBLE_EQ(words.forward_weight(ab, xy, links), (2.0 / 3 + 1.0 / 2) / 2 * (1.0 / 2));
  EXPECT_DOUBLE_EQ(words.backward_weight(ab, xy, links), (2.0 / 3) * ((1.0 / 3 + 1.0 / 2) / 2));
}

TEST(Progress, LineOfTheBar) {
  const std::string stage = "stage                    [";
  EXPECT_EQ(ProgressBar::line("stage", 0, 5), stage + std::string(30, '-') + "] 0 %");
  EXPECT_EQ(ProgressBar::line("stage", 0.5, 75),
            stage + std::string(15, '#') + std::string(15, '-') + "] 50 %  1:15 left");
  for (const double done : {1, 7}) {
    EXPECT_EQ(ProgressBar::line("stage", done, 61),
              stage + std::string(30, '#') + "] 100 %  1:01 taken");
  }
  ::testing::internal::CaptureStderr();
  {
    ProgressBar bar(true);
    bar.update("stage", 0);
    bar.say("a line");  // the bar goes, the line stays
    bar.update("stage", 1);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "\r" + ProgressBar::line("stage", 0, 0) + "\033[K\r\033[Ka line\n\r" +
                ProgressBar::line("stage", 1, 0) + "\033[K\n");
}

TEST(Progress, TextOfAFilter) {
  LineProgress progress(false, 1000);
  EXPECT_EQ(progress.text(0), "0 lines");
  for (int i = 0; i < 10; ++i) {
    progress.read(25);
    progress.wrote_line();
  }
  EXPECT_EQ(progress.text(4), "10 lines, 3 lines/s, 25 %, 0:12 left");
}

}  // namespace
}  // namespace koralite::toolkit
