// From words to text through the decoder's public face: what is copied, replaced
// and aligned, long and strange input, and what one decoder costs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "decoder/decoder.h"
#include "decoder/explanation.h"
#include "decoder/unk_translator.h"
#include "support/random_search_model.h"
#include "support/test_model.h"

namespace kora_test {
namespace {

using common::align_t;
using decoder::Decoder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A phrase book; longer phrases score better than the words they hold.
class Output : public ::testing::Test {
 protected:
  Output() {
    model_.parameter.ngram_order = 3;
    model_.parameter.word_weight = 0;
    model_.parameter.lang_weight = 0.1F;
    model_.add("good", "gut", -1);
    model_.add("morning", "Morgen", -1);
    model_.add("good morning", "guten Morgen", -0.5F);
    model_.add("uh", "", -1);
    model_.add("<num>#0 files", "<num>#0 Dateien", -1);
    model_.add("<num>#0 of <num>#0", "<num>#1 davon <num>#0", -1);
    model_.add("odd", "<unk> seltsam", -1);
    for (const auto& pair : model_.pairs) {
      for (const int id : pair.target) {
        model_.grams.push_back({{id}, -1, -0.5F});
      }
    }
    model_.grams.push_back({model_.target_ids("guten Morgen"), -0.25F, 0});
  }

  void load(const decoder::UnkTranslator* unknown = nullptr) {
    shared_ = model_.load();
    decoder_ = std::make_unique<Decoder>(*shared_, nullptr, unknown);
  }

  std::string translate(const std::string& text) {
    TestSentence sentence(text);
    std::string output = "old";
    decoder_->translate(sentence.nodes, output);
    return output;
  }

  TestModel model_;
  std::unique_ptr<decoder::SharedMember> shared_;
  std::unique_ptr<Decoder> decoder_;
};

TEST_F(Output, CopiesDropsAndReplaces) {
  struct {
    const char* source;
    const char* expected;
  } const cases[] = {
      {"", ""},
      {"good morning", "guten Morgen"},
      {"good", "gut"},
      {"good unheard morning", "gut unheard Morgen"},  // the word itself
      {"uh", ""},
      {"good uh morning", "gut Morgen"},  // an empty piece leaves one blank
      {"odd", "<unk> seltsam"},           // a target of several words is printed as it is
  };
  load();
  for (const auto& c : cases) {
    EXPECT_EQ(translate(c.source), c.expected) << c.source;
  }
  const decoder::UnkTranslator copy(true);
  load(&copy);
  EXPECT_EQ(translate("unheard good"), "unheard gut");
  const decoder::UnkTranslator drop(false);
  load(&drop);
  EXPECT_EQ(translate("unheard good"), "gut");
}

TEST_F(Output, PutsFixedTranslationsAtTheirTags) {
  load();
  TestSentence sentence("3 of 5 files Rome");
  auto& nodes = sentence.nodes;
  nodes[0].translation = "drei";
  nodes[2].translation = "fuenf";
  nodes[0].tag = nodes[2].tag = "<num>#0";
  nodes[4].translation = "Rom";  // unknown, with a translation
  nodes[4].tag = "ASC";
  std::string output;
  std::vector<align_t> links;
  decoder_->translate(nodes, output, links);
  EXPECT_EQ(output, "fuenf davon drei files Rom");
  EXPECT_THAT(links,
              ElementsAre(align_t{0, 2, 0, 15}, align_t{3, 3, 17, 21}, align_t{4, 4, 23, 25}));

  TestSentence without("<num>#0 files");  // the tag word itself, with nothing fixed
  EXPECT_THROW(decoder_->translate(without.nodes, output), std::runtime_error);
  EXPECT_EQ(translate("good"), "gut");  // the decoder goes on
}

TEST_F(Output, JoinsChunksOfThirtyTwoWords) {
  load();
  std::string source;
  std::string expected;
  for (int k = 0; k < 1000; ++k) {
    source += k == 32 ? " good" : " x" + std::to_string(k);
    expected += k == 32 ? " gut" : " x" + std::to_string(k);
  }
  EXPECT_EQ(translate(source), expected.substr(1));
  TestSentence sentence(source);
  sentence.nodes.resize(33);
  std::string output;
  std::vector<align_t> links;
  decoder_->translate(sentence.nodes, output, links);
  ASSERT_EQ(links.size(), 33U);
  const auto last = static_cast<std::int32_t>(output.size());
  EXPECT_EQ(links[32], (align_t{32, 32, last - 3, last - 1}));
  std::vector<std::string> outputs;
  std::vector<std::string> scores;
  decoder_->translate(5, sentence.nodes, outputs, scores);
  ASSERT_FALSE(outputs.empty());
  EXPECT_EQ(outputs[0], output);
  EXPECT_EQ(outputs.size(), scores.size());

  // A chunk that comes out empty still brings its blank.
  std::string quiet;
  for (int k = 0; k < 32; ++k) {
    quiet += "good ";
  }
  EXPECT_EQ(translate(quiet + "uh"), translate(quiet) + " ");
}

TEST_F(Output, ListsTheBestFirst) {
  load();
  TestSentence sentence("good morning");
  std::vector<std::string> outputs;
  std::vector<std::string> scores;
  decoder_->translate(2, sentence.nodes, outputs, scores);
  EXPECT_THAT(outputs, ElementsAre("guten Morgen", "gut Morgen"));
  EXPECT_GT(std::stof(scores[0]), std::stof(scores[1]));
  EXPECT_THAT(scores[0], HasSubstr("."));
  decoder_->translate(0, sentence.nodes, outputs, scores);
  EXPECT_TRUE(outputs.empty() && scores.empty());
}

TEST_F(Output, TellsItsTrace) {
  model_.parameter.debug = true;
  load();
  TestSentence sentence("good morning");
  std::string output;
  std::string log;
  ::testing::internal::CaptureStderr();
  decoder_->translate(sentence.nodes, output, &log);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), log);
  for (const char* piece :
       {"translation options:\n[[0..0]] << source phrase:good>> <<target phrase:gut>>",
        "futrue score matrix (", "best translation tracing:\n[id=", "] [previous id=none]\n",
        "[phrase_pair]\t0\t[[0..1]] << source phrase:good morning>>"}) {
    EXPECT_THAT(log, HasSubstr(piece));
  }
}

