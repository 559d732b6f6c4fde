// A model folder of real size without a corpus, and sentences to translate with
// it. Target text is synthetic (words by Zipf's law, many following from the two
// before); source text is made from it word by word with noise, so that frequent
// words have many translations, and with words out of order. Phrase pairs,
// reordering counts and n-grams are then extracted and counted as from real text.
//
// Made once and kept in the temporary folder; the same seed gives the same model.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/synthetic_text.h"
#include "decoder/compact_lm_model.h"
#include "decoder/parameter.h"
#include "decoder/vocab.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/pack/phrase_table_builder.h"

namespace kora_bench {

// One pair: target words as ranks, source words as ranks, and where in the target
// each source word comes from.
struct synthetic_pair_t {
  std::vector<int> target;
  std::vector<int> source;
  std::vector<int> from;
};

class SyntheticPairs {
 public:
  static constexpr int kWords = 30000;

  explicit SyntheticPairs(std::uint32_t seed) : text_(kWords, seed), random_(seed + 1) {}

  synthetic_pair_t next(int words) {
    synthetic_pair_t pair;
    for (int k = 0; k < words; ++k) {
      pair.target.push_back(text_.next());
    }
    for (int k = 0; k < words; ++k) {
      if (chance(8)) {
        continue;  // some words have no counterpart
      }
      pair.source.push_back(counterpart(pair.target[static_cast<std::size_t>(k)]));
      pair.from.push_back(k);
    }
    for (std::size_t k = 0; k + 2 < pair.source.size(); ++k) {
      if (!chance(12)) {
        continue;  // a word moves behind the one or two after it
      }
      const auto by = static_cast<std::ptrdiff_t>(1 + random_() % 2);
      const auto at = static_cast<std::ptrdiff_t>(k);
      std::rotate(pair.source.begin() + at, pair.source.begin() + at + 1,
                  pair.source.begin() + at + 1 + by);
      std::rotate(pair.from.begin() + at, pair.from.begin() + at + 1,
                  pair.from.begin() + at + 1 + by);
      k += static_cast<std::size_t>(by);
    }
    return pair;
  }

 private:
  bool chance(int percent) { return static_cast<int>(random_() % 100) < percent; }

  // Mostly one of a few words of about the same frequency, sometimes any.
  int counterpart(int word) {
    if (chance(10)) {
      return static_cast<int>(random_() % 200);
    }
    int choice = 0;
    while (choice < 6 && chance(35)) {
      ++choice;
    }
    std::uint64_t mixed =
        (static_cast<std::uint64_t>(word) * 8 + static_cast<std::uint64_t>(choice)) *
        0x9E3779B97F4A7C15U;
    mixed ^= mixed >> 31;
    const double spread = 0.6 + 0.8 * static_cast<double>(mixed % 1000) / 1000;
    return std::min(kWords - 1, static_cast<int>((word + 2) * spread));
  }

  SyntheticText text_;
  std::mt19937 random_;
};

struct search_model_t {
  std::filesystem::path folder;
  koralite::decoder::Parameter parameter;  // the defaults, order 5, compact table
};

class SearchModelMaker {
 public:
  explicit SearchModelMaker(search_model_t model) : model_(std::move(model)) {}

  void make(int sentences) {
    SyntheticPairs pairs(1);
    std::mt19937 random(5);
    for (int k = 0; k < sentences; ++k) {
      const synthetic_pair_t pair = pairs.next(5 + static_cast<int>(random() % 26));
      count_grams(pair.target);
      count_phrases(pair);
    }
    write_vocabs();
    write_lang_model();
    write_phrase_table();
  }

 private:
  static constexpr int kFirst = 257;        // the most frequent source word
  static constexpr int kTargetFirst = 259;  // behind "<s>" and "</s>"
  static constexpr int kOrder = 5;
  static constexpr std::size_t kPhrase = 5;

