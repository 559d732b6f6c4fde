// The seven functions in every order, the C face, and models with damage, through
// the public headers alone. The model is the small one of tests/support.
#include "kora/kora.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>
#include <tuple>

#include "kora/kora_c.h"
#include "support/small_model.h"
#include "support/temp_folder.h"
#include "translator/trans_impl.h"

namespace kora_test {
namespace {

namespace fs = std::filesystem;

class Kora : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    model_ = new TempFolder;
    write_small_model(model_->path());
  }
  static void TearDownTestSuite() {
    delete model_;
    model_ = nullptr;
  }
  void SetUp() override { kora_finalize(); }
  void TearDown() override { kora_finalize(); }

  static std::string folder() { return model_->path(); }
  static std::string conf() { return model_->path("engine.conf"); }

  static TempFolder* model_;
};
TempFolder* Kora::model_ = nullptr;

constexpr const char* kText =
    "hello world. the cat sat!\n\ngood morning\nxyzzy \xF0\x9F\x98\x80 \xFF hello";

TEST_F(Kora, InitializesByTheRules) {
  const TempFolder other;
  const std::string missing = other.path("none");
  struct case_t {
    const char* what;
    int direct;
    std::string lines;  // of the configuration; "-" for none
    bool null_conf, null_folder;
    int result;
    int source_type;
  };
  const case_t cases[] = {
      {"fine", 1, "[version]\n1.0.7\n", false, false, 0, 2},
      {"every direction counts", 33, "[version]\n1.0.\n", false, false, 0, 13},
      {"code 34", 34, "[version]\n1.0.7\n", false, false, 1, 0},
      {"negative code", -1, "[version]\n1.0.7\n", true, false, 1, 0},
      {"no configuration", 1, "", true, true, 2, 0},
      {"no folder", 1, "[version]\n1.0.7\n", false, true, 4, 0},
      {"missing file", 1, "-", false, false, 4, 2},
      {"other version", 1, "[version]\n1.1.0\n", false, false, 6, 2},
      {"leading blank", 1, "[version]\n 1.0.1\n", false, false, 6, 2},
      {"header alone", 1, "[version]", false, false, 6, 2},
      {"carriage returns", 1, "[version]\r\n1.0.1\r\n", false, false, 6, 2},
  };
  for (const case_t& c : cases) {
    SCOPED_TRACE(c.what);
    kora_finalize();
    EXPECT_EQ(g_direct, 34);
    const std::string path = c.lines == "-" ? missing : other.write("c.conf", c.lines);
    EXPECT_EQ(kora_initialize(c.direct, c.null_conf ? nullptr : path.c_str(),
                              c.null_folder ? nullptr : "models"),
              c.result);
    EXPECT_EQ(g_direct, c.direct);
    EXPECT_EQ(g_srcType, c.source_type);
    EXPECT_EQ(kora_create_decoder(c.direct), nullptr);  // none of these names models
    EXPECT_EQ(kora_create_decoder(c.direct + 1), nullptr);
    if (c.source_type != 0) {
      EXPECT_EQ(kora_initialize(1, path.c_str(), "m"), 3);
    }
  }
  kora_finalize();
  EXPECT_EQ(g_targType, 0);
  EXPECT_EQ(g_ConfFile, "");
  EXPECT_EQ(g_ModelFolder, "models");  // left as it was
}

TEST_F(Kora, TranslatesLinesAndSentences) {
  ASSERT_EQ(kora_initialize(1, conf().c_str(), folder().c_str()), 0);
  koralite::translator::TransImpl* handle = kora_create_decoder(1);
  ASSERT_NE(handle, nullptr);
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"\n\n", ""},
      {"hello world", "你好世界"},
      {"hello world\n\ngood morning\n", "你好世界\n早上好"},
      {"hello world. good morning", "你好世界。 早上好"},
  };
  for (const auto& [input, expected] : cases) {
    std::string output = "old";
    EXPECT_EQ(kora_translate(handle, input, output), 0) << input;
    EXPECT_EQ(output, expected) << input;
  }
  std::string both = "hello world";
  EXPECT_EQ(kora_translate(handle, both, both), 0);
  EXPECT_EQ(both, "你好世界");
  EXPECT_EQ(kora_translate(nullptr, "a", both), 2);

  kora_finalize();  // the handle lives on, but its source is unknown now
  std::string output;
  EXPECT_EQ(kora_translate(handle, "hello", output), 2);
  EXPECT_EQ(kora_translate(handle, "\n", output), 0);
  kora_destroy_decoder(handle);
  kora_destroy_decoder(nullptr);
}

