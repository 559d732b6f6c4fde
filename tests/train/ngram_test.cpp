#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "support/cases.h"
#include "support/temp_folder.h"
#include "toolkit/io/line_reader.h"
#include "toolkit/lm/discounts.h"
#include "toolkit/lm/ngram_estimator.h"
#include "toolkit/phrases/phrase_table.h"
#include "train/generated_text.h"

namespace koralite::toolkit {
namespace {

NgramText text_of(const std::vector<std::string>& lines) {
  NgramText text;
  for (const std::string& line : lines) {
    text.add_line(line);
  }
  return text;
}

// The n-gram's own entry, or NaN.
double entry(const NgramModel& model, const NgramText& text, const std::string& ngram) {
  std::vector<WordId> ids;
  for (const std::string_view word : split_blanks(ngram)) {
    ids.push_back(text.words().find(word));
  }
  const std::size_t found = model.find(ids);
  return found == NgramModel::kNone
             ? std::nan("")
             : std::pow(10.0, static_cast<double>(model.level(ids.size()).log_probability[found]));
}

TEST(NgramEstimator, ProbabilitiesWorkedByHand) {
  const NgramText text = text_of({"a b a", "a b c"});
  kora_test::for_cases("cases.txt", "ngrams", [&](const kora_test::Case& c) {
    NgramOptions options;
    options.order = c.size(0);
    EXPECT_NEAR(entry(estimate_ngrams(text, options), text, c[1]), c.ratios(2).at(0), 1e-6);
  });
  NgramOptions options;
  options.order = 2;
  const NgramModel model = estimate_ngrams(text, options);
  EXPECT_TRUE(std::isnan(entry(model, text, "c a")));
  const std::size_t begin = model.find(std::vector<WordId>{NgramText::kBegin});
  EXPECT_EQ(model.level(1).log_probability[begin], -99);
  // Backing off from a (half of its counts were freed) to c.
  const std::vector<WordId> ac{text.words().find("a"), text.words().find("c")};
  EXPECT_NEAR(model.log10_probability(ac), std::log10(0.5 * (0.5 / 6 + 0.1)), 1e-6);
}

// The definitions with maps and sets, nothing shared with the estimator.
class Reference {
 public:
  using Gram = std::vector<WordId>;

  Reference(const NgramText& text, std::size_t order) : order_(order) {
    Gram sentence;
    for (const WordId word : text.tokens()) {
      if (word == NgramText::kBegin) {
        sentence.clear();
      }
      sentence.push_back(word);
      for (std::size_t n = 1; n <= std::min(order, sentence.size()); ++n) {
        const Gram gram(sentence.end() - static_cast<std::ptrdiff_t>(n), sentence.end());
        ++seen_[gram];
        before_[gram].insert(sentence.size() > n ? sentence[sentence.size() - n - 1] : 0);
      }
    }
    std::set<WordId> words;
    std::vector<std::array<std::uint64_t, 4>> kinds(order);
    for (const auto& [gram, count] : seen_) {
      if (gram == Gram{NgramText::kBegin}) {
        continue;
      }
      const std::uint64_t c = adjusted(gram);
      if (c <= 4) {
        ++kinds[gram.size() - 1][c - 1];
      }
      const Gram context(gram.begin(), gram.end() - 1);
      total_[context] += c;
      following_[context].push_back(c);
      if (gram.size() == 1 && gram[0] != NgramText::kUnknown) {
        words.insert(gram[0]);
      }
    }
    words_ = words.size() + 1;
    for (const auto& kind : kinds) {
      discounts_.push_back(modified_discounts(kind));
    }
  }

  double probability(const Gram& gram) const {
    if (gram.empty()) {
      return 1.0 / static_cast<double>(words_);
    }
    const Gram context(gram.begin(), gram.end() - 1);
    const Gram shorter(gram.begin() + 1, gram.end());
    const auto found = total_.find(context);
    if (found == total_.end()) {
      return probability(shorter);
    }
    const double total = static_cast<double>(found->second);
    double freed = 0;
    for (const std::uint64_t c : following_.at(context)) {
      freed += discount(gram.size(), c);
    }
    const std::uint64_t own = seen_.contains(gram) ? adjusted(gram) : 0;
    const double kept = own == 0 ? 0 : static_cast<double>(own) - discount(gram.size(), own);
    return kept / total + freed / total * probability(shorter);
  }

