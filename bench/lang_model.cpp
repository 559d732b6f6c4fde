// The packed language model: queries per second on a model of more than two
// million n-grams of up to five words, bytes per n-gram, and what opening costs.
//
//   cmake --preset release && cmake --build --preset release --target bench_lang_model
//   build/release/bin/bench_lang_model
//
// The model is made of synthetic text and written to the temporary folder once
// per run. Queries come from other text of the same source, in random order, with
// all trees visible; "order" is the mean length of the n-gram that is found.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/synthetic_text.h"
#include "decoder/compact_lm_model.h"
#include "toolkit/lm/lang_model_builder.h"

namespace {

using koralite::decoder::CompactLmModel;
using koralite::decoder::lm_levels_t;
using koralite::toolkit::lang_model_report_t;
using koralite::toolkit::LangModelBuilder;

constexpr int kWords = 40000;
constexpr int kFirstWord = 257;
constexpr int kTokens = 1000000;
constexpr std::size_t kOrder = 5;
constexpr std::int64_t kEverything = std::numeric_limits<std::int64_t>::max();

class ModelFile {
 public:
  ModelFile() : path_(std::filesystem::temp_directory_path() / "kora-bench-lm-XXXXXX") {
    ::close(::mkstemp(path_.data()));
    LangModelBuilder builder;
    kora_bench::SyntheticText text(kWords, 1);
    std::mt19937 random(7);
    for (int word = 0; word < kWords; ++word) {
      const std::array<int, 1> ids{kFirstWord + word};
      builder.add(ids, -2.0F - 0.0002F * static_cast<float>(word), -0.5F);
    }
    std::vector<int> ids;
    for (int i = 0; i < kTokens; ++i) {
      ids.push_back(kFirstWord + text.next());
      const std::span<const int> all(ids);
      for (std::size_t order = 2; order <= std::min(kOrder, all.size()); ++order) {
        const float score = -0.01F * static_cast<float>(random() % 400);
        builder.add(all.last(order), score, order == kOrder ? 0.0F : score / 4);
      }
    }
    report_ = builder.write(path_);
  }
  ModelFile(const ModelFile&) = delete;
  ModelFile& operator=(const ModelFile&) = delete;
  ~ModelFile() { std::filesystem::remove(path_); }

  const std::string& path() const { return path_; }
  const lang_model_report_t& report() const { return report_; }

 private:
  std::string path_;
  lang_model_report_t report_;
};

const ModelFile& model_file() {
  static const ModelFile kFile;
  return kFile;
}

// 5-grams of fresh text in random order, one after the other.
const std::vector<int>& queries() {
  static const std::vector<int> kQueries = [] {
    kora_bench::SyntheticText text(kWords, 2);
    std::vector<int> words(400000);
    for (int& word : words) {
      word = kFirstWord + text.next();
    }
    std::vector<std::size_t> starts(words.size() - kOrder);
    std::iota(starts.begin(), starts.end(), std::size_t{0});
    std::shuffle(starts.begin(), starts.end(), std::mt19937(3));
    std::vector<int> all;
    for (const std::size_t start : starts) {
      all.insert(all.end(), words.begin() + static_cast<std::ptrdiff_t>(start),
                 words.begin() + static_cast<std::ptrdiff_t>(start + kOrder));
    }
    return all;
  }();
  return kQueries;
}

void ngram_queries(benchmark::State& state) {
  const CompactLmModel model(model_file().path(), kOrder, kEverything);
  const std::vector<int>& words = queries();
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        model.compute_ngram_score(std::span<const int>(words).subspan(at, kOrder)));
    at += kOrder;
    if (at == words.size()) {
      at = 0;
    }
  }
  double found = 0;
  for (std::size_t i = 0; i < words.size(); i += kOrder) {
    lm_levels_t levels;
    model.TrieSearchInvert(std::span<const int>(words).subspan(i, kOrder), levels);
    found += levels.longest;
  }
  const lang_model_report_t& report = model_file().report();
  state.SetItemsProcessed(state.iterations());
  state.counters["ngrams"] = static_cast<double>(report.written);
  state.counters["pruned"] = static_cast<double>(report.pruned);
  state.counters["bytes_per_ngram"] =
      static_cast<double>(report.bytes) / static_cast<double>(report.written);
  state.counters["order"] = found / static_cast<double>(words.size() / kOrder);
}
BENCHMARK(ngram_queries);

