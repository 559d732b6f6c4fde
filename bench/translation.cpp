// Translation with a real model folder and real text: words per second by the
// length of a sentence, under other limits of the search and on more threads, and
// the memory that is left behind.
//
//   build/release/bin/bench_translation FOLDER TEXT [REFERENCE]
//
// A word is what stands between blanks, of languages without blanks a character.
// "differ" is the share of sentences that other limits translate otherwise than
// the folder's own; "BLEU" is that of the same sentences against the reference, of
// few sentences and so only good for comparing rows. "private_MB" is resident
// memory besides mapped files, "mapped_MB" the touched pages of those, "peak_MB"
// the largest sum of both so far. Sentences are spread evenly over the text.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/eval/bleu.h"
#include "toolkit/folder/model_folder.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace {

namespace fs = std::filesystem;
using namespace koralite;
using lines_t = std::vector<std::string>;

lines_t read_lines(const std::string& path) {
  std::ifstream in(path);
  lines_t lines;
  for (std::string line; std::getline(in, line);) {
    lines.push_back(std::move(line));
  }
  return lines;
}

std::size_t words_of(const std::string& text, bool has_blanks) {
  std::size_t words = 0;
  bool inside = false;
  for (const char c : text) {
    if (!has_blanks) {
      words += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U && c != ' ' ? 1 : 0;
      continue;
    }
    words += c != ' ' && !inside ? 1 : 0;
    inside = c != ' ';
  }
  return words;
}

struct sample_t {
  lines_t lines;
  lines_t references;
  std::size_t words = 0;
};

class Setup {
 public:
  Setup(const std::string& folder, const std::string& text, const std::string& reference)
      : folder_(toolkit::open_model_folder(folder)),
        lines_(read_lines(text)),
        references_(reference.empty() ? lines_t() : read_lines(reference)) {
    const auto source = folder_.engine.direction.source;
    has_blanks_ = source != "zh" && source != "ja" && source != "yue" && source != "lzh";
    if (!references_.empty() && references_.size() != lines_.size()) {
      throw std::runtime_error(reference + ": has not as many lines as " + text);
    }
    if (lines_.empty()) {
      throw std::runtime_error(text + ": no lines");
    }
  }

  // Sentences of `low` to `high` words, evenly spread, until there are `words` words of them.
  sample_t sample(std::size_t low, std::size_t high, std::size_t words) const {
    std::vector<std::size_t> fit;
    std::size_t sum = 0;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      const std::size_t count = words_of(lines_[i], has_blanks_);
      if (count < low || count > high) {
        continue;
      }
      fit.push_back(i);
      sum += count;
    }
    sample_t sample;
    const std::size_t step = std::max<std::size_t>(1, sum / words);
    for (std::size_t k = 0; k < fit.size(); k += step) {
      sample.lines.push_back(lines_[fit[k]]);
      sample.words += words_of(sample.lines.back(), has_blanks_);
      if (!references_.empty()) {
        sample.references.push_back(references_[fit[k]]);
      }
    }
    return sample;
  }

  // A handle under these limits; 0 leaves the folder's own.
  std::unique_ptr<translator::TransImpl> open(int stack = 0, int option = 0,
                                              int distort = -2) const {
    toolkit::model_folder_t changed = folder_;
    if (stack > 0) {
      changed.decoder.stack_limit = stack;
    }
    if (option > 0) {
      changed.decoder.translation_limit = option;
    }
    if (distort > -2) {
      changed.decoder.distortion_limit = distort;
    }
    // The folder again, as links, with another parameter file.
    const fs::path place = fs::temp_directory_path() / ("kora-bench-" + std::to_string(getpid()));
    fs::create_directories(place);
    for (const auto& entry : fs::directory_iterator(folder_.path)) {
      if (entry.path().filename() == folder_.engine.decoder) {
        continue;
      }
      fs::create_symlink(fs::absolute(entry.path()), place / entry.path().filename());
    }
    std::ofstream(place / folder_.engine.decoder)
        << toolkit::format_decoder_config(changed.decoder);
    const auto type = [](std::string_view language) {
      return static_cast<textProcess::LangType>(toolkit::language_type(language));
    };
    auto handle = std::make_unique<translator::TransImpl>(
        type(folder_.engine.direction.source), type(folder_.engine.direction.target),
        (place / "engine.conf").string(), place.string(), folder_.engine.decoder);
    fs::remove_all(place);
    return handle;
  }

  lines_t translate(translator::TransImpl& handle, const lines_t& lines) const {
    lines_t outputs(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
      translator::translate_text(handle, handle.source_type(), lines[i], outputs[i]);
    }
    return outputs;
  }

  double bleu(const sample_t& sample, const lines_t& outputs) const {
    const std::string_view target = folder_.engine.direction.target;
    const toolkit::BleuOptions options{.tokenizer = toolkit::tokenizer_for_language(target),
                                       .lower_case = false};
    const std::vector<lines_t> references{sample.references};
    toolkit::BleuStats sum;
    for (const auto& stats : toolkit::BleuScorer(references, options).sentences(outputs)) {
      sum += stats;
    }
    return toolkit::bleu(sum).score;
  }

  const decoder::Parameter& parameter() const { return folder_.decoder; }

 private:
  toolkit::model_folder_t folder_;
  lines_t lines_;
  lines_t references_;
  bool has_blanks_ = true;
};

