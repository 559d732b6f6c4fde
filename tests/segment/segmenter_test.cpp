// Builds small model files and cuts texts with the library as the engine calls it.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "lexicut/lexicut.h"
#include "support/cases.h"
#include "support/temp_folder.h"
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

const std::vector<segment_word_t> kWords = {
    {"研究", 300, "v"},  {"研究生", 60, "n"}, {"生命", 200, "n"},  {"起源", 80, "n"},
    {"的", 5000, "u"},   {"和", 2000, "c"},   {"和服", 20, "n"},   {"服务", 300, "v"},
    {"我们", 900, "r"},  {"在", 3000, "p"},   {"T恤", 10, "n"},    {"王小明", 5, "nr"},
    {"张三丰", 4, "nr"}, {"王芳", 3, "nr"},   {"李大方", 3, "nr"}, {"データ", 50, "n"},
    {"明星", 40, "nr"},  {"大方", 30, "a"},   {"说", 800, "v"},
};
const std::vector<std::string> kSurnames = {"王", "张", "李", "欧阳"};

class Segmentation : public ::testing::Test {
 protected:
  static void TearDownTestSuite() { s_folder.reset(); }
  static void SetUpTestSuite() {
    s_folder = std::make_unique<kora_test::TempFolder>();
    build_segment_dictionary(path("words"), kWords, kSurnames);
    build_segment_names(path("names"), kWords, kSurnames);
    build_segment_ambiguous(path("ambiguous"), {"和 服务", "研究 生命"});
  }
  static std::string path(const std::string& name) { return s_folder->path(name); }

  static model_ptr load(bool names, bool ambiguous) {
    return model_ptr(lexicut_load_model(path("words").c_str(), names ? path("names").c_str() : "",
                                        ambiguous ? path("ambiguous").c_str() : nullptr, 0));
  }

  // Words separated by "/", names of persons marked by "*" behind them.
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
      if (i > 0) {
        result += '/';
      }
      result += text.substr(static_cast<std::size_t>(out->offsets[i]),
                            static_cast<std::size_t>(out->lengths[i]));
      if ((out->properties[i] & LEXICUT_PROPERTY_NAME) != 0) {
        result += '*';
      }
    }
    EXPECT_EQ(next, static_cast<std::int32_t>(text.size()));
    return result;
  }

  static std::unique_ptr<kora_test::TempFolder> s_folder;
};
std::unique_ptr<kora_test::TempFolder> Segmentation::s_folder;

}  // namespace

TEST_F(Segmentation, CutsTheMostProbableWay) {
  const auto model = load(false, false);
  ASSERT_TRUE(model);
  kora_test::for_cases("cases.txt", "words",
                       [&](const kora_test::Case& c) { EXPECT_EQ(cut(model.get(), c[0]), c[1]); });
  const auto with_names = load(true, false);
  ASSERT_TRUE(with_names);
  kora_test::for_cases("cases.txt", "names", [&](const kora_test::Case& c) {
    EXPECT_EQ(cut(with_names.get(), c[0]), c[1]);
  });
}

TEST_F(Segmentation, AmbiguousStringsKeepTheirFixedPath) {
  const auto without = load(false, false);
  const auto with = load(false, true);
  EXPECT_EQ(cut(without.get(), "和服务"), "和/服务");
  EXPECT_EQ(cut(with.get(), "和服务的"), "和/服务/的");
  EXPECT_EQ(cut(without.get(), "研究生命的"), "研究/生命/的");
  EXPECT_EQ(cut(with.get(), "研究生命的研究生"), "研究/生命/的/研究生");
  // A fixed path holds even where the words are unknown.
  build_segment_ambiguous(path("odd"), {"起 源的", "命 起"});
  const model_ptr odd(lexicut_load_model(path("words").c_str(), nullptr, path("odd").c_str(), 0));
  EXPECT_EQ(cut(odd.get(), "生命起源的"), "生/命/起/源/的");
  EXPECT_EQ(cut(odd.get(), "起源的"), "起/源的");
}

