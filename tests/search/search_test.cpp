#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "decoder/decoder.h"
#include "decoder/explanation.h"
#include "search/reference_search.h"
#include "support/random_search_model.h"
#include "support/test_model.h"
#include "textProcess/eng_constraint.h"

namespace kora_test {

namespace textProcess = koralite::textProcess;
namespace {

using decoder::Decoder;

std::uint32_t bits(float value) {
  return std::bit_cast<std::uint32_t>(value);
}

// Readies the fixed translations of tag words, which stand for themselves.
void fix_tags(TestSentence& sentence) {
  for (auto& node : sentence.nodes) {
    if (node.word[0] == '<') {
      node.translation = "#";
    }
  }
}

std::vector<int> search_ids(const decoder::Vocab& vocab, const TestSentence& sentence) {
  std::vector<int> ids;
  for (const auto& node : sentence.nodes) {
    vocab.find(node.word, ids.emplace_back());
  }
  return ids;
}

void expect_same_options(const decoder::explanation_t& found, const ReferenceSearch& reference) {
  std::size_t at = 0;
  for (int i = 0; i < found.size; ++i) {
    for (int j = i; j < found.size; ++j) {
      for (const ReferenceOption& option : reference.cell(i, j)) {
        ASSERT_LT(at, found.options.size());
        const auto& got = found.options[at++];
        ASSERT_EQ(std::pair(got.start, got.end), std::pair(i, j));
        EXPECT_EQ(got.ids, option.words);
        EXPECT_EQ(bits(got.score), bits(option.score));
        EXPECT_EQ(bits(got.future), bits(option.future));
      }
      EXPECT_EQ(bits(found.future[static_cast<std::size_t>(i * found.size + j)]),
                bits(reference.future(i, j)));
    }
  }
  EXPECT_EQ(at, found.options.size());
}

void expect_same_derivation(const decoder::explanation_t& found,
                            const decoder::derivation_t& derivation,
                            const ReferenceHypothesis& best) {
  EXPECT_EQ(bits(derivation.score), bits(best.score));
  EXPECT_EQ(bits(derivation.total), bits(best.total));
  const ReferenceHypothesis* at = &best;
  for (auto step = derivation.steps.rbegin(); step != derivation.steps.rend(); ++step) {
    ASSERT_NE(at->option, nullptr);
    const auto& option = found.options[step->option];
    EXPECT_EQ(std::pair(option.start, option.end), std::pair(at->option->start, at->option->end));
    EXPECT_EQ(option.ids, at->option->words);
    EXPECT_EQ(bits(step->future), bits(at->future));
    if (step != derivation.steps.rbegin()) {
      EXPECT_EQ(bits(step->score), bits(at->score));
    }
    at = at->previous.get();
  }
  EXPECT_EQ(at->option, nullptr);
}

// One sentence both ways: options, matrix, and the whole n-best list.
std::size_t compare(Decoder& search, ReferenceSearch& reference, const decoder::Vocab& source,
                    TestSentence& sentence) {
  fix_tags(sentence);
  decoder::explanation_t found;
  search.explain(1U << 30, sentence.nodes, found);
  const auto expected = reference.run(search_ids(source, sentence));
  expect_same_options(found, reference);
  EXPECT_EQ(found.derivations.size(), expected.size());
  if (found.derivations.size() != expected.size()) {
    return 0;
  }
  for (std::size_t k = 0; k < expected.size(); ++k) {
    expect_same_derivation(found, found.derivations[k], *expected[k]);
  }
  std::string best;
  search.translate(sentence.nodes, best);
  EXPECT_EQ(best, expected.empty() ? "" : found.derivations[0].text);
  return expected.size();
}

TEST(Search, GivesWhatTheRulesGive) {
  std::uint64_t considered = 0;
  std::uint64_t scored = 0;
  std::uint64_t kept = 0;
  std::uint64_t complete = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    RandomSearchModel random(seed);
    const auto budget = seed % 3 == 0 ? std::optional<long>(seed % 200) : std::nullopt;
    const auto shared = random.model.load(budget);
    textProcess::EngConstraint constraint;
    decoder::Constraint* used = seed % 2 == 0 ? &constraint : nullptr;
    Decoder search(*shared, used, nullptr);
    ReferenceSearch reference(*shared, used);
    for (int k = 0; k < 12; ++k) {
      TestSentence sentence(random.sentence(k % 4 == 3 ? 12 : 6));
      complete += compare(search, reference, random.model.source, sentence);
      if (::testing::Test::HasFailure()) {
        FAIL() << "seed " << seed << ", sentence " << k;
      }
    }
    considered += search.counts().considered;
    scored += search.counts().scored;
    kept += search.counts().kept;
  }
  // The models were worth searching: much was refused, with and without bounds.
  EXPECT_GT(considered, 1000000U);
  EXPECT_LT(scored, considered * 3 / 4);
  EXPECT_LT(kept, scored * 3 / 4);
  EXPECT_GT(complete, 20000U);
}

// On tiny sentences nothing is pruned, so the best of all derivations must be
// found. Their scores are summed here from whole sentences, in no special order.
class Exhaustive {
 public:
  Exhaustive(const decoder::SharedMember& shared, const decoder::explanation_t& found)
      : parameter_(*shared.parameter), lang_model_(*shared.lang_model), found_(found) {
    shared.target_vocab->find("<s>", bos_);
    shared.target_vocab->find("</s>", eos_);
  }