 private:
  std::uint64_t adjusted(const Gram& gram) const {
    const bool plain = gram.size() == order_ || gram[0] == NgramText::kBegin;
    return plain ? seen_.at(gram) : before_.at(gram).size();
  }
  double discount(std::size_t n, std::uint64_t count) const {
    return discounts_[n - 1][std::min<std::uint64_t>(count, 3) - 1];
  }

  std::size_t order_;
  std::map<Gram, std::uint64_t> seen_;
  std::map<Gram, std::set<WordId>> before_;
  std::map<Gram, std::uint64_t> total_;
  std::map<Gram, std::vector<std::uint64_t>> following_;
  std::size_t words_ = 0;
  std::vector<std::array<double, 3>> discounts_;
};

TEST(NgramEstimator, AgreesWithTheDefinitions) {
  std::vector<std::string> lines = generate_text(300, 40, 11).source;
  lines.push_back("w1 <unk> w2 <s> w3");  // a boundary inside a line is left out
  lines.emplace_back();
  const NgramText text = text_of(lines);
  for (const std::size_t order : {1U, 2U, 3U, 5U}) {
    NgramOptions options;
    options.order = order;
    options.threads = 2;
    NgramStatistics statistics;
    const NgramModel model = estimate_ngrams(text, options, &statistics);
    const Reference reference(text, order);
    EXPECT_EQ(statistics.kept, statistics.counted);
    for (std::size_t n = 1; n <= order; ++n) {
      const NgramLevel& level = model.level(n);
      for (std::size_t i = 0; i < level.size(); ++i) {
        const Reference::Gram gram(level.words.begin() + static_cast<std::ptrdiff_t>(i * n),
                                   level.words.begin() + static_cast<std::ptrdiff_t>(i * n + n));
        if (gram == Reference::Gram{NgramText::kBegin}) {
          continue;
        }
        ASSERT_NEAR(std::pow(10.0, static_cast<double>(level.log_probability[i])),
                    reference.probability(gram), 1e-5)
            << "order " << order << ", entry " << i << " of " << n << " words";
      }
    }
  }
}

TEST(NgramEstimator, ProbabilitiesSumToOneAfterEveryContextPrunedOrNot) {
  const NgramText text = text_of(generate_text(400, 60, 12).source);
  struct Case {
    const char* what;
    std::size_t order;
    std::vector<std::uint32_t> min_counts;
    double threshold;
  };
  const Case cases[] = {
      {"one word", 1, {}, 0},
      {"two words", 2, {}, 0},
      {"four words", 4, {}, 0},
      {"cut by count", 4, {1, 1, 2, 2}, 0},
      {"cut two-word ones", 3, {1, 4}, 0},
      {"cut by entropy", 4, {}, 1e-4},
      {"cut by both", 3, {1, 2, 2}, 1e-5},
  };
  SeededRandom random(1);
  for (const Case& c : cases) {
    NgramOptions options;
    options.order = c.order;
    options.min_counts = c.min_counts;
    options.entropy_threshold = c.threshold;
    const NgramModel model = estimate_ngrams(text, options);
    std::vector<std::vector<WordId>> contexts{{}, {NgramText::kBegin}, {NgramText::kUnknown}};
    for (int i = 0; i < 200; ++i) {
      // Half of them from the text, so that long ones occur.
      std::vector<WordId> context;
      const std::size_t at = random.below(text.tokens().size() - c.order);
      for (std::size_t k = 0; k + 1 < c.order; ++k) {
        context.push_back(i % 2 == 0 ? text.tokens()[at + k]
                                     : static_cast<WordId>(random.below(text.words().size())));
        if (context.back() == NgramText::kEnd) {
          context.back() = NgramText::kUnknown;
        }
      }
      contexts.push_back(context);
    }
    for (std::vector<WordId>& context : contexts) {
      double sum = 0;
      for (WordId word = 0; word < text.words().size(); ++word) {
        if (word == NgramText::kBegin) {
          continue;
        }
        context.push_back(word);
        sum += std::pow(10.0, model.log10_probability(context));
        context.pop_back();
      }
      ASSERT_NEAR(sum, 1, 2e-4) << c.what;
    }
  }
}

double perplexity(const NgramModel& model, const NgramText& words,
                  const std::vector<std::string>& lines) {
  double log = 0;
  double tokens = 0;
  for (const std::string& line : lines) {
    std::vector<WordId> ids;
    for (const std::string_view word : split_blanks(line)) {
      const WordId id = words.words().find(word);
      ids.push_back(id == WordTable::kNone ? WordId{NgramText::kUnknown} : id);
    }
    log += model.log10_sentence(ids);
    tokens += static_cast<double>(ids.size()) + 1;
  }
  return std::pow(10.0, -log / tokens);
}

TEST(NgramEstimator, EntropyPruningCostsLittleAndLeavesAClosedModel) {
  // Sentences that repeat, so that there is something to learn.
  std::vector<std::string> lines;
  const std::vector<std::string> some = generate_text(150, 300, 13).source;
  SeededRandom random(2);
  for (int i = 0; i < 1500; ++i) {
    lines.push_back(some[random.below(1 + random.below(some.size()))]);
  }
  const std::vector<std::string> held(lines.end() - 200, lines.end());
  lines.resize(1300);
  const NgramText text = text_of(lines);
  NgramOptions options;
  options.order = 4;
  const NgramModel full = estimate_ngrams(text, options);
  options.entropy_threshold = 1e-4;
  options.threads = 1;
  const NgramModel pruned = estimate_ngrams(text, options);
  options.threads = 3;
  const NgramModel again = estimate_ngrams(text, options);
  std::size_t full_size = 0;
  std::size_t pruned_size = 0;
  for (std::size_t n = 1; n <= 4; ++n) {
    full_size += full.level(n).size();
    pruned_size += pruned.level(n).size();
    EXPECT_EQ(pruned.level(n).log_probability, again.level(n).log_probability);
    EXPECT_EQ(pruned.level(n).log_backoff, again.level(n).log_backoff);
  }
  EXPECT_EQ(pruned.level(1).size(), full.level(1).size());
  EXPECT_LT(pruned_size * 10, full_size * 9);
  const double before = perplexity(full, text, held);
  const double after = perplexity(pruned, text, held);
  EXPECT_LT(before, perplexity(estimate_ngrams(text, {1, {}, 0, 1}), text, held) / 3);
  EXPECT_LT(after, before * 1.05);
  for (std::size_t n = 2; n <= 4; ++n) {
    for (std::size_t i = 0; i < pruned.level(n).size(); ++i) {
      const auto gram = std::span(pruned.level(n).words).subspan(i * n, n);
      ASSERT_NE(pruned.find(gram.first(n - 1)), NgramModel::kNone);
      ASSERT_NE(pruned.find(gram.last(n - 1)), NgramModel::kNone);
    }
  }
}

TEST(NgramEstimator, RefusesWhatMakesNoModel) {
  const NgramText text = text_of({"a"});
  NgramOptions options;
  EXPECT_THROW(estimate_ngrams(NgramText(), options), std::runtime_error);
  options.order = 0;
  EXPECT_THROW(estimate_ngrams(text, options), std::runtime_error);
  options.order = 9;
  EXPECT_THROW(estimate_ngrams(text, options), std::runtime_error);
  options.order = 8;  // longer than any sentence
  EXPECT_EQ(estimate_ngrams(text, options).level(8).size(), 0U);
}

TEST(Arpa, PlainAndCompressedHoldTheSameText) {
  const NgramText text = text_of({"a b a", "a b c"});
  NgramOptions options;
  options.order = 2;
  const NgramModel model = estimate_ngrams(text, options);
  const kora_test::TempFolder folder;
  const auto written = [&](const std::string& name) {
    write_arpa(model, folder.path(name));
    std::string text_of_file;
    LineReader reader(folder.path(name));
    for (std::string_view line; reader.next(line);) {
      text_of_file.append(line).append("\n");
    }
    return text_of_file;
  };
  const std::string plain = written("plain.arpa");
  EXPECT_EQ(plain, kora_test::read_file(folder.path("plain.arpa")));
  EXPECT_EQ(written("small.arpa.gz"), plain);
  EXPECT_EQ(kora_test::read_file(folder.path("small.arpa.gz")).substr(0, 2), "\x1F\x8B");
  EXPECT_TRUE(
      plain.starts_with("\\data\\\nngram 1=6\nngram 2=6\n\n\\1-grams:\n-1\t<unk>\n-99\t<s>\t"))
      << plain;
  EXPECT_NE(plain.find("\n\\2-grams:\n"), std::string::npos);
  EXPECT_NE(plain.find("\tb c\n"), std::string::npos);
  EXPECT_TRUE(plain.ends_with("\n\n\\end\\\n"));
  EXPECT_THROW(write_arpa(model, folder.path("no/folder.arpa")), std::runtime_error);
}

}  // namespace
}  // namespace koralite::toolkit
