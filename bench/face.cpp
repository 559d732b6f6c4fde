// What an app feels: the time from nothing to a handle, the first sentence, a
// sentence after that, and the memory that a thousand sentences leave behind.
//
//   cmake --preset release && cmake --build --preset release --target bench_face
//   build/release/bin/bench_face                        a small model, made here
//   KORA_MODEL=models/en-zh build/release/bin/bench_face
//
// The folder's direction must be English to Chinese. "private_MB" is resident
// memory besides mapped files, "mapped_MB" the touched pages of those.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kora/kora_c.h"
#include "tests/support/small_model.h"

namespace {

const std::string& folder() {
  static const std::string kPath = [] {
    if (const char* given = std::getenv("KORA_MODEL")) {
      return std::string(given);
    }
    const auto made = std::filesystem::temp_directory_path() / "kora-bench-face";
    std::filesystem::create_directories(made);
    kora_test::write_small_model(made.string());
    return made.string();
  }();
  return kPath;
}

struct Translator {
  kora_c_translator* handle = nullptr;

  explicit Translator(std::uint32_t flags = 0) {
    char* message = nullptr;
    if (kora_c_open(1, nullptr, 0, folder().data(), folder().size(), flags, &handle, &message) !=
        KORA_C_OK) {
      throw std::runtime_error(message);
    }
  }
  Translator(const Translator&) = delete;
  Translator& operator=(const Translator&) = delete;
  ~Translator() { kora_c_close(handle); }

  std::size_t translate(const std::string& text) {
    char* output = nullptr;
    std::size_t length = 0;
    if (kora_c_translate(handle, text.data(), text.size(), &output, &length) != KORA_C_OK) {
      throw std::runtime_error(kora_c_message(handle));
    }
    kora_c_free(output);
    return length;
  }
};

// A thousand sentences of 4 to 15 words.
const std::vector<std::string>& sentences() {
  static const std::vector<std::string> kList = [] {
    const char* words[] = {"the",     "file", "hello", "world",   "cat",  "good",
                           "morning", "open", "save",  "network", "your", "window",
                           "with",    "from", "3.5",   "error"};
    std::vector<std::string> made;
    unsigned state = 1;
    const auto next = [&](unsigned limit) {
      state = state * 1664525U + 1013904223U;
      return (state >> 16U) % limit;
    };
    for (int i = 0; i < 1000; ++i) {
      std::string& text = made.emplace_back();
      for (unsigned k = next(12) + 4; k > 0; --k) {
        text += std::string(words[next(16)]) + ' ';
      }
      text.back() = '.';
    }
    return made;
  }();
  return kList;
}

// Megabytes of a line of /proc/self/status.
double status_mb(const std::string& name) {
  std::ifstream lines("/proc/self/status");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(name)) {
      return std::strtod(line.c_str() + name.size(), nullptr) / 1024;
    }
  }
  return 0;
}

void create(benchmark::State& state) {
  const auto flags = static_cast<std::uint32_t>(state.range(0));
  for (auto _ : state) {
    Translator translator(flags);
  }
}
BENCHMARK(create)->ArgName("check_manifest")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void create_and_first_sentence(benchmark::State& state) {
  for (auto _ : state) {
    Translator translator;
    translator.translate(sentences().front());
  }
}
BENCHMARK(create_and_first_sentence)->Unit(benchmark::kMillisecond);

void a_thousand_sentences(benchmark::State& state) {
  Translator translator;
  for (auto _ : state) {
    for (const std::string& sentence : sentences()) {
      translator.translate(sentence);
    }
  }
  state.counters["sentences/s"] =
      benchmark::Counter(1000, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["private_MB"] = status_mb("RssAnon:");
  state.counters["mapped_MB"] = status_mb("RssFile:");
}
BENCHMARK(a_thousand_sentences)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
