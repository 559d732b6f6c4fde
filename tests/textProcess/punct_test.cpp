#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/cases.h"
#include "textProcess/punct_processors.h"

namespace koralite::textProcess {
namespace {

using common::align_t;

TEST(Punctuation, TakenOffAndPutBack) {
  kora_test::for_cases("words.txt", "punctuation", [](const kora_test::Case& c) {
    const std::vector<std::string> given = c.words(2);
    std::map<std::string, std::string> map;
    PunctTruncateProcessor::GetTruncateMap(LangType{c.number(0)}, LangType{c.number(1)}, map);
    std::set<std::string> set = {"left over"};
    PunctAppendProcessor::GetPunctSet(LangType{c.number(1)}, set);

    ProcessWordSeq words(true);
    ProcessWordSeq removed(false);
    for (const std::string& word : given) {
      words.positions().push_back(static_cast<std::int32_t>(10 * words.words().size()));
      words.words().push_back({.word = words.store(word), .translation = nullptr, .tag = nullptr});
    }
    ASSERT_TRUE(PunctTruncateProcessor::DoTruncatePunct(words, removed, map));
    EXPECT_EQ(words.words().size(), c.size(4));
    EXPECT_TRUE(words.consistent() && removed.consistent());
    EXPECT_EQ(removed.words().size(), given.size() - c.size(4));

    std::string output = c[3];
    std::vector<align_t> alignment;
    if (!output.empty()) {
      alignment = {{0, 1, 0, static_cast<std::int32_t>(output.size()) - 1}};
    }
    PunctAppendProcessor::DoAppendPunct(words, removed, output, alignment, set);
    EXPECT_EQ(output, c[5]);
    std::vector<int> links;
    for (const align_t& link : alignment) {
      links.insert(links.end(),
                   {link.source_first, link.source_last, link.target_first, link.target_last});
    }
    EXPECT_EQ(links, c.numbers(6));
    ASSERT_EQ(words.words().size(), given.size());
    for (std::size_t i = 0; i < given.size(); ++i) {
      EXPECT_EQ(words.words()[i].word, given[i]);
      EXPECT_EQ(words.words()[i].translation, nullptr);
      EXPECT_EQ(words.positions()[i], static_cast<std::int32_t>(10 * i));
    }
  });
}

TEST(Punctuation, DeletionWithoutLinksMendsNothing) {
  std::string output = "done.";
  std::vector<align_t> alignment;
  PunctAppendProcessor::DelSentEndPuncts_eng(output, alignment);
  EXPECT_EQ(output, "done");
  PunctAppendProcessor::DelSentEndPuncts(output, alignment, {"one"});
  EXPECT_EQ(output, "d");
  EXPECT_TRUE(alignment.empty());
}

TEST(Punctuation, TruncateMapKeepsWhatItHolds) {
  std::map<std::string, std::string> map = {{".", "mine"}};
  PunctTruncateProcessor::GetTruncateMap(LangType::kEnglish, LangType::kChinese, map);
  EXPECT_EQ(map["."], "mine");
  EXPECT_EQ(map.size(), 7U);
}

TEST(Punctuation, RefusesPositionsThatDoNotMatch) {
  ProcessWordSeq words(true);
  ProcessWordSeq removed(true);
  words.words().push_back({.word = words.store("."), .translation = nullptr, .tag = nullptr});
  EXPECT_FALSE(PunctTruncateProcessor::DoTruncatePunct(words, removed, {{".", "。"}}));
  EXPECT_EQ(words.words().size(), 1U);
}

}  // namespace
}  // namespace koralite::textProcess