  using words_t = std::vector<std::int32_t>;
  struct hash_t {
    std::size_t operator()(const words_t& words) const {
      std::uint64_t hash = 7;
      for (const std::int32_t word : words) {
        hash = (hash ^ static_cast<std::uint32_t>(word)) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 31;
      }
      return hash;
    }
  };
  struct phrase_count_t {
    float pairs = 0;
    std::array<float, 6> reorder{};
  };

  void count_grams(const std::vector<int>& target) {
    words_t words = {257};
    for (const int word : target) {
      words.push_back(kTargetFirst + word);
    }
    words.push_back(258);
    for (std::size_t end = 1; end <= words.size(); ++end) {
      for (std::size_t n = 1; n <= std::min<std::size_t>(end, kOrder); ++n) {
        const auto at = words.begin() + static_cast<std::ptrdiff_t>(end);
        ++grams_[words_t(at - static_cast<std::ptrdiff_t>(n), at)];
      }
    }
  }

  // All phrase pairs that cut no link, and how each stands to its neighbours.
  void count_phrases(const synthetic_pair_t& pair) {
    const std::size_t size = pair.source.size();
    for (std::size_t i = 0; i < size; ++i) {
      int low = pair.from[i];
      int high = low;
      for (std::size_t j = i; j < std::min(size, i + kPhrase); ++j) {
        low = std::min(low, pair.from[j]);
        high = std::max(high, pair.from[j]);
        const auto inside = [&](std::size_t k) {
          return pair.from[k] >= low && pair.from[k] <= high;
        };
        bool whole = high - low < static_cast<int>(kPhrase);
        for (std::size_t k = 0; k < size; ++k) {
          whole = whole && ((k >= i && k <= j) || !inside(k));
        }
        if (!whole) {
          continue;
        }
        words_t key = {static_cast<std::int32_t>(j - i + 1)};
        for (std::size_t k = i; k <= j; ++k) {
          key.push_back(kFirst + pair.source[k]);
        }
        for (int k = low; k <= high; ++k) {
          key.push_back(kTargetFirst + pair.target[static_cast<std::size_t>(k)]);
        }
        phrase_count_t& count = phrases_[key];
        ++count.pairs;
        ++sources_[words_t(key.begin() + 1, key.begin() + 1 + key[0])];
        ++targets_[words_t(key.begin() + 1 + key[0], key.end())];
        const bool monotone = i == 0 ? low == 0 : pair.from[i - 1] == low - 1;
        const bool swap = j + 1 < size && pair.from[j + 1] == low - 1;
        ++count.reorder[monotone ? 0U : swap ? 1U : 2U];
        const bool next_monotone = j + 1 == size || pair.from[j + 1] == high + 1;
        const bool next_swap = i > 0 && pair.from[i - 1] == high + 1;
        ++count.reorder[next_monotone ? 3U : next_swap ? 4U : 5U];
      }
    }
  }

  void write_vocabs() const {
    koralite::decoder::Vocab source;
    koralite::decoder::Vocab target;
    target.encode("<s>");
    target.encode("</s>");
    for (int rank = 0; rank < SyntheticPairs::kWords; ++rank) {
      source.encode(("s" + std::to_string(rank)).c_str());
      target.encode(("t" + std::to_string(rank)).c_str());
    }
    source.save((model_.folder / model_.parameter.source_vocab).c_str());
    target.save((model_.folder / model_.parameter.target_vocab).c_str());
  }

