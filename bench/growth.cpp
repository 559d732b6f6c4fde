// How cost grows with the size of a model: the same text from ever more sentence
// pairs, what loading the models takes, and what translating does.
//
//   build/release/bin/bench_growth
//
// Models are synthetic (search_model.h) and kept in the temporary folder; making
// them takes about a minute the first time. "file_MB" is the size of all files.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/search_model.h"
#include "decoder/decoder.h"
#include "decoder/shared_member.h"

namespace {

using namespace koralite::decoder;

double file_mb(const kora_bench::search_model_t& model) {
  std::uintmax_t bytes = 0;
  for (const auto& entry : std::filesystem::directory_iterator(model.folder)) {
    bytes += entry.file_size();
  }
  return static_cast<double>(bytes) / 1048576;
}

void loading(benchmark::State& state) {
  kora_bench::search_model_t model = kora_bench::search_model(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const SharedMember shared(&model.parameter, model.folder.string());
    benchmark::DoNotOptimize(&shared);
  }
  state.counters["file_MB"] = file_mb(model);
}

void translating(benchmark::State& state) {
  kora_bench::search_model_t model = kora_bench::search_model(static_cast<int>(state.range(0)));
  SharedMember shared(&model.parameter, model.folder.string());
  Decoder decoder(shared, nullptr, nullptr);
  auto sentences = kora_bench::search_sentences(20, 12, 12);
  std::string text;
  for (auto _ : state) {
    for (auto& sentence : sentences) {
      std::vector<koralite::common::word_node_t> nodes;
      for (auto& word : sentence) {
        nodes.push_back({word.data(), nullptr, nullptr});
      }
      decoder.translate(nodes, text);
    }
  }
  state.SetItemsProcessed(state.iterations() * 20 * 12);
  state.counters["file_MB"] = file_mb(model);
}

void sizes(benchmark::internal::Benchmark* row) {
  row->ArgName("pairs")->Unit(benchmark::kMillisecond);
  for (const int pairs : {3750, 7500, 15000, 30000}) {
    row->Arg(pairs);
  }
}
BENCHMARK(loading)->Apply(sizes);
BENCHMARK(translating)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
