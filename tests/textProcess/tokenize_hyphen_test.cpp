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
std::string split(TokenizeHyphenWsProcessor& step, const std::vector<std::string>& in,
                  const char* tag = nullptr) {
  ProcessWordSeq plain(false);
  ProcessWordSeq placed(true);
  for (const std::string& word : in) {
    placed.positions().push_back(static_cast<std::int32_t>(100 * placed.words().size()));
    for (ProcessWordSeq* words : {&plain, &placed}) {
      words->words().push_back({.word = words->store(word), .translation = tag, .tag = tag});
    }
  }
  EXPECT_TRUE(step.Process(plain) != 0 && step.Process(placed) != 0 && placed.consistent());
  EXPECT_EQ(plain.words().size(), placed.words().size());
  std::string out;
  for (std::size_t i = 0; i < placed.words().size(); ++i) {
    const auto& node = placed.words()[i];
    EXPECT_STREQ(node.word, plain.words().at(i).word);
    EXPECT_TRUE(node.tag == tag && node.translation == tag);
    out +=
        (i == 0 ? "" : " ") + std::string(node.word) + "@" + std::to_string(placed.positions()[i]);
  }
  return out;
}

TEST(TokenizeHyphen, SplitsWhatTheVocabularyDoesNotKnow) {
  decoder::Vocab vocab;
  vocab.encode("e-mail");
  TokenizeHyphenWsProcessor step(0, nullptr, nullptr);
  EXPECT_EQ(split(step, {"well-known"}), "well-known@0");
  step.SetVocab(&vocab);
  EXPECT_EQ(split(step, {"well-known", "e-mail", "up-to-date"}),
            "well@0 known@5 e-mail@100 up@200 to@203 date@206");
  EXPECT_EQ(split(step, {"1-2", "a--b", "-x", "x-", "a-1", "-", "", "x-y--z-w", "\xe4-a"}),
            "1-2@0 a--b@100 -x@200 x-@300 a-1@400 -@500 @600 x@700 y--z@702 w@707 \xe4-a@800");
  EXPECT_EQ(split(step, {"well-known"}, "ASC"), "well-known@0");
}

}  // namespace
}  // namespace koralite::textProcess
