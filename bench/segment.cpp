// The segmenter on a real word list: characters per second, and how well it finds
// words that are known.
//
//   build/release/bin/bench_segment [WORDS SURNAMES TEXT]
//
// By default the word list and text that script/demo leaves in cache/. Two
// measures of quality, as F1 of word spans: on text made of words drawn by their
// frequency, where the words are known for certain but their order is random, and
// against the word breaks of ICU on real text, which is no truth but a second
// opinion made with another dictionary.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lexicut/lexicut.h"
#include "toolkit/segment/segment_builder.h"
#include "toolkit/segment/word_breaks.h"

namespace {

using namespace koralite::toolkit;
using spans_t = std::set<std::pair<std::size_t, std::size_t>>;

struct destroy_t {
  void operator()(lexicut_model* model) const { lexicut_destroy(&model); }
  void operator()(lexicut_out* out) const { lexicut_destroy_out(&out); }
};
std::unique_ptr<lexicut_model, destroy_t> g_model;
std::vector<std::string> g_lines;

std::size_t characters_of(const std::string& text) {
  std::size_t count = 0;
  for (const char c : text) {
    count += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  }
  return count;
}

spans_t cut(const std::string& text) {
  const std::unique_ptr<lexicut_out, destroy_t> out(
      lexicut_create_out(static_cast<std::int32_t>(text.size()) + 1));
  lexicut_segment_full(g_model.get(), text.data(), static_cast<std::int32_t>(text.size()),
                       out.get(), LEXICUT_MODE_FULL);
  spans_t spans;
  for (std::int32_t i = 0; i < out->count; ++i) {
    const auto begin = static_cast<std::size_t>(out->offsets[i]);
    spans.emplace(begin, begin + static_cast<std::size_t>(out->lengths[i]));
  }
  return spans;
}

struct agreement_t {
  std::size_t both = 0;
  std::size_t ours = 0;
  std::size_t theirs = 0;

  void add(const spans_t& mine, const spans_t& other) {
    for (const auto& span : mine) {
      both += other.contains(span) ? 1 : 0;
    }
    ours += mine.size();
    theirs += other.size();
  }
  void print(const char* what) const {
    std::printf("%-42s F1 %.4f  (%zu words, precision %.4f, recall %.4f)\n", what,
                2.0 * static_cast<double>(both) / static_cast<double>(ours + theirs), theirs,
                static_cast<double>(both) / static_cast<double>(ours),
                static_cast<double>(both) / static_cast<double>(theirs));
  }
};

// Sentences of words drawn by frequency.
agreement_t on_known_words(const std::vector<segment_word_t>& words) {
  std::vector<double> weights;
  for (const segment_word_t& word : words) {
    weights.push_back(static_cast<double>(word.count));
  }
  std::discrete_distribution<std::size_t> draw(weights.begin(), weights.end());
  std::mt19937_64 random(11);
  agreement_t agreement;
  for (int sentence = 0; sentence < 2000; ++sentence) {
    std::string text;
    spans_t spans;
    for (int i = 0; i < 15; ++i) {
      const std::string& word = words[draw(random)].word;
      spans.emplace(text.size(), text.size() + word.size());
      text += word;
    }
    agreement.add(cut(text), spans);
  }
  return agreement;
}

agreement_t with_icu(std::size_t most_lines) {
  agreement_t agreement;
  for (std::size_t i = 0; i < std::min(most_lines, g_lines.size()); ++i) {
    spans_t spans;
    std::size_t begin = 0;
    for (const std::string& piece : word_pieces(g_lines[i], "zh")) {
      spans.emplace(begin, begin + piece.size());
      begin += piece.size();
    }
    agreement.add(cut(g_lines[i]), spans);
  }
  return agreement;
}

void Segment(benchmark::State& state) {
  const std::unique_ptr<lexicut_out, destroy_t> out(lexicut_create_out(1 << 16));
  std::size_t characters = 0;
  std::size_t bytes = 0;
  for (const std::string& line : g_lines) {
    characters += characters_of(line);
    bytes += line.size();
  }
  for (auto _ : state) {
    for (const std::string& line : g_lines) {
      benchmark::DoNotOptimize(lexicut_segment_full(g_model.get(), line.data(),
                                                    static_cast<std::int32_t>(line.size()),
                                                    out.get(), LEXICUT_MODE_FULL));
    }
  }
  const auto rounds = static_cast<double>(state.iterations());
  state.counters["characters/s"] =
      benchmark::Counter(static_cast<double>(characters) * rounds, benchmark::Counter::kIsRate);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(Segment)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::string resources = "cache/resources-zh-en/";
  const std::string words_path = argc > 1 ? argv[1] : resources + "words.tsv";
  const std::string surnames_path = argc > 2 ? argv[2] : resources + "surnames.txt";
  const std::string text_path = argc > 3 ? argv[3] : "cache/demo-en-zh/train.zh";
  std::ifstream text(text_path);
  if (!text) {
    std::fprintf(stderr, "%s is not there; run script/demo zh-en, or give WORDS SURNAMES TEXT\n",
                 text_path.c_str());
    return 1;
  }
  for (std::string line; std::getline(text, line);) {
    g_lines.push_back(std::move(line));
  }

  const auto words = read_segment_words(words_path);
  const auto surnames = read_segment_lines(surnames_path);
  const std::string model =
      (std::filesystem::temp_directory_path() / "kora-bench-segment").string();
  build_segment_dictionary(model, words, surnames);
  build_segment_names(model + "-names", words, surnames);
  g_model.reset(lexicut_load_model(model.c_str(), (model + "-names").c_str(), "", 0));
  if (!g_model) {
    std::fprintf(stderr, "%s could not be loaded again\n", model.c_str());
    return 1;
  }
  on_known_words(words).print("words drawn by frequency:");
  with_icu(20000).print("word breaks of ICU, real text:");
  benchmark::RunSpecifiedBenchmarks();
  g_model.reset();
  std::filesystem::remove(model);
  std::filesystem::remove(model + "-names");
}
