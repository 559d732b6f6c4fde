// Speed of the stages that make a model, on generated text: a source language of
// Zipf-distributed words and a target that follows it word by word with fertility,
// local reordering and noise, so that alignment and extraction have real work.
// KORA_BENCH_PAIRS sets the number of sentence pairs (default 20000);
// KORA_BENCH_SOURCE and KORA_BENCH_TARGET name files of real text, tokenized, to
// take instead. Each stage
// is timed on what the stage before made; "tokens/s" counts source tokens.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "toolkit/align/aligner.h"
#include "toolkit/eval/bootstrap.h"
#include "toolkit/io/corpus.h"
#include "toolkit/lm/ngram_estimator.h"
#include "toolkit/phrases/phrase_table.h"

namespace {

using namespace koralite::toolkit;

std::size_t wanted_pairs() {
  const char* text = std::getenv("KORA_BENCH_PAIRS");
  const long pairs = text == nullptr ? 20000 : std::atol(text);
  return pairs > 0 ? static_cast<std::size_t>(pairs) : 1;
}

struct Text {
  std::vector<std::string> source;
  std::vector<std::string> target;
};

Text generate(std::size_t pairs) {
  constexpr double kWords = 30000;
  SeededRandom random(7);
  // Words come in runs that recur, as phrases do: each word has a favourite successor.
  const auto draw = [&] { return static_cast<std::size_t>(std::pow(kWords, random.unit())) - 1; };
  Text text;
  for (std::size_t i = 0; i < pairs; ++i) {
    const std::size_t length = 3 + random.below(16);
    std::vector<std::size_t> words{draw()};
    while (words.size() < length) {
      words.push_back(random.below(3) == 0 ? (words.back() * 7919 + 13) % 3000 : draw());
    }
    std::string source;
    std::vector<std::string> out;
    for (std::size_t k = 0; k < words.size(); ++k) {
      source += (k == 0 ? "s" : " s") + std::to_string(words[k]);
      if (random.below(12) == 0) {
        continue;  // no counterpart
      }
      std::string word = "t" + std::to_string(random.below(8) == 0 ? draw() : words[k]);
      if (words[k] % 11 == 0) {
        word += " u" + std::to_string(words[k]);  // two words for one
      }
      out.push_back(word);
    }
    for (std::size_t k = 1; k < out.size(); ++k) {
      if (random.below(6) == 0) {
        std::swap(out[k - 1], out[k]);
      }
    }
    std::string target;
    for (const std::string& word : out) {
      target += (target.empty() ? "" : " ") + word;
    }
    text.source.push_back(source);
    text.target.push_back(target);
  }
  return text;
}

Text read_files(const char* source, const char* target) {
  Text text;
  const auto read = [](const char* path, std::vector<std::string>& lines) {
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
    }
  };
  read(source, text.source);
  read(target, text.target);
  return text;
}

const Text& text() {
  const char* const source = std::getenv("KORA_BENCH_SOURCE");
  const char* const target = std::getenv("KORA_BENCH_TARGET");
  static const Text kMade = source != nullptr && target != nullptr ? read_files(source, target)
                                                                   : generate(wanted_pairs());
  return kMade;
}

const Bitext& bitext() {
  static const Bitext kMade = make_bitext(text().source, text().target);
  return kMade;
}

const Alignment& alignment() {
  static const Alignment kMade = align_both(bitext(), {});
  return kMade;
}

void count_tokens(benchmark::State& state) {
  state.counters["tokens/s"] = benchmark::Counter(static_cast<double>(bitext().source.tokens()),
                                                  benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Align(benchmark::State& state) {
  AlignOptions options;
  options.threads = static_cast<unsigned>(state.range(0));
  bitext();
  for (auto _ : state) {
    benchmark::DoNotOptimize(align_both(bitext(), options).links());
  }
  count_tokens(state);
}
BENCHMARK(BM_Align)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(1);

void BM_PhraseTable(benchmark::State& state) {
  PhraseOptions options;
  options.threads = static_cast<unsigned>(state.range(0));
  options.memory = static_cast<std::size_t>(state.range(1)) << 20U;
  alignment();
  PhraseStatistics statistics;
  for (auto _ : state) {
    std::size_t kept = 0;
    statistics =
        build_phrase_table(bitext(), alignment(), options,
                           [&](std::span<const PhrasePair> pairs) { kept += pairs.size(); });
    benchmark::DoNotOptimize(kept);
  }
  count_tokens(state);
  state.counters["pairs/s"] = benchmark::Counter(static_cast<double>(statistics.pairs),
                                                 benchmark::Counter::kIsIterationInvariantRate);
  state.counters["pairs"] = static_cast<double>(statistics.pairs);
  state.counters["runs"] = statistics.runs;
}
BENCHMARK(BM_PhraseTable)
    ->ArgNames({"threads", "MiB"})
    ->Args({1, 1024})
    ->Args({2, 1024})
    ->Args({2, 16})
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(1);

void BM_LanguageModel(benchmark::State& state) {
  NgramText lines;
  for (const std::string& line : text().target) {
    lines.add_line(line);
  }
  NgramOptions options;
  options.order = static_cast<std::size_t>(state.range(0));
  options.threads = static_cast<unsigned>(state.range(1));
  if (state.range(2) != 0) {
    options.entropy_threshold = 1e-7;
  }
  NgramStatistics statistics;
  for (auto _ : state) {
    statistics = {};
    benchmark::DoNotOptimize(estimate_ngrams(lines, options, &statistics).order());
  }
  std::uint64_t kept = 0;
  for (const std::uint64_t n : statistics.kept) {
    kept += n;
  }
  state.counters["tokens/s"] = benchmark::Counter(static_cast<double>(lines.tokens().size()),
                                                  benchmark::Counter::kIsIterationInvariantRate);
  state.counters["ngrams"] = static_cast<double>(kept);
}
BENCHMARK(BM_LanguageModel)
    ->ArgNames({"order", "threads", "prune"})
    ->Args({3, 2, 0})
    ->Args({5, 1, 0})
    ->Args({5, 2, 0})
    ->Args({5, 2, 1})
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
