// Builds small model files and cuts texts with the library as the engine calls it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "lexicut/lexicut.h"
#include "toolkit/segment/segment_builder.h"

namespace {

using namespace koralite::toolkit;

struct DestroyModel {
  void operator()(lexicut_model* model) const { lexicut_destroy(&model); }
};
struct DestroyOut {
  void operator()(lexicut_out* out) const { lexicut_destroy_out(&out); }
};
using model_ptr = std::unique_ptr<lexicut_model, DestroyModel>;
using out_ptr = std::unique_ptr<lexicut_out, DestroyOut>;

const std::vector<segment_word_t> words = {
    {"研究", 300, "v"},  {"研究生", 60, "n"}, {"生命", 200, "n"},  {"起源", 80, "n"},
    {"的", 5000, "u"},   {"和", 2000, "c"},   {"和服", 20, "n"},   {"服务", 300, "v"},
    {"我们", 900, "r"},  {"在", 3000, "p"},   {"T恤", 10, "n"},    {"王小明", 5, "nr"},
    {"张三丰", 4, "nr"}, {"王芳", 3, "nr"},   {"李大方", 3, "nr"}, {"データ", 50, "n"},
    {"明星", 40, "nr"},  {"大方", 30, "a"},   {"说", 800, "v"},
};
const std::vector<std::string> surnames = {"王", "张", "李", "欧阳"};

class Segmentation : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_folder = std::filesystem::path(::testing::TempDir()) / "kora_segmenter";
    std::filesystem::create_directories(s_folder);
    build_segment_dictionary(path("words"), words, surnames);
    build_segment_names(path("names"), words, surnames);
    build_segment_ambiguous(path("ambiguous"), {"和 服务", "研究 生命"});
  }
  static std::string path(const std::string& name) { return (s_folder / name).string(); }

  static model_ptr load(bool names, bool ambiguous) {
    return model_ptr(lexicut_load_model(path("words").c_str(), names ? path("names").c_str() : "",
                                        ambiguous ? path("ambiguous").c_str() : nullptr, 0));
  }

  // Words separated by "|", names of persons marked by "*" behind them.
  static std::string cut(const lexicut_model* model, const std::string& text) {
    const out_ptr out(lexicut_create_out(static_cast<std::int32_t>(text.size()) + 1));
    if (lexicut_segment_full(model, text.data(), static_cast<std::int32_t>(text.size()), out.get(),
                             LEXICUT_MODE_FULL) == 0) {
      return "failed";
    }
    std::string result;
    std::int32_t next = 0;
    for (std::int32_t i = 0; i < out->count; ++i) {
      EXPECT_EQ(out->offsets[i], next) << "words must cover every byte";
      EXPECT_GT(out->lengths[i], 0);
      next = out->offsets[i] + out->lengths[i];
      if (i > 0) result += '|';
      result += text.substr(static_cast<std::size_t>(out->offsets[i]),
                            static_cast<std::size_t>(out->lengths[i]));
      if ((out->properties[i] & LEXICUT_PROPERTY_NAME) != 0) result += '*';
    }
    EXPECT_EQ(next, static_cast<std::int32_t>(text.size()));
    return result;
  }

  static std::filesystem::path s_folder;
};
std::filesystem::path Segmentation::s_folder;

}  // namespace

TEST_F(Segmentation, CutsTheMostProbableWay) {
  const auto model = load(false, false);
  ASSERT_TRUE(model);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},
      {"研究生命的起源", "研究|生命|的|起源"},
      {"研究生的", "研究生|的"},
      {"我们在研究", "我们|在|研究"},
      {"龘龘", "龘|龘"},
      {"在ab12 cd的", "在|ab12| |cd|的"},
      {"在3.14和10,000.", "在|3.14|和|10,000|."},
      {"don't e-mail a.b", "don't| |e-mail| |a.b"},
      {"T恤T", "T恤|T"},
      {"aT恤", "aT|恤"},  // a word does not begin inside letters
      {"naïve的", "naïve|的"},
      {"データベース", "データベース"},  // an unknown loan word stays whole
      {"データの", "データ|の"},
      {"  ,。", "  |,|。"},
      {"\xE7\xA0研究\xFF", "\xE7|\xA0|研究|\xFF"},
      {"王小明说", "王小明*|说"},
      {"明星说", "明星|说"},  // tagged as a name, but begins with no surname
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(cut(model.get(), text), expected) << text;
}

TEST_F(Segmentation, FindsNamesBySurnameAndGivenName) {
  const auto model = load(true, false);
  ASSERT_TRUE(model);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"李小明说", "李小明*|说"},  // seen in parts only
      {"欧阳小丰说", "欧阳小丰*|说"},
      {"张芳在", "张芳*|在"},
      {"李的", "李|的"},       // a surname alone is no name
      {"李龘龘", "李|龘|龘"},  // characters never seen in names
      {"赵小明", "赵|小|明"},  // no surname of the list
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(cut(model.get(), text), expected) << text;
}

