// The search on a model of real size: source words per second, what the search
// did for them, and its memory; then the cost against sentence length and limits.
//
//   cmake --preset release && cmake --build --preset release --target bench_search
//   build/release/bin/bench_search
//
// Per source word: "considered" pairs of a hypothesis and an option, "scored"
// ones that no bound refused, "kept" ones, and n-grams that the language model was
// asked for. "score" is the mean model score of a sentence: what a smaller limit
// loses. "search_KB" is the memory of one decoder's search, "resident_MB" that of
// the process with the mapped pages that it touched.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <thread>

#include "bench/search_model.h"
#include "decoder/decoder.h"
#include "decoder/explanation.h"
#include "decoder/shared_member.h"

namespace {

using namespace koralite::decoder;
using koralite::common::word_node_t;

const kora_bench::search_model_t& model() {
  static const kora_bench::search_model_t kModel = kora_bench::search_model();
  return kModel;
}

struct sentences_t {
  std::vector<std::vector<std::string>> words;
  std::vector<std::vector<word_node_t>> nodes;
  std::size_t word_count = 0;

  sentences_t(int count, int low, int high)
      : words(kora_bench::search_sentences(count, low, high)) {
    for (auto& sentence : words) {
      auto& list = nodes.emplace_back();
      for (auto& word : sentence) {
        list.push_back({word.data(), nullptr, nullptr});
      }
      word_count += list.size();
    }
  }
};

struct engine_t {
  Parameter parameter = model().parameter;
  std::unique_ptr<SharedMember> shared;
  std::unique_ptr<Decoder> decoder;

  engine_t(int stack, int option, int distort) {
    parameter.stack_limit = stack;
    parameter.translation_limit = option;
    parameter.distortion_limit = distort;
    shared = std::make_unique<SharedMember>(&parameter, model().folder.string());
    decoder = std::make_unique<Decoder>(*shared, nullptr, nullptr);
  }
};

double resident_megabytes() {
  std::ifstream status("/proc/self/statm");
  double total = 0;
  double resident = 0;
  status >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576;
}

void translate(benchmark::State& state, const sentences_t& sentences, int stack, int option,
               int distort) {
  engine_t engine(stack, option, distort);
  Decoder& decoder = *engine.decoder;
  std::string text;
  for (const auto& nodes : sentences.nodes) {
    decoder.translate(nodes, text);  // warms up
  }
  const search_counts_t before = decoder.counts();
  for (auto _ : state) {
    for (const auto& nodes : sentences.nodes) {
      decoder.translate(nodes, text);
    }
  }
  const search_counts_t& after = decoder.counts();
  const double words =
      static_cast<double>(sentences.word_count) * static_cast<double>(state.iterations());
  state.SetItemsProcessed(static_cast<std::int64_t>(words));
  const auto per_word = [&](std::uint64_t search_counts_t::*count) {
    return static_cast<double>(after.*count - before.*count) / words;
  };
  state.counters["considered"] = per_word(&search_counts_t::considered);
  state.counters["scored"] = per_word(&search_counts_t::scored);
  state.counters["kept"] = per_word(&search_counts_t::kept);
  state.counters["ngrams"] = per_word(&search_counts_t::ngram_scores);
  state.counters["search_KB"] = static_cast<double>(decoder.search_memory()) / 1024;
  state.counters["resident_MB"] = resident_megabytes();
  double score = 0;
  for (const auto& nodes : sentences.nodes) {
    explanation_t explanation;
    decoder.explain(1, nodes, explanation);
    if (!explanation.derivations.empty()) {
      score += explanation.derivations[0].total;
    }
  }
  state.counters["score"] = score / static_cast<double>(sentences.nodes.size());
}

void add(const std::string& name, const sentences_t& sentences, int stack, int option,
         int distort) {
  benchmark::RegisterBenchmark(name.c_str(), [=, &sentences](benchmark::State& state) {
    translate(state, sentences, stack, option, distort);
  })->Unit(benchmark::kMillisecond);
}

// Each thread has its own models and decoder, as handles do.
void threads(benchmark::State& state, const sentences_t& sentences) {
  std::vector<std::unique_ptr<engine_t>> engines;
  for (int k = 0; k < state.range(0); ++k) {
    engines.push_back(std::make_unique<engine_t>(100, 20, 6));
  }
  for (auto _ : state) {
    std::vector<std::jthread> running;
    for (const auto& engine : engines) {
      running.emplace_back([&] {
        std::string text;
        for (const auto& nodes : sentences.nodes) {
          engine->decoder->translate(nodes, text);
        }
      });
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(sentences.word_count) *
                          static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

}  // namespace

int main(int argc, char** argv) {
  static const sentences_t kMixed(60, 8, 32);
  add("default", kMixed, 100, 20, 6);
  static std::vector<std::unique_ptr<sentences_t>> lengths;
  for (const int length : {4, 8, 16, 32}) {
    lengths.push_back(std::make_unique<sentences_t>(400 / length, length, length));
    add("length:" + std::to_string(length), *lengths.back(), 100, 20, 6);
  }
  for (const int stack : {10, 25, 50, 200, 400}) {
    add("stack:" + std::to_string(stack), kMixed, stack, 20, 6);
  }
  for (const int option : {5, 10, 40}) {
    add("option:" + std::to_string(option), kMixed, 100, option, 6);
  }
  for (const int distort : {0, 2, 4, 12, -1}) {
    add("distort:" + std::to_string(distort), kMixed, 100, 20, distort);
  }
  add("stack:50/option:10/distort:4", kMixed, 50, 10, 4);
  benchmark::RegisterBenchmark("threads", [](benchmark::State& state) { threads(state, kMixed); })
      ->Arg(1)
      ->Arg(2)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
