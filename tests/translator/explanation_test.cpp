// kora_c_explain: what its JSON says of a text agrees with the text and with the other calls.
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kora/kora_c.h"
#include "support/small_model.h"
#include "support/temp_folder.h"

namespace kora_test {
namespace {

using nlohmann::json;

class Explain : public testing::Test {
 protected:
  Explain() {
    write_small_model(folder_.path());
    const std::string path = folder_.path();
    EXPECT_EQ(kora_c_open(1, nullptr, 0, path.data(), path.size(), 0, &translator_, nullptr),
              KORA_C_OK);
  }
  ~Explain() override { kora_c_close(translator_); }

  json explain(const std::string& text, std::uint32_t n) {
    char* output = nullptr;
    std::size_t length = 0;
    EXPECT_EQ(kora_c_explain(translator_, text.data(), text.size(), n, &output, &length),
              KORA_C_OK);
    const std::string result(output, length);
    EXPECT_EQ(output[length], '\0');
    kora_c_free(output);
    return json::parse(result);
  }

  static std::string part(const std::string& text, const json& range) {
    const auto begin = range[0].get<std::size_t>();
    const auto end = range[1].get<std::size_t>();
    EXPECT_LE(begin, end);
    EXPECT_LE(end, text.size());
    return text.substr(begin, end - begin);
  }

  TempFolder folder_;
  kora_c_translator* translator_ = nullptr;
};

TEST_F(Explain, SentencesPhrasesAndAlternatives) {
  const std::string text = "hello world.  the cat sat!\n\ngood  \"morning\"";
  const json sentences = explain(text, 3)["sentences"];
  ASSERT_EQ(sentences.size(), 3U);
  EXPECT_EQ(part(text, sentences[0]["source"]), "hello world.");
  EXPECT_EQ(part(text, sentences[2]["source"]), "good  \"morning\"");
  const json& phrases = sentences[1]["phrases"];
  std::vector<std::string> sources;
  for (const json& phrase : phrases) {
    sources.push_back(part(text, phrase["source"]));
  }
  EXPECT_EQ(sources, (std::vector<std::string>{"the", "cat sat"}));
  EXPECT_EQ(phrases[1]["alternatives"][0]["text"], "猫坐着");
  for (const json& sentence : sentences) {
    ASSERT_FALSE(sentence["translations"].empty());
    ASSERT_FALSE(sentence["phrases"].empty());
    const std::string alone = part(text, sentence["source"]);
    char* texts = nullptr;
    std::size_t* ends = nullptr;
    float* scores = nullptr;
    std::size_t count = 0;
    ASSERT_EQ(kora_c_translate_nbest(translator_, alone.data(), alone.size(), 3, &texts, &ends,
                                     &scores, &count),
              KORA_C_OK);
    EXPECT_EQ(sentence["translations"].size(), count);
    EXPECT_EQ(sentence["translations"][0]["text"], texts);
    EXPECT_FLOAT_EQ(sentence["translations"][0]["score"].get<float>(), scores[0]);
    kora_c_free(texts);
    kora_c_free(ends);
    kora_c_free(scores);
  }
}

TEST_F(Explain, LongAndStrangeTexts) {
  std::string longer;
  for (int i = 0; i < 70; ++i) {
    longer += "cat ";
  }
  const json sentences = explain(longer, 2)["sentences"];
  ASSERT_EQ(sentences.size(), 1U);
  std::size_t last = 0;
  for (const json& phrase : sentences[0]["phrases"]) {
    EXPECT_EQ(part(longer, phrase["source"]).substr(0, 3), "cat");
    last = std::max(last, phrase["source"][1].get<std::size_t>());
  }
  EXPECT_EQ(last, longer.size() - 1);
  EXPECT_TRUE(explain("", 5)["sentences"].empty());
  EXPECT_TRUE(explain("hello", 0)["sentences"][0]["translations"].empty());
  explain(std::string("\0\0\n\x01<\"\\> &amp; {0}", 19), 2);
  explain("<name>#1 12 %s", 4);
}

TEST_F(Explain, RefusesBadArguments) {
  char* output = nullptr;
  std::size_t length = 0;
  EXPECT_EQ(kora_c_explain(nullptr, "a", 1, 1, &output, &length), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_explain(translator_, nullptr, 1, 1, &output, &length), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_explain(translator_, "a", 1, 1, nullptr, &length), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(output, nullptr);
}

}  // namespace
}  // namespace kora_test