TEST_F(Output, SurvivesStrangeWeights) {
  const auto weights = {&decoder::Parameter::distortion_weight, &decoder::Parameter::word_weight,
                        &decoder::Parameter::unknown_weight, &decoder::Parameter::lang_weight,
                        &decoder::Parameter::translation_weight};
  for (const auto weight : weights) {
    for (const float value : {NAN, INFINITY, -INFINITY, 1e38F, -1e38F}) {
      const float usual = model_.parameter.*weight;
      model_.parameter.*weight = value;
      load();
      decoder::explanation_t found;
      TestSentence sentence("good morning unheard");
      decoder_->explain(100, sentence.nodes, found);
      for (const auto& derivation : found.derivations) {
        EXPECT_EQ(derivation.steps.front().total, derivation.steps.front().total);
      }
      model_.parameter.*weight = usual;
    }
  }
}

// Limits that would be terabytes if they were reserved.
TEST_F(Output, TakesMemoryByNeed) {
  model_.parameter.stack_limit = 2147483647;
  model_.parameter.translation_limit = 2147483647;
  model_.parameter.distortion_limit = 2147483647;
  load();
  EXPECT_EQ(translate("good morning uh good morning"), "guten Morgen guten Morgen");
  EXPECT_LT(decoder_->search_memory(), std::size_t{4} << 20);
  std::string many;
  for (int k = 0; k < 32; ++k) {
    many += "good ";
  }
  model_.parameter.stack_limit = 100;
  load();
  translate(many);
  const std::size_t memory = decoder_->search_memory();
  for (int k = 0; k < 50; ++k) {
    translate(many);
  }
  EXPECT_EQ(decoder_->search_memory(), memory);
  EXPECT_LT(memory, std::size_t{8} << 20);
  // Each of 2^24 sets of covered words would be kept, and many ways to each.
  model_.parameter.stack_limit = 2147483647;
  model_.parameter.distortion_limit = -1;
  model_.parameter.beam_threshold = 1e30F;
  load();
  translate(many.substr(0, 5 * 24));
  EXPECT_LT(decoder_->search_memory(), std::size_t{128} << 20);
}

// Handles share nothing that changes.
TEST(Threads, TwoDecodersGiveTheBytesOfOne) {
  RandomSearchModel random(7);
  random.model.parameter.stack_limit = 20;
  std::vector<std::vector<std::string>> sentences;
  for (int k = 0; k < 40; ++k) {
    sentences.push_back(random.sentence(12));
  }
  const auto translate_all = [&](decoder::SharedMember& shared) {
    Decoder decoder(shared, nullptr, nullptr);
    std::string all;
    for (const auto& words : sentences) {
      TestSentence sentence(words);
      for (auto& node : sentence.nodes) {
        node.translation = "#";
      }
      std::vector<std::string> outputs;
      std::vector<std::string> scores;
      decoder.translate(20, sentence.nodes, outputs, scores);
      for (std::size_t k = 0; k < outputs.size(); ++k) {
        all += outputs[k] + '=' + scores[k] + '\n';
      }
    }
    return all;
  };
  const auto first = random.model.load();
  const auto second = random.model.load();
  const std::string alone = translate_all(*first);
  std::string here;
  std::string there;
  {
    const std::jthread one([&] { here = translate_all(*first); });
    const std::jthread two([&] { there = translate_all(*second); });
  }
  EXPECT_GT(alone.size(), 1000U);
  EXPECT_EQ(here, alone);
  EXPECT_EQ(there, alone);
}

}  // namespace
}  // namespace kora_test
