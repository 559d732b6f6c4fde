#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "decoder/vocab.h"
#include "support/cases.h"
#include "textProcess/chs_constraint.h"
#include "textProcess/eng_constraint.h"
#include "textProcess/jpa_constraint.h"

namespace koralite::textProcess {
namespace {

using kora_test::Case;
using kora_test::for_cases;

std::vector<int> codes(decoder::Constraint& constraint, decoder::Vocab& vocab,
                       const std::string& text) {
  std::vector<std::int32_t> ids;
  for (const std::string& word : Case{{}, {text}}.words(0)) {
    ids.push_back(vocab.encode(word.c_str()));
  }
  constraint.build(ids);
  return {constraint.codes().begin(), constraint.codes().end()};
}

TEST(Constraint, GivesEachMarkItsCode) {
  for_cases("words.txt", "constraint codes", [](const Case& c) {
    decoder::Vocab vocab;
    for (const char* mark : {"\"", "(", ")",  ",",  ":",  ";",  "?",  ".",  "!",  "...", "“", "”",
                             "‘",  "’", "（", "）", "，", "：", "；", "？", "。", "！",  "…"}) {
      vocab.encode(mark);
    }
    std::vector<std::unique_ptr<decoder::Constraint>> kinds;
    if (c[0] == "eng") {
      kinds.push_back(std::make_unique<EngConstraint>());
    } else {
      kinds.push_back(std::make_unique<ChsConstraint>());
      kinds.push_back(std::make_unique<JpaConstraint>());
    }
    for (const auto& constraint : kinds) {
      constraint->initialize(vocab);
      EXPECT_EQ(codes(*constraint, vocab, c[1]), c.numbers(2));
    }
  });
}

TEST(Constraint, AllowsOnlyWhatKeepsTheOrder) {
  decoder::Vocab vocab;
  for (const char* mark : {"(", ")", "."}) {
    vocab.encode(mark);
  }
  EngConstraint constraint;
  constraint.initialize(vocab);
  for_cases("words.txt", "constraint checks", [&](const Case& c) {
    codes(constraint, vocab, c[0]);
    const std::vector<int> range = c.numbers(2);
    EXPECT_EQ(constraint.check(c.size(1), {range.at(0), range.at(1)}), c.yes(3));
  });
}

TEST(Constraint, HandlesWordsItDoesNotKnowAndRefusesTooMany) {
  decoder::Vocab vocab;  // holds no mark: the unknown word must not become one
  EngConstraint constraint;
  constraint.initialize(vocab);
  constraint.build(std::vector<std::int32_t>{256, 256, -1, 1000000, 3});
  EXPECT_THAT(constraint.codes(), ::testing::Each(0));
  constraint.build(std::vector<std::int32_t>(64, 256));
  EXPECT_TRUE(constraint.check(0, {63, 63}));
  EXPECT_THROW(constraint.build(std::vector<std::int32_t>(65, 256)), std::runtime_error);
}

}  // namespace
}  // namespace koralite::textProcess
