// Vocabulary: time to load 65,000 words and lookups per second, with std::map and
// std::unordered_map over the same words for scale.
//   build/release/bin/bench_vocab

#include "decoder/vocab.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/string_index.h"
#include "toolkit/resource/vocab_file.h"

namespace {

using koralite::common::StringIndex;
using koralite::decoder::Vocab;

constexpr std::size_t kWords = 65000;

// Two thirds Latin words of one to four syllables, one third Chinese words of one to three
// characters: about the lengths and shared fronts of a real vocabulary.
std::vector<std::string> make_words(unsigned seed, std::size_t count) {
  static const char* const kSyllables[] = {"con", "re",  "in",  "ment", "a", "ter",
                                           "un",  "pro", "er",  "tion", "s", "de",
                                           "ing", "ly",  "com", "per",  "o", "ven"};
  std::mt19937 random(seed);
  std::set<std::string> seen = {"<unk>"};
  std::vector<std::string> words = {"<unk>"};
  while (words.size() < count) {
    std::string word;
    if (random() % 3 != 0) {
      for (auto n = 1 + random() % 4; n > 0; --n) {
        word += kSyllables[random() % 18];
      }
    } else {
      for (auto n = 1 + random() % 3; n > 0; --n) {
        const auto code = 0x4E00 + random() % 3000;
        word += {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 63)),
                 static_cast<char>(0x80 | (code & 63))};
      }
    }
    if (seen.insert(word).second) {
      words.push_back(word);
    }
  }
  return words;
}

struct Fixture {
  std::string path;
  std::vector<std::string> words = make_words(1, kWords);
  std::vector<std::string> queries;  // the words in random order
  std::vector<std::string> misses;   // like them, but ending otherwise

  Fixture() : path("/tmp/kora-bench-vocab-" + std::to_string(::getpid())) {
    koralite::toolkit::write_vocab_file(path, words);
    queries = words;
    std::shuffle(queries.begin(), queries.end(), std::mt19937(2));
    for (const std::string& word : queries) {
      misses.push_back(word + "~");
    }
  }
  Fixture(const Fixture&) = delete;
  Fixture& operator=(const Fixture&) = delete;
  ~Fixture() { std::remove(path.c_str()); }
};

const Fixture& fixture() {
  static const Fixture kInstance;
  return kInstance;
}

void load_vocab(benchmark::State& state) {
  const Fixture& f = fixture();
  for (auto _ : state) {
    Vocab vocab;
    vocab.load(f.path.c_str());
    benchmark::DoNotOptimize(vocab.word_count());
  }
}
BENCHMARK(load_vocab)->Unit(benchmark::kMillisecond);

// What loading would cost if entries were inserted one at a time, in file order.
void load_by_inserting(benchmark::State& state) {
  StringIndex source;
  source.load(fixture().path);
  for (auto _ : state) {
    StringIndex index;
    for (const auto& node : source.nodes()) {
      index.insert(node.text, node.id);
    }
    benchmark::DoNotOptimize(index.size());
  }
}
BENCHMARK(load_by_inserting)->Unit(benchmark::kMillisecond);

template <class Find>
void run_lookups(benchmark::State& state, const std::vector<std::string>& queries, Find&& find) {
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(find(queries[next]));
    if (++next == queries.size()) {
      next = 0;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void find_known(benchmark::State& state) {
  Vocab vocab;
  vocab.load(fixture().path.c_str());
  int id = 0;
  run_lookups(state, fixture().queries,
              [&](const std::string& word) { return vocab.find(word.c_str(), id); });
}
BENCHMARK(find_known);

void find_unknown(benchmark::State& state) {
  Vocab vocab;
  vocab.load(fixture().path.c_str());
  int id = 0;
  run_lookups(state, fixture().misses,
              [&](const std::string& word) { return vocab.find(word.c_str(), id); });
}
BENCHMARK(find_unknown);

template <class Map>
void find_in(benchmark::State& state) {
  Map map;
  for (const std::string& word : fixture().words) {
    map.emplace(word, static_cast<int>(map.size()));
  }
  run_lookups(state, fixture().queries,
              [&](const std::string& word) { return map.find(word) != map.end(); });
}
BENCHMARK(find_in<std::map<std::string, int>>)->Name("find_in_std_map");
BENCHMARK(find_in<std::unordered_map<std::string, int>>)->Name("find_in_std_unordered_map");

}  // namespace

BENCHMARK_MAIN();
