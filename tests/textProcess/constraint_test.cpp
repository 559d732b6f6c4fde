#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "decoder/vocab.h"
#include "textProcess/chs_constraint.h"
#include "textProcess/eng_constraint.h"
#include "textProcess/jpa_constraint.h"

namespace koralite::textProcess {
namespace {

using ::testing::ElementsAreArray;

std::vector<int> codes(decoder::Constraint& constraint, decoder::Vocab& vocab,
                       const std::string& text) {
  std::vector<std::int32_t> ids;
  std::istringstream words(text);
  for (std::string word; words >> word;) ids.push_back(vocab.encode(word.c_str()));
  constraint.build(ids);
  return {constraint.codes().begin(), constraint.codes().end()};
}

TEST(Constraint, GivesEachMarkItsCode) {
  struct {
    bool english;
    const char* text;
    std::vector<int> codes;
  } const cases[] = {
      {true, "a b", {0, 0}},
      {true, "\" a b \" c \"", {2, 0, 0, -2, 0, 0}},     // the odd quote has no partner
      {true, "\" \"", {0, 0}},                           // an empty pair
      {true, "( a ( b ) c )", {5, 0, 1, 0, -1, 0, -5}},  // nested
      {true, "( a", {0, 0}},                             // alone
      {true, "a )", {0, 0}},
      {true, "a , b ; c", {0, -1, 0, -1, 0}},  // back to the word after a mark
      {true, "a , ; b", {0, -1, 0, 0}},
      {true, "a : b , c", {0, 0, 0, -1, 0}},  // a colon is a mark, without a code
      {true, ". a b ? c ! d ...", {0, 0, 0, -3, 0, -5, 0, -7}},
      {true, "“ a ”", {0, 0, 0}},  // not the marks of this language
      {false, "“ a ‘ b ’ c ”", {5, 0, 1, 0, -1, 0, -5}},
      {false, "“ a “ b ” c", {0, 0, 1, 0, -1, 0}},
      {false, "a ， b （ c ） 。", {0, -1, 0, 1, 0, -1, -6}},
      {false, "a ： b ； c …", {0, 0, 0, -1, 0, -5}},
      {false, "a …… , \"", {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    decoder::Vocab vocab;
    for (const char* mark : {"\"", "(", ")",  ",",  ":",  ";",  "?",  ".",  "!",  "...", "“", "”",
                             "‘",  "’", "（", "）", "，", "：", "；", "？", "。", "！",  "…"}) {
      vocab.encode(mark);
    }
    std::vector<std::unique_ptr<decoder::Constraint>> kinds;
    if (c.english) {
      kinds.push_back(std::make_unique<EngConstraint>());
    } else {
      kinds.push_back(std::make_unique<ChsConstraint>());
      kinds.push_back(std::make_unique<JpaConstraint>());
    }
    for (const auto& constraint : kinds) {
      constraint->initialize(vocab);
      EXPECT_THAT(codes(*constraint, vocab, c.text), ElementsAreArray(c.codes)) << c.text;
    }
  }
}

TEST(Constraint, AllowsOnlyWhatKeepsTheOrder) {
  struct {
    const char* text;
    std::uint64_t covered;
    decoder::range_t range;
    bool allowed;
  } const cases[] = {
      {"a b .", 0, {2, 2}, false},  // the mark waits for all before it
      {"a b .", 1, {2, 2}, false},
      {"a b .", 3, {2, 2}, true},
      {"a b .", 1, {1, 2}, true},  // unless the phrase brings the rest along
      {"a b .", 0, {1, 1}, true},
      {"( a b ) c", 0, {1, 1}, false},  // nothing inside before the mark that opens
      {"( a b ) c", 1, {2, 2}, true},
      {"( a b ) c", 1, {3, 3}, false},  // what is inside comes before the one that closes
      {"( a b ) c", 7, {3, 3}, true},
      {"( a b ) c", 0, {4, 4}, true},  // what follows may be first
      {"( a b ) c", 0, {0, 3}, true},
      {"a ( b", 0, {2, 2}, true},  // a lone mark constrains nothing
  };
  decoder::Vocab vocab;
  for (const char* mark : {"(", ")", "."}) vocab.encode(mark);
  EngConstraint constraint;
  constraint.initialize(vocab);
  for (const auto& c : cases) {
    codes(constraint, vocab, c.text);
    EXPECT_EQ(constraint.check(c.covered, c.range), c.allowed)
        << c.text << " with " << c.covered << ": " << c.range.start << ".." << c.range.end;
  }
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