  double best() {
    try_all(0, {});
    return best_;
  }

 private:
  void try_all(unsigned coverage, std::vector<const decoder::explained_option_t*> chain) {
    if (coverage + 1 == 1U << found_.size) {
      best_ = std::max(best_, score(chain));
    }
    for (const auto& option : found_.options) {
      const unsigned span = ((2U << option.end) - 1) & ~((1U << option.start) - 1);
      if ((coverage & span) != 0) {
        continue;
      }
      chain.push_back(&option);
      try_all(coverage | span, chain);
      chain.pop_back();
    }
  }

  double score(const std::vector<const decoder::explained_option_t*>& chain) const {
    double result = 0;
    std::vector<int> words = {bos_};
    const decoder::explained_option_t* before = nullptr;
    for (const auto* option : chain) {
      words.insert(words.end(), option->ids.begin(), option->ids.end());
      // Nothing but the language model differs between an option's estimate and its score.
      float complete = 0;
      float total = 0;
      lang_model_.compute_phrase_score(option->ids, complete, total);
      result += option->score - complete * parameter_.lang_weight;
      const int last = before == nullptr ? -1 : before->end;
      const std::size_t kind = option->start == last + 1                               ? 0
                               : before != nullptr && before->start == option->end + 1 ? 1
                                                                                       : 2;
      const int jump = std::abs(option->start - last - 1);
      result -= static_cast<float>(jump) * parameter_.distortion_weight;
      result += option->reorder[kind] * parameter_.reordering_weight;
      if (before != nullptr) {
        result += before->reorder[3 + kind] * parameter_.reordering_weight;
      }
      before = option;
    }
    words.push_back(eos_);
    const auto order = static_cast<std::size_t>(lang_model_.order());
    for (std::size_t end = 2; end <= words.size(); ++end) {
      const std::size_t length = std::min(end, order);
      result += lang_model_.compute_ngram_score(std::span(words).subspan(end - length, length)) *
                parameter_.lang_weight;
    }
    return result;
  }

  const decoder::Parameter& parameter_;
  const decoder::CompactLmModel& lang_model_;
  const decoder::explanation_t& found_;
  int bos_ = 0;
  int eos_ = 0;
  double best_ = -1e30;
};

TEST(Search, FindsTheBestOfAllDerivations) {
  for (unsigned seed = 1000; seed < 1040; ++seed) {
    RandomSearchModel random(seed);
    auto& p = random.model.parameter;
    p.prune = true;  // so that options carry the model's own language scores
    p.compress = p.combine = false;
    p.stack_limit = 2147483647;
    p.translation_limit = 3;
    p.distortion_limit = -1;
    p.ngram_order = 2 + static_cast<int>(seed % 3);
    p.beam_threshold = 1e30F;
    p.lang_weight = 0.5F;
    p.word_weight = -0.3F;
    const auto shared = random.model.load();
    Decoder search(*shared, nullptr, nullptr);
    for (int k = 0; k < 5; ++k) {
      TestSentence sentence(random.sentence(4));
      fix_tags(sentence);
      decoder::explanation_t found;
      search.explain(1, sentence.nodes, found);
      ASSERT_EQ(found.derivations.size(), 1U);
      const double best = Exhaustive(*shared, found).best();
      EXPECT_NEAR(found.derivations[0].score, best, std::abs(best) * 1e-5) << seed;
    }
  }
}

}  // namespace
}  // namespace kora_test