TEST_F(Kora, KeepsTheTraceThatTheFolderAsksFor) {
  const TempFolder traced;
  write_small_model(traced.path());
  const std::string parameters = read_file(traced.path("decoder.conf"));
  const std::string off = "[debug]\n0\n";
  ASSERT_NE(parameters.find(off), std::string::npos);
  for (const bool on : {false, true}) {
    std::string changed = parameters;
    changed.replace(changed.find(off), off.size(), on ? "[debug]\n1\n" : off);
    traced.write("decoder.conf", changed);
    kora_finalize();
    ASSERT_EQ(kora_initialize(1, traced.path("engine.conf").c_str(), traced.path().c_str()), 0);
    koralite::translator::TransImpl* handle = kora_create_decoder(1);
    ASSERT_NE(handle, nullptr);
    testing::internal::CaptureStderr();
    std::string output;
    EXPECT_EQ(kora_translate(handle, "good morning", output), 0);
    EXPECT_EQ(handle->GetLog(), testing::internal::GetCapturedStderr());
    EXPECT_EQ(handle->GetLog().find("translation options:") != std::string::npos, on);
    kora_destroy_decoder(handle);
  }
}

TEST_F(Kora, ShowsTheWordsOfASentence) {
  ASSERT_EQ(kora_initialize(1, conf().c_str(), folder().c_str()), 0);
  koralite::translator::TransImpl* handle = kora_create_decoder(1);
  ASSERT_NE(handle, nullptr);
  std::string words = "old";
  handle->Preprocess4Test("Hello  world.", words);
  EXPECT_EQ(words, "hello&#N#&#N#&world&#N#&#N#&.&#N#&#N#&");
  handle->Preprocess4Test("", words);
  EXPECT_EQ(words, "");
  kora_destroy_decoder(handle);
}

TEST_F(Kora, ChecksForAscii) {
  EXPECT_EQ(kora_check_lang(""), 1);
  EXPECT_EQ(kora_check_lang("plain\x7F"), 1);
  EXPECT_EQ(kora_check_lang("a\x80"), 0);
  EXPECT_EQ(kora_check_lang("你"), 0);
}

std::string translated(kora_c_translator* translator, const std::string& input) {
  char* output = nullptr;
  std::size_t length = 0;
  EXPECT_EQ(kora_c_translate(translator, input.data(), input.size(), &output, &length), KORA_C_OK);
  std::string result(output, length);
  kora_c_free(output);
  return result;
}

kora_c_translator* opened(const std::string& folder, std::int32_t expected = KORA_C_OK,
                          std::uint32_t flags = KORA_C_CHECK_MANIFEST) {
  kora_c_translator* translator = nullptr;
  char* message = nullptr;
  EXPECT_EQ(kora_c_open(1, nullptr, 0, folder.data(), folder.size(), flags, &translator, &message),
            expected)
      << (message != nullptr ? message : "");
  EXPECT_EQ(translator != nullptr, expected == KORA_C_OK);
  EXPECT_EQ(message != nullptr, expected != KORA_C_OK);
  kora_c_free(message);
  return translator;
}

