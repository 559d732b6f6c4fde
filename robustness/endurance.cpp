// Long use of the library: one handle for many sentences, many handles one after the
// other, a handle each for several threads. Memory must stay flat and every sentence
// give the bytes that it gave the first time.
//
//   endurance [--seconds N] [--lifetimes N] [--threads N] [--text FILE] FOLDER
//   endurance --sizes [--largest BYTES] [--budget SECONDS] [--stack N] [--only KIND] FOLDER
//
// Prints a Markdown table; exits with 1 when a promise is broken, with 2 when it is
// called wrongly.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "robustness/process.h"
#include "robustness/sizes.h"
#include "robustness/strange_text.h"
#include "robustness/translator.h"

namespace {

using clock_type = std::chrono::steady_clock;
using kora_proof::status_kb;
using kora_proof::Translator;

// Private memory may be this much more at the end of a phase than after its first tenth:
// room for the allocator. A block of 40 bytes lost with each of 3,000 sentences is above it.
constexpr long kGrowthLimitKb = 128;
constexpr std::size_t kGeneratedCount = 500;

struct options_t {
  double seconds = 300;  // half for one handle, half for the threads
  std::size_t lifetimes = 1000;
  std::size_t threads = 4;
  bool sizes = false;
  kora_proof::sizes_options_t strange;
  std::string text;
  std::string folder;
};

// Most sentences plainly, some with alignment, some as a list of the best.
std::string translate(const Translator& translator, const std::vector<std::string>& text,
                      std::size_t i) {
  if (i % 8 == 1) {
    return translator.translate_aligned(text[i]);
  }
  if (i % 8 == 2) {
    return translator.translate_nbest(text[i], 5);
  }
  return translator.translate(text[i]);
}

long open_files() {
  long count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

// Notes memory after a tenth, a half and all of a phase, and prints its line.
class Phase {
 public:
  explicit Phase(const char* name) : name_(name), files_(open_files()) {}

  // `part` of 0 to 1 is over.
  void passed(double part) {
    while (noted_ < 3 && part >= kMarks[noted_]) {
      private_kb_[noted_++] = status_kb("RssAnon:");
    }
  }

  bool report(std::size_t sentences, std::size_t different) {
    passed(1);
    const long growth = private_kb_[2] - private_kb_[0];
    const bool good = growth <= kGrowthLimitKb && different == 0 && open_files() == files_;
    std::printf("| %s | %zu | %ld | %ld | %ld | %+ld | %ld | %s |%s\n", name_, sentences,
                private_kb_[0], private_kb_[1], private_kb_[2], growth, open_files() - files_,
                different == 0 ? "yes" : "no", good ? "" : " broken");
    std::fflush(stdout);
    return good;
  }

 private:
  static constexpr double kMarks[] = {0.1, 0.5, 1};
  const char* name_;
  long files_;
  std::size_t noted_ = 0;
  long private_kb_[3] = {};
};

double passed_since(clock_type::time_point begin, double seconds) {
  return std::chrono::duration<double>(clock_type::now() - begin).count() / seconds;
}

bool one_handle(const options_t& options, const std::vector<std::string>& text,
                std::vector<std::string>& expected) {
  Phase phase("one handle");
  std::size_t done = 0;
  std::size_t different = 0;
  {
    const Translator translator(options.folder);
    for (std::size_t i = 0; i < text.size(); ++i) {
      expected.push_back(translate(translator, text, i));
    }
    const auto begin = clock_type::now();
    for (double part = 0; part < 1 || done < text.size(); ++done) {
      const std::size_t i = done % text.size();
      different += translate(translator, text, i) != expected[i];
      part = passed_since(begin, options.seconds / 2);
      phase.passed(done < text.size() ? 0 : part);
    }
  }
  return phase.report(done, different);
}

bool lifetimes(const options_t& options, const std::vector<std::string>& text,
               const std::vector<std::string>& expected) {
  constexpr std::size_t kEach = 3;  // sentences
  // The first tenth meets every sentence, so that none is new to the allocator after it.
  const std::size_t used =
      std::min(text.size(), std::max(options.lifetimes / 10, std::size_t{1}) * kEach);
  Phase phase("handles one after the other");
  std::size_t different = 0;
  for (std::size_t life = 0; life < options.lifetimes; ++life) {
    const Translator translator(options.folder);
    for (std::size_t k = 0; k < kEach; ++k) {
      const std::size_t i = (life * kEach + k) % used;
      different += translate(translator, text, i) != expected[i];
    }
    phase.passed(static_cast<double>(life) / static_cast<double>(options.lifetimes));
  }
  return phase.report(options.lifetimes * kEach, different);
}

bool threads(const options_t& options, const std::vector<std::string>& text,
             const std::vector<std::string>& expected) {
  Phase phase("threads with a handle each");
  std::atomic<std::size_t> done{0};
  std::atomic<std::size_t> different{0};
  std::atomic<bool> stop{false};
  std::latch warm(static_cast<std::ptrdiff_t>(options.threads));
  const auto work = [&](std::size_t number) {
    std::size_t at = number * text.size() / options.threads;
    std::size_t wrong = 0;
    std::size_t count = 0;
    bool is_warm = false;
    try {
      const Translator translator(options.folder);
      const auto next = [&] {
        wrong += translate(translator, text, at) != expected[at];
        at = (at + 1) % text.size();
        ++count;
      };
      for (std::size_t i = 0; i < text.size(); ++i) {
        next();
      }
      is_warm = true;
      warm.count_down();
      while (!stop) {
        next();
      }
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      ++wrong;
      if (!is_warm) {
        warm.count_down();
      }
    }
    done += count;
    different += wrong;
  };
  std::vector<std::jthread> pool;
  for (std::size_t i = 0; i < options.threads; ++i) {
    pool.emplace_back(work, i);
  }
  warm.wait();
  const auto begin = clock_type::now();
  for (double part = 0; part < 1;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    part = passed_since(begin, options.seconds / 2);
    phase.passed(part);
  }
  stop = true;
  pool.clear();  // joins
  return phase.report(done, different);
}

std::vector<std::string> sentences(const options_t& options) {
  if (options.text.empty()) {
    const std::string direction = kora_proof::direction_of(options.folder);
    return kora_proof::ordinary_sentences(direction.substr(0, direction.find('-')),
                                          kGeneratedCount);
  }
  std::vector<std::string> lines;
  std::ifstream file(options.text);
  for (std::string line; std::getline(file, line);) {
    if (!line.empty()) {
      lines.push_back(line);
    }
  }
  if (lines.empty()) {
    throw std::runtime_error(options.text + ": no text");
  }
  return lines;
}

}  // namespace

int main(int argc, char** argv) {
  options_t options;
  CLI::App program("Runs the library for long and looks for growth, or on texts of every size.");
  program.add_option("--seconds", options.seconds, "Of each phase")->check(CLI::PositiveNumber);
  program.add_option("--lifetimes", options.lifetimes, "Handles made and destroyed");
  program.add_option("--threads", options.threads, "Handles at once")->check(CLI::PositiveNumber);
  program.add_option("--text", options.text, "Sentences to translate, one a line");
  program.add_flag("--sizes", options.sizes, "Texts of every size instead");
  program.add_option("--largest", options.strange.largest, "Bytes of the largest text");
  program.add_option("--budget", options.strange.budget, "Seconds for a text");
  program.add_option("--stack", options.strange.stack, "Hypotheses of a stack");
  program.add_option("--only", options.strange.only, "One kind of text");
  program.add_option("folder", options.folder, "Model folder")->required();
  CLI11_PARSE(program, argc, argv);
  options.strange.folder = options.folder;
  try {
    if (options.sizes) {
      return kora_proof::print_sizes(options.strange) ? 0 : 1;
    }
    const std::vector<std::string> text = sentences(options);
    std::vector<std::string> expected;
    std::printf(
        "| Phase | sentences | private KB at 10 %% | 50 %% | 100 %% | growth | files left open | "
        "same bytes |\n|---|---|---|---|---|---|---|---|\n");
    bool good = one_handle(options, text, expected);
    good = lifetimes(options, text, expected) && good;
    good = threads(options, text, expected) && good;
    return good ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
}
