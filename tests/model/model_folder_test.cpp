#include "toolkit/folder/model_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "support/temp_folder.h"
#include "toolkit/folder/direction.h"
#include "toolkit/folder/manifest.h"

namespace {

using namespace koralite;
using namespace koralite::toolkit;
using ::testing::HasSubstr;

class ModelFolder : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& text) const { folder_.write(name, text); }
  std::string error(const std::string& direction = "") const {
    return kora_test::message_of([&] { open_model_folder(path_, direction); });
  }
  kora_test::TempFolder folder_;
  std::string path_ = folder_.path();
};

}  // namespace

TEST(Direction, TableHoldsEveryCodeOnce) {
  std::set<std::string> names;
  for (std::size_t code = 0; code < directions().size(); ++code) {
    const direction_t& direction = directions()[code];
    EXPECT_EQ(direction.code, static_cast<int>(code));
    names.insert(direction.name());
    EXPECT_EQ(find_direction(direction.name())->code, direction.code);
    EXPECT_NE(language_type(direction.source), textProcess::LangType::kNone);
    EXPECT_NE(language_type(direction.target), textProcess::LangType::kNone);
  }
  EXPECT_EQ(names.size(), 34U);
  EXPECT_EQ(find_direction("en-zh")->code, 1);
  EXPECT_EQ(find_direction("ko-zh")->code, 23);
  for (const char* unknown : {"", "en", "EN-ZH", "en_zh", "en-xx"}) {
    EXPECT_FALSE(find_direction(unknown)) << unknown;
  }
  EXPECT_FALSE(find_direction(34));
  EXPECT_FALSE(find_direction(-1));
}

// What is written is read back by the engine's own readers, to the last bit of every weight.
TEST_F(ModelFolder, ConfigurationsComeBackAsWritten) {
  engine_config_t engine;
  engine.direction = *find_direction("zh-en");
  engine.debug = true;
  engine.recase = "recase";
  engine.segment = "segment";
  engine.single_word_split = "0";
  engine.pinyin = "pinyin";
  decoder::Parameter parameter;
  parameter.compress = true;
  parameter.stack_limit = 7;
  parameter.distortion_limit = -1;
  parameter.lang_weight = 0.1F + 0.2F;
  parameter.word_weight = -1.0e-7F;
  parameter.beam_threshold = 3.4e38F;
  parameter.source_vocab = "s";
  parameter.target_vocab = "t";
  parameter.compress_vocab = "q";
  parameter.lang_model = "l";
  parameter.trans_model = "p";
  write("engine.conf", format_engine_config(engine));
  write("decoder.conf", format_decoder_config(parameter));

  const model_folder_t folder = open_model_folder(path_);
  EXPECT_EQ(folder.engine.direction.code, 0);
  EXPECT_TRUE(folder.engine.debug);
  EXPECT_EQ(folder.engine.recase, "recase");
  EXPECT_EQ(folder.engine.entities, "");
  EXPECT_EQ(folder.engine.single_word_split, "0");
  EXPECT_EQ(folder.decoder.lang_weight, parameter.lang_weight);
  EXPECT_EQ(folder.decoder.word_weight, parameter.word_weight);
  EXPECT_EQ(folder.decoder.beam_threshold, parameter.beam_threshold);
  EXPECT_EQ(folder.decoder.distortion_limit, -1);
  EXPECT_THAT(folder.named_files(),
              ::testing::ElementsAre("engine.conf", "decoder.conf", "s", "t", "q", "l", "p",
                                     "p.nodes", "p.data", "recase", "segment", "pinyin"));
}

TEST_F(ModelFolder, ErrorsNameTheFileAndTheRemedy) {
  EXPECT_THAT(error(), HasSubstr("failed to open config [file="));
  write("engine.conf", "[version]\n1.0.0\n\n[decoder]\ndecoder.conf\n");
  EXPECT_THAT(error(), HasSubstr("engine.conf: no section [direction]"));
  EXPECT_THAT(error("xx"), HasSubstr("unknown direction 'xx'; use one of: zh-en en-zh"));
  EXPECT_THAT(error("en-zh"), HasSubstr("decoder.conf: failed to open config"));
  write("decoder.conf", "[stack]\n0\n");
  EXPECT_THAT(error("en-zh"), HasSubstr("illegal stack limit"));
  write("engine.conf", "[direction]\nen-zh\n\n[decoder]\n\n");
  EXPECT_THAT(error(), HasSubstr("no value under [decoder]"));
}

TEST_F(ModelFolder, ManifestFindsEveryChange) {
  write("engine.conf", "[direction]\nen-zh\n\n[decoder]\nd\n\n[rule]\nrules\n");
  write("d", "[source-vocab]\ns\n\n[target-vocab]\nt\n\n[lang-model]\nl\n\n[trans-model]\np\n\n");
  for (const char* name : {"s", "t", "l", "p", "p.nodes", "p.data", "rules"}) {
    write(name, name);
  }
  const model_folder_t folder = open_model_folder(path_);
  write(kManifestName, format_manifest(make_manifest(folder, {{"pairs", "12"}, {"note", ""}})));

  manifest_t manifest = read_manifest(path_);
  EXPECT_EQ(manifest.files.size(), 9U);
  ASSERT_EQ(manifest.built_from.size(), 2U);
  EXPECT_EQ(manifest.built_from[0].second, "12");
  EXPECT_THAT(verify_manifest(folder, manifest), ::testing::IsEmpty());

  const std::string whole = format_manifest(manifest);
  for (std::size_t i = 0; i < whole.size(); i += 5) {
    std::string flipped = whole;
    flipped[i] = static_cast<char>(flipped[i] ^ 1);
    for (const std::string& damaged :
         {flipped, whole.substr(0, i), whole + whole.substr(0, i + 1)}) {
      write(kManifestName, damaged);
      EXPECT_THROW(read_manifest(path_), std::runtime_error) << damaged;
    }
  }
  write(kManifestName, "[manifest]\n1\n\n[files]\n");  // the first version, without a digest
  EXPECT_THAT(read_manifest(path_).files, ::testing::IsEmpty());

  write("l", "m");
  write("p.nodes", "changed");
  std::filesystem::remove(folder_.path("rules"));
  manifest.files.erase(manifest.files.begin());
  EXPECT_THAT(verify_manifest(folder, manifest),
              ::testing::UnorderedElementsAre(HasSubstr("/l: contents differ"),
                                              HasSubstr("p.nodes: contents"), HasSubstr("/rules: "),
                                              HasSubstr("not listed")));
  write("p.nodes", "other");
  EXPECT_THAT(verify_manifest(folder, manifest),
              ::testing::Contains(HasSubstr("p.nodes: 5 bytes")));

  for (const char* broken : {"", "[manifest]\n2\n\n", "[manifest]\n1\n\n[files]\nabc 1 l\n",
                             "[manifest]\n1\n\n[built-from]\nno tab\n"}) {
    write(kManifestName, broken);
    EXPECT_THROW(read_manifest(path_), std::runtime_error) << broken;
  }
}