// What is wrong with a folder, and with which of its files.
TEST_F(Kora, SaysWhichFileAndWhy) {
  const auto message_for = [&](const std::string& name, const std::string* content) {
    const TempFolder damaged;
    fs::copy(folder(), damaged.path(), fs::copy_options::recursive);
    fs::remove(damaged.path(name));
    if (content != nullptr) {
      damaged.write(name, *content);
    }
    kora_c_translator* translator = nullptr;
    char* message = nullptr;
    const std::string path = damaged.path();
    kora_c_open(1, nullptr, 0, path.data(), path.size(), 0, &translator, &message);
    std::string text = message == nullptr ? "opened" : message;
    kora_c_free(message);
    for (std::size_t at = 0; (at = text.find(path)) != std::string::npos;) {
      text.replace(at, path.size(), "F");
    }
    return text;
  };
  const std::string two = "ab";
  const std::string conf = "[stack]\n0\n";
  EXPECT_EQ(message_for("lm", nullptr),
            "failed to create SharedMember: failed to open file in PackedLM: F/lm: No such file or "
            "directory");
  EXPECT_EQ(message_for("lm", &two),
            "failed to create SharedMember: damaged file in PackedLM: F/lm");
  EXPECT_EQ(message_for("target.vocab", &two),
            "failed to create SharedMember: can't read file in StringIndex::load(): "
            "F/target.vocab");
  EXPECT_EQ(message_for("phrases.nodes", nullptr),
            "failed to open nodes file in CompactTransModel: F/phrases.nodes: No such file or "
            "directory");
  EXPECT_EQ(message_for("decoder.conf", &conf),
            "illegal stack limit in Parameter::initialize(): F/decoder.conf");
}

TEST_F(Kora, FacesGiveTheSameBytesOnEightThreads) {
  ASSERT_EQ(kora_initialize(1, conf().c_str(), folder().c_str()), 0);
  auto* handle = kora_create_decoder(1);
  std::string expected;
  ASSERT_EQ(kora_translate(handle, kText, expected), 0);
  kora_destroy_decoder(handle);
  kora_finalize();
  std::vector<std::string> results(8);
  std::vector<std::jthread> threads;
  for (std::string& result : results) {
    threads.emplace_back([&result] {
      kora_c_translator* translator =
          opened(folder(), KORA_C_OK, KORA_C_CHECK_MANIFEST | KORA_C_RAW);
      for (int i = 0; i < 50; ++i) {
        result = translated(translator, kText);
      }
      kora_c_close(translator);
    });
  }
  threads.clear();  // joins
  for (const std::string& result : results) {
    EXPECT_EQ(result, expected);
  }
}

TEST_F(Kora, AlignmentTilesTheOutput) {
  kora_c_translator* translator = opened(folder(), KORA_C_OK, KORA_C_RAW);
  const std::string inputs[] = {kText, "the cat sat.", "sat cat the hello", "", " ", "a\nb", "?!."};
  for (const std::string& input : inputs) {
    SCOPED_TRACE(input);
    char* output = nullptr;
    std::int32_t* links = nullptr;
    std::size_t length = 0;
    std::size_t count = 0;
    ASSERT_EQ(kora_c_translate_aligned(translator, input.data(), input.size(), &output, &length,
                                       &links, &count),
              KORA_C_OK);
    EXPECT_EQ(std::string(output, length), translated(translator, input));
    std::vector<bool> covered(length);
    for (std::size_t i = 0; i < count; ++i) {
      const std::int32_t* link = links + 4 * i;
      EXPECT_LE(0, link[0]);
      EXPECT_LE(link[0], link[1]);
      EXPECT_LT(link[1], static_cast<std::int32_t>(input.size()));
      EXPECT_LE(0, link[2]);
      EXPECT_LE(link[2], link[3]);
      ASSERT_LT(link[3], static_cast<std::int32_t>(length));
      for (std::int32_t b = link[2]; b <= link[3]; ++b) {
        covered[static_cast<std::size_t>(b)] = true;
      }
    }
    for (std::size_t b = 0; b < length; ++b) {
      EXPECT_TRUE(covered[b] || output[b] == ' ' || output[b] == '\n') << b;
    }
    kora_c_free(output);
    kora_c_free(links);
  }
  kora_c_close(translator);
}

TEST_F(Kora, ListsTheBestFirst) {
  kora_c_translator* translator = opened(folder());
  char* outputs = nullptr;
  std::size_t* ends = nullptr;
  float* scores = nullptr;
  std::size_t count = 0;
  const std::string input = "the cat sat";
  ASSERT_EQ(kora_c_translate_nbest(translator, input.data(), input.size(), 5, &outputs, &ends,
                                   &scores, &count),
            KORA_C_OK);
  ASSERT_GT(count, 1U);
  EXPECT_LE(count, 5U);
  EXPECT_EQ(std::string(outputs, ends[0]), translated(translator, input));
  for (std::size_t i = 1; i < count; ++i) {
    EXPECT_LE(scores[i], scores[i - 1]);
    EXPECT_EQ(outputs[ends[i]], '\0');
  }
  kora_c_free(outputs);
  kora_c_free(ends);
  kora_c_free(scores);
  kora_c_close(translator);
}