  // Absolute discounting with back-off; n-grams of three and more words count
  // from two on, unless they lead to longer ones.
  void write_lang_model() const {
    constexpr double kDiscount = 0.7;
    struct context_t {
      double total = 0;
      double kinds = 0;
    };
    std::unordered_map<words_t, context_t, hash_t> contexts;
    double tokens = 0;
    for (const auto& [words, count] : grams_) {
      if (words.size() == 1) {
        tokens += count;
        continue;
      }
      context_t& context = contexts[words_t(words.begin(), words.end() - 1)];
      context.total += count;
      ++context.kinds;
    }
    koralite::toolkit::LangModelBuilder builder({.end_id = 258});
    for (const auto& [words, count] : grams_) {
      const auto own = contexts.find(words);
      const bool leads = own != contexts.end();
      if (words.size() > 2 && count < 2) {
        continue;
      }
      double total = tokens;
      double discount = 0;
      if (words.size() > 1) {
        total = contexts.at(words_t(words.begin(), words.end() - 1)).total;
        discount = kDiscount;
      }
      const double back_off =
          leads ? std::log(kDiscount * own->second.kinds / own->second.total) : 0;
      builder.add(words, static_cast<float>(std::log((count - discount) / total)),
                  static_cast<float>(back_off));
    }
    builder.write(model_.folder / model_.parameter.lang_model);
  }

  void write_phrase_table() const {
    using namespace koralite;
    decoder::CompactLmModel lang_model(model_.folder / model_.parameter.lang_model, kOrder);
    toolkit::phrase_table_options_t options;
    options.compact = true;
    options.quantifier_path = model_.folder / model_.parameter.compress_vocab;
    options.lang_model = &lang_model;
    toolkit::PhraseTableBuilder builder(options);
    for (const auto& [key, count] : phrases_) {
      const auto cut = key.begin() + 1 + key[0];
      const words_t source(key.begin() + 1, cut);
      const words_t target(cut, key.end());
      toolkit::phrase_entry_t entry;
      entry.source = toolkit::phrase_t(source);
      entry.target = toolkit::phrase_t(target);
      entry.translation = std::log(count.pairs / static_cast<float>(sources_.at(source))) +
                          std::log(count.pairs / static_cast<float>(targets_.at(target)));
      entry.kind = toolkit::ReorderingKind::kCounts;
      entry.reordering = count.reorder;
      builder.add(entry);
    }
    builder.write(model_.folder / model_.parameter.trans_model);
  }

  search_model_t model_;
  std::unordered_map<words_t, int, hash_t> grams_;
  std::unordered_map<words_t, phrase_count_t, hash_t> phrases_;
  std::unordered_map<words_t, int, hash_t> sources_;
  std::unordered_map<words_t, int, hash_t> targets_;
};

// The model of so many sentence pairs; makes it first if it is not there, which takes about half a
// minute for 30,000.
inline search_model_t search_model(int sentences = 30000) {
  search_model_t model;
  model.folder =
      std::filesystem::temp_directory_path() / ("kora-bench-search-1-" + std::to_string(sentences));
  model.parameter.ngram_order = 5;
  model.parameter.compress = true;
  model.parameter.source_vocab = "source.vocab";
  model.parameter.target_vocab = "target.vocab";
  model.parameter.compress_vocab = "quantifier";
  model.parameter.lang_model = "lm";
  model.parameter.trans_model = "phrases";
  const std::filesystem::path finished = model.folder / "finished";
  if (!std::filesystem::exists(finished)) {
    std::filesystem::create_directories(model.folder);
    SearchModelMaker(model).make(sentences);
    std::ofstream(finished) << "1\n";
  }
  return model;
}

// Fresh source sentences of `low` to `high` words.
inline std::vector<std::vector<std::string>> search_sentences(int count, int low, int high) {
  SyntheticPairs pairs(99);
  std::mt19937 random(3);
  std::vector<std::vector<std::string>> sentences;
  while (static_cast<int>(sentences.size()) < count) {
    const int wanted = low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
    const synthetic_pair_t pair = pairs.next(wanted + wanted / 8 + 1);
    if (static_cast<int>(pair.source.size()) < wanted) {
      continue;
    }
    auto& sentence = sentences.emplace_back();
    for (int k = 0; k < wanted; ++k) {
      sentence.push_back("s" + std::to_string(pair.source[static_cast<std::size_t>(k)]));
    }
  }
  return sentences;
}

}  // namespace kora_bench