TEST_F(Segmentation, AmbiguousStringsKeepTheirFixedPath) {
  const auto without = load(false, false);
  const auto with = load(false, true);
  EXPECT_EQ(cut(without.get(), "和服务"), "和|服务");
  EXPECT_EQ(cut(with.get(), "和服务的"), "和|服务|的");
  EXPECT_EQ(cut(without.get(), "研究生命的"), "研究|生命|的");
  EXPECT_EQ(cut(with.get(), "研究生命的研究生"), "研究|生命|的|研究生");
  // A fixed path holds even where the words are unknown.
  build_segment_ambiguous(path("odd"), {"起 源的", "命 起"});
  const model_ptr odd(lexicut_load_model(path("words").c_str(), nullptr, path("odd").c_str(), 0));
  EXPECT_EQ(cut(odd.get(), "生命起源的"), "生|命|起|源|的");
  EXPECT_EQ(cut(odd.get(), "起源的"), "起|源的");
}

TEST_F(Segmentation, RefusesWrongArguments) {
  const auto model = load(true, true);
  const out_ptr out(lexicut_create_out(4));
  EXPECT_EQ(lexicut_segment_full(nullptr, "a", 1, out.get(), 29), 0);
  EXPECT_EQ(lexicut_segment_full(model.get(), nullptr, 1, out.get(), 29), 0);
  EXPECT_EQ(lexicut_segment_full(model.get(), "a", -1, out.get(), 29), 0);
  EXPECT_EQ(lexicut_segment_full(model.get(), "a", 1, nullptr, 29), 0);
  EXPECT_EQ(lexicut_segment_full(model.get(), "abcde", 5, out.get(), 29), 0);
  EXPECT_EQ(out->count, 0);
  EXPECT_EQ(lexicut_create_out(0), nullptr);
  EXPECT_EQ(lexicut_load_model(path("nowhere").c_str(), "", "", 0), nullptr);
  EXPECT_EQ(lexicut_load_model(path("names").c_str(), "", "", 0), nullptr);  // of another kind
  EXPECT_EQ(lexicut_load_model(path("words").c_str(), path("words").c_str(), "", 0), nullptr);
  lexicut_model* none = nullptr;
  lexicut_destroy(&none);
  lexicut_destroy(nullptr);
  lexicut_destroy_out(nullptr);
}

// Damaged files are refused or cut the text somehow: every byte covered, nothing read outside.
TEST_F(Segmentation, SurvivesDamagedFiles) {
  const std::string text = "欧阳小丰在研究生命和服务的起源, T恤 3.14 データベース";
  std::mt19937 random(7);
  for (const std::string name : {"words", "names", "ambiguous"}) {
    std::ifstream file(path(name), std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(file)), {});
    for (int round = 0; round < 160; ++round) {
      std::string bytes = whole;
      if (round % 4 == 0) {
        bytes.resize(random() % bytes.size());
      } else {
        // Most of the file is the table of blocks; aim at its ends as well.
        const std::size_t at = round % 4 == 1   ? random() % 24
                               : round % 4 == 2 ? random() % bytes.size()
                                                : bytes.size() - 1 - random() % 400;
        for (std::size_t i = at; i < std::min(at + 4, bytes.size()); ++i) {
          bytes[i] = static_cast<char>(random());
        }
      }
      std::ofstream(path("damaged"), std::ios::binary) << bytes;
      const auto choose = [&](const char* kind) {
        return name == kind ? path("damaged") : path(kind);
      };
      const model_ptr model(lexicut_load_model(choose("words").c_str(), choose("names").c_str(),
                                               choose("ambiguous").c_str(), 0));
      if (!model) continue;
      EXPECT_NE(cut(model.get(), text), "failed");
    }
  }
}

TEST_F(Segmentation, OneModelServesManyThreads) {
  const auto model = load(true, true);
  const std::string text = "欧阳小丰在研究生命和服务的起源";
  const std::string expected = cut(model.get(), text);
  std::vector<std::thread> threads;
  std::vector<int> equal(4, 0);
  for (int& count : equal) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) count += cut(model.get(), text) == expected ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const int count : equal) EXPECT_EQ(count, 200);
}

TEST_F(Segmentation, BuildersRefuseWhatTheyCannotHold) {
  const std::string file = path("list");
  const auto write = [&](const std::string& text) { std::ofstream(file) << text; };
  write("# words\n研究\t300\tv\r\n\n生命 200\n");
  const auto read = read_segment_words(file);
  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0].tag, "v");
  EXPECT_EQ(read[1].count, 200U);
  for (const char* bad : {"研究\n", "研究\tmany\n", "研究\t3x\n", "\t3\n"}) {
    write(bad);
    EXPECT_THROW(read_segment_words(file), std::runtime_error) << bad;
  }
  EXPECT_THROW(build_segment_ambiguous(path("x"), {"和 服务", "和服 务"}), std::runtime_error);
  EXPECT_THROW(build_segment_dictionary(path("x"), {{"\xFF", 1, ""}}, {}), std::runtime_error);
  const auto report =
      build_segment_dictionary(path("x"), {{std::string(33 * 3, 'a'), 1, ""}, {"a", 1, ""}}, {});
  EXPECT_EQ(report.dropped, 1U);
}