std::pair<std::string, std::vector<float>> best_of(kora_c_translator* translator,
                                                   const std::string& input) {
  char* outputs = nullptr;
  std::size_t* ends = nullptr;
  float* scores = nullptr;
  std::size_t count = 0;
  EXPECT_EQ(kora_c_translate_nbest(translator, input.data(), input.size(), 1000, &outputs, &ends,
                                   &scores, &count),
            KORA_C_OK);
  std::pair<std::string, std::vector<float>> result;
  if (count > 0) {
    result = {std::string(outputs, ends[count - 1]), {scores, scores + count}};
  }
  kora_c_free(outputs);
  kora_c_free(ends);
  kora_c_free(scores);
  return result;
}

TEST_F(Kora, LimitsOfTheSearchChangeBetweenTexts) {
  kora_c_translator* translator = opened(folder());
  ASSERT_NE(translator, nullptr);
  const std::string input = "the cat sat";
  const auto own = best_of(translator, input);
  ASSERT_GT(own.second.size(), 1U);
  // Scores are the search's own, not what is left of them in a text of six digits.
  EXPECT_TRUE(std::any_of(own.second.begin(), own.second.end(), [](float score) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(score));
    return std::strtof(text, nullptr) != score;
  }));
  ASSERT_EQ(kora_c_set_limits(translator, 1, 0, KORA_C_OWN_DISTORTION, 0), KORA_C_OK);
  EXPECT_EQ(best_of(translator, input).second.size(), 1U);
  for (const auto& [stack, options, beam] : std::vector<std::tuple<int, int, float>>{
           {-1, 0, 0.0F}, {1001, 0, 0.0F}, {0, -1, 0.0F}, {0, 1001, 0.0F}, {0, 0, -1.0F}}) {
    EXPECT_EQ(kora_c_set_limits(translator, stack, options, 0, beam), KORA_C_BAD_ARGUMENT);
    EXPECT_STRNE(kora_c_message(translator), "");
    EXPECT_EQ(best_of(translator, input).second.size(), 1U) << "changed by refused limits";
  }
  EXPECT_EQ(kora_c_set_limits(translator, 0, 0, 0, std::nanf("")), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_set_limits(nullptr, 0, 0, 0, 0), KORA_C_BAD_ARGUMENT);
  ASSERT_EQ(kora_c_set_limits(translator, 0, 0, KORA_C_OWN_DISTORTION, 0), KORA_C_OK);
  EXPECT_EQ(best_of(translator, input), own);
  kora_c_close(translator);
}

TEST_F(Kora, EveryMissingOrDamagedFileIsRefused) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder())) {
    names.push_back(entry.path().filename().string());
  }
  ASSERT_GE(names.size(), 10U);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const TempFolder copy;
    fs::copy(folder(), copy.path());
    const std::string whole = read_file(copy.path(name));
    const bool is_engine = name == "engine.conf";

    fs::remove(copy.path(name));
    opened(copy.path(), is_engine ? KORA_C_BAD_CONFIGURATION : KORA_C_BAD_MANIFEST);
    if (name != "manifest.conf") {
      opened(copy.path(), is_engine ? KORA_C_BAD_CONFIGURATION : KORA_C_BAD_MODEL, 0);
      ASSERT_EQ(kora_initialize(1, copy.path("engine.conf").c_str(), copy.path().c_str()),
                is_engine ? 4 : 0);
      EXPECT_EQ(kora_create_decoder(1), nullptr);
      kora_finalize();
    }
    std::string flipped = whole;
    flipped[whole.size() / 2] = static_cast<char>(flipped[whole.size() / 2] ^ 0x40);
    for (const std::string& damaged : {flipped, whole.substr(0, whole.size() / 2), whole + "x"}) {
      copy.write(name, damaged);
      kora_c_translator* translator = nullptr;
      const std::string path = copy.path();
      const auto open = [&](std::uint32_t flags) {
        return kora_c_open(1, nullptr, 0, path.data(), path.size(), flags, &translator, nullptr);
      };
      EXPECT_NE(open(KORA_C_CHECK_MANIFEST), KORA_C_OK);
      // Without the check, damage may pass; it must not hurt.
      if (open(0) == KORA_C_OK) {
        char* output = nullptr;
        std::size_t length = 0;
        const int result = kora_c_translate(translator, kText, 20, &output, &length);
        EXPECT_TRUE(result == KORA_C_OK || result == KORA_C_TRANSLATION_FAILED);
        kora_c_free(output);
      }
      kora_c_close(translator);
    }
  }
}

