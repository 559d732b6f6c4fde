#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "decoder/vocab.h"
#include "textProcess/process_word_seq.h"
#include "textProcess/tokenize_hyphen_ws_processor.h"

namespace koralite::textProcess {
namespace {

// Runs the step over words that stand at 0, 100, 200 and so on; gives "piece@position" each.
std::vector<std::string> split(TokenizeHyphenWsProcessor& step, const std::vector<std::string>& in,
                               const char* tag = nullptr) {
  std::vector<std::string> out;
  for (const bool placed : {false, true}) {
    ProcessWordSeq words(placed);
    for (const std::string& word : in) {
      if (placed) {
        words.positions().push_back(static_cast<std::int32_t>(100 * words.words().size()));
      }
      words.words().push_back({.word = words.store(word), .translation = tag, .tag = tag});
    }
    EXPECT_NE(step.Process(words), 0);
    EXPECT_TRUE(words.consistent());
    EXPECT_TRUE(!placed || out.size() == words.words().size());
    out.resize(words.words().size());
    for (std::size_t i = 0; i < out.size(); ++i) {
      if (placed) {
        EXPECT_EQ(out[i], words.words()[i].word);
        out[i] += "@" + std::to_string(words.positions()[i]);
      } else {
        out[i] = words.words()[i].word;
      }
      EXPECT_EQ(words.words()[i].tag, tag);
      EXPECT_EQ(words.words()[i].translation, tag);
    }
  }
  return out;
}

TEST(TokenizeHyphen, SplitsWhatTheVocabularyDoesNotKnow) {
  using Words = std::vector<std::string>;
  decoder::Vocab vocab;
  vocab.encode("e-mail");
  TokenizeHyphenWsProcessor step(0, nullptr, nullptr);
  EXPECT_EQ(split(step, {"well-known"}), (Words{"well-known@0"}));
  step.SetVocab(&vocab);
  EXPECT_EQ(split(step, {"well-known", "e-mail", "up-to-date"}),
            (Words{"well@0", "known@5", "e-mail@100", "up@200", "to@203", "date@206"}));
  EXPECT_EQ(split(step, {"1-2", "a--b", "-x", "x-", "a-1", "-", "", "x-y--z-w", "\xe4-a"}),
            (Words{"1-2@0", "a--b@100", "-x@200", "x-@300", "a-1@400", "-@500", "@600", "x@700",
                   "y--z@702", "w@707", "\xe4-a@800"}));
  EXPECT_EQ(split(step, {"well-known"}, "ASC"), (Words{"well-known@0"}));
}

}  // namespace
}  // namespace koralite::textProcess
