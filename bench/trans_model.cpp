// The packed phrase table: sentences per second on a table of more than a million
// phrase pairs, bytes per pair of the compact form, and what opening costs.
//
//   cmake --preset release && cmake --build --preset release --target bench_trans_model
//   build/release/bin/bench_trans_model
//
// Source phrases are those of synthetic text, target phrases are drawn by the same
// law; both forms of the table are written to a temporary folder once per run.
// Sentences are 25 words of other text of the same source.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "bench/synthetic_text.h"
#include "decoder/compact_lm_model.h"
#include "decoder/compact_trans_model.h"
#include "decoder/compressor.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"

namespace {

using koralite::decoder::CompactLmModel;
using koralite::decoder::CompactTransModel;
using koralite::decoder::Compressor;
using koralite::decoder::target_entry_t;
using koralite::decoder::TargetData;
using koralite::toolkit::phrase_entry_t;
using koralite::toolkit::phrase_table_report_t;
using koralite::toolkit::PhraseTableBuilder;

constexpr int kWords = 40000;
constexpr int kFirstWord = 257;
constexpr std::size_t kSentence = 25;
constexpr int kOption = 20;  // entries decoded of a block

class Tables {
 public:
  Tables() : folder_((std::filesystem::temp_directory_path() / "kora-bench-XXXXXX").string()) {
    if (::mkdtemp(folder_.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    koralite::toolkit::LangModelBuilder words;
    for (int word = 0; word < kFirstWord + kWords; ++word) {
      words.add(std::array<int, 1>{word}, -1.0F - 0.0003F * static_cast<float>(word), 0);
    }
    words.write(folder_ + "/lm");
    for (const bool compact : {false, true}) {
      report_[compact] = build(compact);
    }
  }
  Tables(const Tables&) = delete;
  Tables& operator=(const Tables&) = delete;
  ~Tables() { std::filesystem::remove_all(folder_); }

  std::string path(bool compact) const { return folder_ + (compact ? "/compact" : "/plain"); }
  std::string quantifier() const { return folder_ + "/quantifier"; }
  const phrase_table_report_t& report(bool compact) const { return report_[compact]; }

 private:
  phrase_table_report_t build(bool compact) {
    CompactLmModel lang_model(folder_ + "/lm", 1);
    PhraseTableBuilder builder(
        {.compact = compact, .quantifier_path = quantifier(), .lang_model = &lang_model});
    kora_bench::SyntheticText text(kWords, 1);
    kora_bench::SyntheticText targets(kWords, 2);
    std::mt19937 random(3);
    std::vector<int> source;
    std::set<std::vector<int>> seen;
    while (seen.size() < 350000) {
      const std::size_t length = 1 + std::min(random() % 5, random() % 5);
      source.clear();
      while (source.size() < length) {
        source.push_back(kFirstWord + text.next());
      }
      if (!seen.insert(source).second) {
        continue;
      }
      phrase_entry_t pair;
      for (const int word : source) {
        pair.source.push_back(word);
      }
      // Short phrases have many translations, long ones one or two.
      const auto count = 1 + random() % (length == 1 ? 20 : length == 2 ? 8 : 2);
      for (std::size_t i = 0; i < count; ++i) {
        pair.target = {};
        const std::size_t words = std::max<std::size_t>(1, length + random() % 3 - 1);
        while (pair.target.count < words) {
          pair.target.push_back(kFirstWord + targets.next());
        }
        pair.translation = -0.001F * static_cast<float>(random() % 12000);
        pair.kind = koralite::toolkit::ReorderingKind::kCounts;
        for (float& seen_so_often : pair.reordering) {
          seen_so_often = static_cast<float>(random() % 9);
        }
        builder.add(pair);
      }
    }
    return builder.write(path(compact));
  }

  std::string folder_;
  std::array<phrase_table_report_t, 2> report_;
};

const Tables& tables() {
  static const Tables kTables;
  return kTables;
}

const std::vector<int>& sentences() {
  static const std::vector<int> kAllWords = [] {
    kora_bench::SyntheticText text(kWords, 4);
    std::vector<int> all(kSentence * 4000);
    for (int& word : all) {
      word = kFirstWord + text.next();
    }
    return all;
  }();
  return kAllWords;
}

void tell_size(benchmark::State& state, bool compact) {
  const phrase_table_report_t& report = tables().report(compact);
  state.counters["pairs"] = static_cast<double>(report.written);
  state.counters["bytes_per_pair"] =
      static_cast<double>(report.bytes()) / static_cast<double>(report.written);
}

void search_sentence(benchmark::State& state) {
  const bool compact = state.range(0) != 0;
  const CompactTransModel model(tables().path(compact));
  const std::span<const int> words(sentences());
  CompactTransModel::target_table_t table;
  std::size_t at = 0;
  for (auto _ : state) {
    model.search_sentence(words.subspan(at, kSentence), table);
    benchmark::DoNotOptimize(table.data());
    at = (at + kSentence) % words.size();
  }
  state.SetItemsProcessed(state.iterations());
  tell_size(state, compact);
}
BENCHMARK(search_sentence)->ArgName("compact")->Arg(0)->Arg(1);

// The same, and the first 20 entries of each block decoded. Items are sentences.
void search_and_decode(benchmark::State& state) {
  const bool compact = state.range(0) != 0;
  const CompactTransModel model(tables().path(compact));
  const Compressor compressor(tables().quantifier(), 9);
  const std::span<const int> words(sentences());
  CompactTransModel::target_table_t table;
  std::size_t at = 0;
  std::uint64_t entries = 0;
  for (auto _ : state) {
    model.search_sentence(words.subspan(at, kSentence), table);
    for (std::size_t i = 0; i < kSentence; ++i) {
      for (TargetData& cell : table[i]) {
        target_entry_t entry;
        for (int n = 0; n < kOption && cell.next(compact ? &compressor : nullptr, entry); ++n) {
          benchmark::DoNotOptimize(entry);
          ++entries;
        }
      }
    }
    at = (at + kSentence) % words.size();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["entries_per_sentence"] =
      static_cast<double>(entries) / static_cast<double>(state.iterations());
}
BENCHMARK(search_and_decode)->ArgName("compact")->Arg(0)->Arg(1);

void opening(benchmark::State& state) {
  const std::string path = tables().path(true);
  for (auto _ : state) {
    const CompactTransModel model(path);
    const Compressor compressor(tables().quantifier(), 9);
    benchmark::DoNotOptimize(model.head_count());
  }
}
BENCHMARK(opening)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