TEST_F(Kora, RefusesBadArguments) {
  kora_c_translator* translator = nullptr;
  const std::string path = folder();
  const auto open = [&](std::int32_t direction, const std::string& conf_path,
                        const std::string& folder_path, std::uint32_t flags) {
    return kora_c_open(direction, conf_path.data(), conf_path.size(), folder_path.data(),
                       folder_path.size(), flags, &translator, nullptr);
  };
  EXPECT_EQ(open(34, "", path, 0), KORA_C_BAD_DIRECTION);
  EXPECT_EQ(open(-1, "", path, 0), KORA_C_BAD_DIRECTION);
  for (const std::string_view name : {"th-en", "zh-es", "en-fr", "zh-de"}) {  // no way in or out
    EXPECT_EQ(open(kora_c_find_direction(name.data(), name.size()), "", path, 0),
              KORA_C_BAD_DIRECTION);
  }
  EXPECT_EQ(open(1, "", "", 0), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(open(1, "", path + '\0', 0), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(open(1, "", path, 4), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(open(1, path, path, 0), KORA_C_BAD_CONFIGURATION);  // a folder
  EXPECT_EQ(open(1, path + "/decoder.conf", path, 0), KORA_C_BAD_CONFIGURATION);
  EXPECT_EQ(kora_c_open(1, nullptr, 0, nullptr, 3, 0, &translator, nullptr), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_open(1, nullptr, 0, path.data(), path.size(), 0, nullptr, nullptr),
            KORA_C_BAD_ARGUMENT);
  for (const auto& [from, to, code] : {std::tuple{"[stack]\n100\n", "[stack]\n1001\n", 3},
                                       {"[option]\n20\n", "[option]\n1001\n", 3},
                                       {"[stack]\n100\n", "[stack]\n1000\n", 0}}) {
    const TempFolder wide;
    fs::copy(path, wide.path());
    std::string text_of = read_file(wide.path("decoder.conf"));
    ASSERT_NE(text_of.find(from), std::string::npos) << text_of;
    wide.write("decoder.conf", text_of.replace(text_of.find(from), std::strlen(from), to));
    EXPECT_EQ(open(1, "", wide.path(), 0), code) << to;
    kora_c_close(translator);
  }
  translator = opened(path);
  char* output = nullptr;
  std::size_t length = 0;
  EXPECT_EQ(kora_c_translate(translator, nullptr, 1, &output, &length), KORA_C_BAD_ARGUMENT);
  EXPECT_STRNE(kora_c_message(translator), "");
  EXPECT_EQ(kora_c_translate(translator, nullptr, 0, &output, &length), KORA_C_OK);
  EXPECT_STREQ(kora_c_message(translator), "");
  EXPECT_STREQ(output, "");
  kora_c_free(output);
  EXPECT_EQ(kora_c_translate(translator, "a", 1, nullptr, &length), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_translate(nullptr, "a", 1, &output, &length), KORA_C_BAD_ARGUMENT);
  kora_c_close(translator);
  EXPECT_STREQ(kora_c_error_name(KORA_C_BAD_MANIFEST), "KORA_C_BAD_MANIFEST");
  EXPECT_STREQ(kora_c_error_name(KORA_C_RESULT_COUNT), "unknown result");
  EXPECT_EQ(kora_c_find_direction("en-zh", 5), 1);
  EXPECT_EQ(kora_c_find_direction("lzh-zh", 6), 31);
  EXPECT_EQ(kora_c_find_direction("zh-zh", 5), -1);
}

}  // namespace
}  // namespace kora_test
