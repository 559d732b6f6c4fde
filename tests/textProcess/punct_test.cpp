#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "textProcess/punct_processors.h"

namespace koralite::textProcess {
namespace {

using common::align_t;

struct Case {
  LangType source;
  LangType target;
  std::vector<std::string> words;
  std::string decoded;             // the decoder's output
  std::size_t kept;                // words that it is given
  std::string output;              // with the marks back
  std::vector<align_t> alignment;  // from the one link of the decoder
};

TEST(Punctuation, TakenOffAndPutBack) {
  constexpr LangType kZh = LangType::kChinese;
  constexpr LangType kEn = LangType::kEnglish;
  constexpr LangType kJa = LangType::kJapanese;
  const std::vector<Case> cases = {
      {kZh, kEn, {"你", "好", "。"}, "hello.", 2, "hello.", {{0, 1, 0, 4}, {2, 2, 5, 5}}},
      {kZh,
       kEn,
       {"你", "好", "…", "！"},
       "hello",
       2,
       "hello...!",
       {{0, 1, 0, 4}, {2, 2, 5, 7}, {3, 3, 8, 8}}},
      {kZh, kEn, {"他", "。"}, "with mr.", 1, "with mr..", {{0, 1, 0, 7}, {1, 1, 8, 8}}},
      {kZh, kEn, {"他", "。"}, "with Mr.", 1, "with Mr.", {{0, 1, 0, 6}, {1, 1, 7, 7}}},
      {kZh, kEn, {"他", "。"}, "why?", 1, "why?.", {{0, 1, 0, 3}, {1, 1, 4, 4}}},
      {kZh, kEn, {"他", "。"}, "so,", 1, "so.", {{0, 1, 0, 1}, {1, 1, 2, 2}}},
      // The decoder's output was the mark alone: its link goes.
      {kZh, kEn, {"他", "。"}, "!", 1, ".", {{1, 1, 0, 0}}},
      {kZh, kEn, {"。", "！"}, "", 0, ".!", {{0, 0, 0, 0}, {1, 1, 1, 1}}},
      {kEn, kZh, {"why", "?"}, "为何。", 2, "为何。", {{0, 1, 0, 8}}},
      {kEn, kZh, {"yes", "..."}, "是。", 1, "是…", {{0, 1, 0, 2}, {1, 1, 3, 5}}},
      {kEn, kZh, {"yes", "."}, "x", 1, "x。", {{0, 1, 0, 0}, {1, 1, 1, 3}}},
      {kZh, kJa, {"好", "”"}, "良い」", 1, "良い」", {{0, 1, 0, 5}, {1, 1, 6, 8}}},
      {kZh, LangType::kThai, {"好", "。"}, "ดี。", 1, "ดี。", {{0, 1, 0, 8}}},
      {kEn, kJa, {"x", "."}, "x。", 2, "x。", {{0, 1, 0, 3}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.words.front() + " " + c.decoded);
    std::map<std::string, std::string> map;
    PunctTruncateProcessor::GetTruncateMap(c.source, c.target, map);
    std::set<std::string> set = {"left over"};
    PunctAppendProcessor::GetPunctSet(c.target, set);

    ProcessWordSeq words(true);
    ProcessWordSeq removed(false);
    for (const std::string& word : c.words) {
      words.positions().push_back(static_cast<std::int32_t>(10 * words.words().size()));
      words.words().push_back({.word = words.store(word), .translation = nullptr, .tag = nullptr});
    }
    ASSERT_TRUE(PunctTruncateProcessor::DoTruncatePunct(words, removed, map));
    EXPECT_EQ(words.words().size(), c.kept);
    EXPECT_TRUE(words.consistent() && removed.consistent());
    EXPECT_EQ(removed.words().size(), c.words.size() - c.kept);

    std::string output = c.decoded;
    std::vector<align_t> alignment;
    if (!output.empty()) alignment = {{0, 1, 0, static_cast<std::int32_t>(output.size()) - 1}};
    PunctAppendProcessor::DoAppendPunct(words, removed, output, alignment, set);
    EXPECT_EQ(output, c.output);
    EXPECT_EQ(alignment, c.alignment);
    ASSERT_EQ(words.words().size(), c.words.size());
    for (std::size_t i = 0; i < c.words.size(); ++i) {
      EXPECT_EQ(words.words()[i].word, c.words[i]);
      EXPECT_EQ(words.words()[i].translation, nullptr);
      EXPECT_EQ(words.positions()[i], static_cast<std::int32_t>(10 * i));
    }
  }
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
