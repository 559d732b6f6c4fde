// Models opened from buffers: the same bytes as from their folder, and every kind of
// hostile buffer refused.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kora/kora_c.h"
#include "support/small_model.h"
#include "support/temp_folder.h"

namespace kora_test {
namespace {

using Files = std::map<std::string, std::string>;

struct Close {
  void operator()(kora_c_translator* translator) const { kora_c_close(translator); }
};
using Translator = std::unique_ptr<kora_c_translator, Close>;

// A model in buffers of exactly its sizes, so that a sanitizer sees every byte too far.
struct Buffers {
  std::vector<std::unique_ptr<char[]>> bytes;
  std::vector<kora_c_file> list;

  explicit Buffers(const Files& files) {
    for (const auto& [name, content] : files) {
      const auto put = [&](const std::string& text) {
        bytes.emplace_back(new char[text.size()]);
        std::memcpy(bytes.back().get(), text.data(), text.size());
        return bytes.back().get();
      };
      const char* const at = put(name);
      list.push_back({at, name.size(), put(content), content.size()});
    }
  }
};

struct opened_t {
  std::int32_t code = 0;
  std::string message;
  Translator translator;
};

opened_t open_list(const std::vector<kora_c_file>& list, std::uint32_t flags = 0,
                   std::int32_t direction = 1) {
  opened_t result;
  kora_c_translator* translator = nullptr;
  char* message = nullptr;
  result.code =
      kora_c_open_memory(direction, list.data(), list.size(), flags, &translator, &message);
  result.translator.reset(translator);
  result.message = message == nullptr ? "" : message;
  kora_c_free(message);
  EXPECT_EQ(result.code == KORA_C_OK, translator != nullptr);
  EXPECT_EQ(result.code == KORA_C_OK, result.message.empty()) << result.message;
  return result;
}

// Text, alignment and three best of a text, or the code of the failure.
std::string answers(kora_c_translator* translator, const std::string& text) {
  char* output = nullptr;
  std::size_t length = 0;
  std::int32_t* links = nullptr;
  std::size_t count = 0;
  std::int32_t code = kora_c_translate_aligned(translator, text.data(), text.size(), &output,
                                               &length, &links, &count);
  std::string result = code == KORA_C_OK ? std::string(output, length) : kora_c_error_name(code);
  for (std::size_t i = 0; i < 4 * count; ++i) {
    result += ' ' + std::to_string(links[i]);
  }
  kora_c_free(output);
  kora_c_free(links);
  std::size_t* ends = nullptr;
  float* scores = nullptr;
  code = kora_c_translate_nbest(translator, text.data(), text.size(), 3, &output, &ends, &scores,
                                &count);
  if (code != KORA_C_OK) {
    return result + kora_c_error_name(code);
  }
  result.append(output, count == 0 ? 0 : ends[count - 1]);
  for (std::size_t i = 0; i < count; ++i) {
    result += ' ' + std::to_string(scores[i]);
  }
  kora_c_free(output);
  kora_c_free(ends);
  kora_c_free(scores);
  return result;
}

class OpenMemory : public testing::Test {
 protected:
  OpenMemory() {
    write_small_model(folder_.path());
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      files_[entry.path().filename().string()] = read_file(entry.path().string());
    }
  }

  TempFolder folder_;
  Files files_;
};

TEST_F(OpenMemory, GivesTheBytesOfTheFolder) {
  kora_c_translator* raw = nullptr;
  const std::string folder = folder_.path();
  ASSERT_EQ(kora_c_open(1, nullptr, 0, folder.data(), folder.size(), 0, &raw, nullptr), KORA_C_OK);
  const Translator from_folder(raw);
  Buffers buffers(files_);
  opened_t opened = open_list(buffers.list, KORA_C_CHECK_MANIFEST);
  ASSERT_EQ(opened.code, KORA_C_OK) << opened.message;
  for (kora_c_file& file : buffers.list) {  // names are not needed any more
    std::memset(const_cast<char*>(file.name), 'x', file.name_length);
  }
  std::filesystem::remove_all(folder);  // nor is the folder
  for (const std::string text : {"hello world. the cat sat!\n\ngood morning", "xyzzy \xFF hello",
                                 "", "cat the sat , world good morning hello"}) {
    EXPECT_EQ(answers(opened.translator.get(), text), answers(from_folder.get(), text)) << text;
  }
}

TEST_F(OpenMemory, LooksForFilesInMemoryAlone) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  for (const auto& [name, content] : files_) {
    if (name == "manifest.conf") {
      continue;  // asked for by the flag alone
    }
    Files fewer = files_;
    fewer.erase(name);
    const opened_t opened = open_list(Buffers(fewer).list);
    EXPECT_EQ(opened.code, name == "engine.conf" ? KORA_C_BAD_CONFIGURATION : KORA_C_BAD_MODEL)
        << name << ": " << opened.message;
  }
  EXPECT_EQ(open_list({}).code, KORA_C_BAD_CONFIGURATION);
  std::filesystem::current_path(before);
}

TEST_F(OpenMemory, SurvivesShortAndDamagedBuffers) {
  for (const auto& [name, content] : files_) {
    for (std::size_t size = 0; size < content.size(); size += 1 + content.size() / 50) {
      Files damaged = files_;
      damaged[name].resize(size);
      const std::int32_t code = open_list(Buffers(damaged).list, KORA_C_CHECK_MANIFEST).code;
      if (name != "engine.conf" || code != KORA_C_BAD_CONFIGURATION) {
        EXPECT_EQ(code, KORA_C_BAD_MANIFEST) << name << ' ' << size;
      }
      const Buffers buffers(damaged);
      const opened_t opened = open_list(buffers.list);
      if (opened.code == KORA_C_OK) {  // then damage shows while translating, or not at all
        answers(opened.translator.get(), "hello world. the cat sat!");
      }
      damaged[name] = content;
      damaged[name][size] = static_cast<char>(damaged[name][size] ^ 0x55);
      const Buffers flipped(damaged);
      const opened_t other = open_list(flipped.list);
      if (other.code == KORA_C_OK) {
        answers(other.translator.get(), "hello world. the cat sat!");
      }
    }
  }
}

TEST_F(OpenMemory, RefusesBadArguments) {
  const Buffers buffers(files_);
  const auto& list = buffers.list;
  const auto with = [&](const kora_c_file& more) {
    auto longer = list;
    longer.push_back(more);
    return open_list(longer);
  };
  EXPECT_EQ(with({"extra", 5, nullptr, 0}).code, KORA_C_OK);
  EXPECT_EQ(with({"extra", 5, nullptr, 1}).code, KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(with({nullptr, 5, "x", 1}).code, KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(with({"a\0b", 3, "x", 1}).code, KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(with({"lm", 2, "x", 1}).message, "two files of the name 'lm'");
  EXPECT_EQ(open_list(list, 1U << 31U).code, KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(open_list(list, 0, 34).code, KORA_C_BAD_DIRECTION);
  kora_c_translator* translator = nullptr;
  EXPECT_EQ(kora_c_open_memory(1, nullptr, 1, 0, &translator, nullptr), KORA_C_BAD_ARGUMENT);
  EXPECT_EQ(kora_c_open_memory(1, list.data(), list.size(), 0, nullptr, nullptr),
            KORA_C_BAD_ARGUMENT);
}

}  // namespace
}  // namespace kora_test