std::unique_ptr<Setup> g_setup;

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

void count_words(benchmark::State& state, const sample_t& sample, std::int64_t times = 1) {
  state.SetItemsProcessed(state.iterations() * times * static_cast<std::int64_t>(sample.words));
  state.counters["sentences"] = static_cast<double>(sample.lines.size());
  state.counters["words"] = static_cast<double>(sample.words);
}

void by_length(benchmark::State& state, std::size_t low, std::size_t high) {
  const sample_t sample = g_setup->sample(low, high, 600);
  if (sample.words == 0) {
    state.SkipWithError("the text has no such sentences");
    return;
  }
  const auto handle = g_setup->open();
  for (auto _ : state) {
    benchmark::DoNotOptimize(g_setup->translate(*handle, sample.lines).data());
  }
  count_words(state, sample);
}

const sample_t& settings_sample() {
  static const sample_t kSample = g_setup->sample(1, 1000, 3000);
  return kSample;
}

const lines_t& own_outputs() {
  static const lines_t kOutputs = g_setup->translate(*g_setup->open(), settings_sample().lines);
  return kOutputs;
}

void with_limits(benchmark::State& state, int stack, int option, int distort) {
  const sample_t& sample = settings_sample();
  const auto handle = g_setup->open(stack, option, distort);
  own_outputs();
  g_setup->translate(*handle, {sample.lines.begin(), sample.lines.begin() + 1});
  lines_t outputs;
  for (auto _ : state) {
    outputs = g_setup->translate(*handle, sample.lines);
  }
  count_words(state, sample);
  std::size_t differ = 0;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    differ += outputs[i] != own_outputs()[i];
  }
  state.counters["differ"] = static_cast<double>(differ) / static_cast<double>(outputs.size());
  if (!sample.references.empty()) {
    state.counters["BLEU"] = g_setup->bleu(sample, outputs);
  }
}

// A handle each, as apps do it; the threads translate the same sentences.
void on_threads(benchmark::State& state) {
  const sample_t sample = g_setup->sample(1, 1000, 1500);
  std::vector<std::unique_ptr<translator::TransImpl>> handles;
  for (int k = 0; k < state.range(0); ++k) {
    handles.push_back(g_setup->open());
  }
  const std::clock_t begin = std::clock();
  for (auto _ : state) {
    std::vector<std::jthread> running;
    for (const auto& handle : handles) {
      running.emplace_back([&] { g_setup->translate(*handle, sample.lines); });
    }
  }
  const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  count_words(state, sample, state.range(0));
  state.counters["cpu_words"] = static_cast<double>(state.iterations() * state.range(0)) *
                                static_cast<double>(sample.words) / seconds;
  state.counters["private_MB"] = status_mb("RssAnon:");
  state.counters["mapped_MB"] = status_mb("RssFile:");
  state.counters["peak_MB"] = status_mb("VmHWM:");
}

void add_limits(const std::string& name, int stack, int option, int distort) {
  benchmark::RegisterBenchmark(
      ("limits/" + name).c_str(),
      [=](benchmark::State& state) { with_limits(state, stack, option, distort); })
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (argc < 3 || argc > 4) {
    std::fprintf(stderr, "usage: bench_translation FOLDER TEXT [REFERENCE]\n");
    return 2;
  }
  try {
    g_setup = std::make_unique<Setup>(argv[1], argv[2], argc > 3 ? argv[3] : "");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  auto* threads = benchmark::RegisterBenchmark("threads", on_threads);
  const auto cores = static_cast<int>(std::max(2U, std::thread::hardware_concurrency()));
  for (int count = 1; count < cores; count *= 2) {
    threads->Arg(count);
  }
  threads->Arg(cores)->Arg(2 * cores)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(1);
  for (std::size_t low = 1; low <= 64; low *= 2) {
    const std::size_t high = 2 * low - 1;
    benchmark::RegisterBenchmark(
        ("words:" + std::to_string(low) + "-" + std::to_string(high)).c_str(),
        [=](benchmark::State& state) { by_length(state, low, high); })
        ->Unit(benchmark::kMillisecond);
  }
  add_limits("own", 0, 0, -2);
  for (const int stack : {10, 25, 50, 200}) {
    add_limits("stack:" + std::to_string(stack), stack, 0, -2);
  }
  for (const int option : {5, 10, 40}) {
    add_limits("option:" + std::to_string(option), 0, option, -2);
  }
  for (const int distort : {0, 2, 4, 10}) {
    add_limits("distort:" + std::to_string(distort), 0, 0, distort);
  }
  add_limits("stack:50/option:10/distort:4", 50, 10, 4);
  add_limits("stack:25/option:10/distort:4", 25, 10, 4);
  benchmark::RunSpecifiedBenchmarks();
  g_setup.reset();
}