// For scale: the same back-off over a hash table from n-grams to two floats.
struct hash_model_t {
  struct entry_t {
    float probability;
    float back_off;
  };
  std::unordered_map<std::uint64_t, entry_t> entries;

  static std::uint64_t key(std::span<const int> ids) {
    std::uint64_t key = 14695981039346656037U;
    for (const int id : ids) {
      key = (key ^ static_cast<std::uint64_t>(id)) * 0x9E3779B97F4A7C15U;
      key ^= key >> 29;
    }
    return key;
  }
  float score(std::span<const int> ids) const {
    std::size_t matched = ids.size();
    auto found = entries.end();
    for (; matched > 0; --matched) {
      if ((found = entries.find(key(ids.last(matched)))) != entries.end()) {
        break;
      }
    }
    if (matched == 0) {
      return -100.0F;
    }
    float score = found->second.probability;
    const auto context = ids.first(ids.size() - 1);
    for (std::size_t k = matched; k <= context.size(); ++k) {
      const auto weight = entries.find(key(context.last(k)));
      if (weight == entries.end()) {
        break;
      }
      score += weight->second.back_off;
    }
    return score;
  }
};

void ngram_queries_of_a_hash_table(benchmark::State& state) {
  static const hash_model_t kModel = [] {
    hash_model_t hashed;
    const CompactLmModel packed(model_file().path(), kOrder, kEverything);
    kora_bench::SyntheticText text(kWords, 1);
    std::vector<int> ids;
    float probability = 0;
    float back_off = 0;
    for (int i = 0; i < kTokens; ++i) {
      ids.push_back(kFirstWord + text.next());
      const std::span<const int> all(ids);
      for (std::size_t order = 1; order <= std::min(kOrder, all.size()); ++order) {
        if (packed.find_ngram_score(all.last(order), probability, back_off)) {
          hashed.entries[hash_model_t::key(all.last(order))] = {probability, back_off};
        }
      }
    }
    return hashed;
  }();
  const std::vector<int>& words = queries();
  std::size_t at = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(kModel.score(std::span<const int>(words).subspan(at, kOrder)));
    at += kOrder;
    if (at == words.size()) {
      at = 0;
    }
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["ngrams"] = static_cast<double>(kModel.entries.size());
}
BENCHMARK(ngram_queries_of_a_hash_table);

// What the search asks: the words of a phrase after a context whose walk is at hand. Items are
// words scored.
void joint_scores(benchmark::State& state) {
  const CompactLmModel model(model_file().path(), kOrder, kEverything);
  const std::vector<int>& words = queries();
  std::size_t at = 0;
  for (auto _ : state) {
    const auto context = std::span<const int>(words).subspan(at, kOrder - 1);
    const auto phrase = std::span<const int>(words).subspan(at + kOrder - 1, 3);
    lm_levels_t before;
    model.TrieSearchInvert(context, before);
    benchmark::DoNotOptimize(model.joint_score(context, before, phrase));
    at += kOrder;
    if (at + 2 * kOrder > words.size()) {
      at = 0;
    }
  }
  state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(joint_scores);

// With the engine's budget of resident trees.
void opening(benchmark::State& state) {
  const std::string& path = model_file().path();
  for (auto _ : state) {
    const CompactLmModel model(path, kOrder);
    benchmark::DoNotOptimize(model.resident_count());
  }
  state.counters["file_bytes"] = static_cast<double>(model_file().report().bytes);
}
BENCHMARK(opening)->Unit(benchmark::kMillisecond);

// A new sentence that can produce 600 different words, on a model that knows their trees already.
void preparing_a_sentence(benchmark::State& state) {
  CompactLmModel model(model_file().path(), kOrder);
  const std::span<const int> words = std::span<const int>(queries()).first(1000);
  for (auto _ : state) {
    model.add_to_cache(words);
  }
}
BENCHMARK(preparing_a_sentence)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