TEST_F(Segmentation, FilesInMemoryCutTheSameWay) {
  const std::string files[] = {kora_test::read_file(path("words")),
                               kora_test::read_file(path("names")),
                               kora_test::read_file(path("ambiguous"))};
  const auto bytes = [&](std::size_t i, std::size_t size) {
    return lexicut_bytes{files[i].data(), size};
  };
  const lexicut_bytes words = bytes(0, files[0].size());
  const lexicut_bytes names = bytes(1, files[1].size());
  const lexicut_bytes ambiguous = bytes(2, files[2].size());
  const auto from_folder = load(true, true);
  const model_ptr from_memory(lexicut_load_memory(&words, &names, &ambiguous, 0));
  const model_ptr words_alone(lexicut_load_memory(&words, nullptr, nullptr, 0));
  ASSERT_TRUE(from_memory && words_alone);
  for (const char* section : {"words", "names"}) {
    kora_test::for_cases("cases.txt", section, [&](const kora_test::Case& c) {
      EXPECT_EQ(cut(from_memory.get(), c[0]), cut(from_folder.get(), c[0]));
      EXPECT_EQ(cut(words_alone.get(), c[0]), cut(load(false, false).get(), c[0]));
    });
  }
  EXPECT_EQ(lexicut_load_memory(nullptr, nullptr, nullptr, 0), nullptr);
  EXPECT_EQ(lexicut_load_memory(&names, nullptr, nullptr, 0), nullptr);  // of another kind
  for (std::size_t size = 0; size < files[0].size(); size += 1 + files[0].size() / 20) {
    const lexicut_bytes cut_short = bytes(0, size);
    EXPECT_EQ(lexicut_load_memory(&cut_short, nullptr, nullptr, 0), nullptr) << size;
  }
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
    const std::string whole = kora_test::read_file(path(name));
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
      s_folder->write("damaged", bytes);
      const auto choose = [&](const char* kind) {
        return name == kind ? path("damaged") : path(kind);
      };
      const model_ptr model(lexicut_load_model(choose("words").c_str(), choose("names").c_str(),
                                               choose("ambiguous").c_str(), 0));
      if (!model) {
        continue;
      }
      EXPECT_NE(cut(model.get(), text), "failed");
    }
  }
}

TEST_F(Segmentation, OneModelServesManyThreads) {
  const auto model = load(true, true);
  const std::string text = "欧阳小丰在研究生命和服务的起源";
  const std::string expected = cut(model.get(), text);
  std::vector<std::jthread> threads;
  std::vector<int> equal(4, 0);
  for (int& count : equal) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        count += cut(model.get(), text) == expected ? 1 : 0;
      }
    });
  }
  threads.clear();  // joins
  for (const int count : equal) {
    EXPECT_EQ(count, 200);
  }
}

TEST_F(Segmentation, BuildersRefuseWhatTheyCannotHold) {
  const auto read =
      read_segment_words(s_folder->write("list", "# words\n研究\t300\tv\r\n\n生命 200\n"));
  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0].tag, "v");
  EXPECT_EQ(read[1].count, 200U);
  for (const char* bad : {"研究\n", "研究\tmany\n", "研究\t3x\n", "\t3\n"}) {
    EXPECT_THROW(read_segment_words(s_folder->write("list", bad)), std::runtime_error) << bad;
  }
  EXPECT_THROW(build_segment_ambiguous(path("x"), {"和 服务", "和服 务"}), std::runtime_error);
  EXPECT_THROW(build_segment_dictionary(path("x"), {{"\xFF", 1, ""}}, {}), std::runtime_error);
  const auto report =
      build_segment_dictionary(path("x"), {{std::string(33 * 3, 'a'), 1, ""}, {"a", 1, ""}}, {});
  EXPECT_EQ(report.dropped, 1U);
}
