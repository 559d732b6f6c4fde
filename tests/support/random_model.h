// Small random models, for tests that compare a fast part with a slow, obvious one.
//
//   TempFolder folder;
//   RandomModel model(folder.path(), {.seed = 7, .order = 3, .compact = true});
//   decoder::Parameter parameter(model.parameter_path().c_str());
//   decoder::SharedMember shared(&parameter, model.folder());
//
// makes a complete model folder (decoder parameters, both vocabularies, language
// model, phrase table, quantifiers) and keeps what went into it as plain records:
// `ngrams` and `pairs`. The same options give the same files. Scores are drawn from
// coarse grids, so that ties happen; about a fifth of the n-grams have contexts that
// are no entries themselves, as pruned models have. Words are "s1", "s2", ... and
// "t1", "t2", ...; both sides also know the tag words of "<name>", and the target
// "<s>" and "</s>".
//
// Needs kora_toolkit. With `pairs` 0 only the language model is written.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "toolkit/pack/phrase_entry.h"
#include "toolkit/resource/vocab_file.h"

namespace kora_test {

namespace toolkit = koralite::toolkit;

struct random_model_options_t {
  std::uint32_t seed = 1;
  int source_words = 12;  // besides "<unk>" and the tag words
  int target_words = 15;
  int order = 3;       // longest n-gram in the language model file
  int ngrams = 150;    // of two words or more
  int pairs = 120;     // phrase pairs
  int max_phrase = 3;  // words of either side
  bool compact = false;
  bool prune = false;  // seven scores
};

class RandomModel {
 public:
  struct ngram_t {
    std::vector<int> ids;
    float probability = 0;
    float back_off = 0;
  };

  RandomModel(std::string folder, const random_model_options_t& options);

  const std::string& folder() const { return folder_; }
  std::string parameter_path() const { return folder_ + "/decoder.conf"; }
  std::string lm_path() const { return folder_ + "/lm.bin"; }
  std::string quantifier_path() const { return folder_ + "/quantifier"; }

  const std::vector<ngram_t>& ngrams() const { return ngrams_; }
  const std::vector<toolkit::phrase_entry_t>& pairs() const { return pairs_; }

  int random(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

  // Any target id that an n-gram may hold.
  int random_target_word() {
    return random(6) == 0 ? (random(2) == 0 ? begin_ : end_) : target_word();
  }
  int end_id() const { return end_; }
  const std::vector<int>& target_ids() const { return target_ids_; }

 private:
  // Small numbers more often than large ones.
  int skewed(int limit) { return std::min(random(limit), random(limit)); }

  void make_vocabs();

  int source_word();

  int target_word();

  float grid(int low, int high, float step) {  // low to high steps
    return static_cast<float>(low + random(high - low + 1)) * step;
  }

  void make_lang_model();

  void make_phrase_table();

  std::string folder_;
  random_model_options_t options_;
  std::mt19937 random_;
  toolkit::VocabBuilder source_vocab_;
  toolkit::VocabBuilder target_vocab_;
  std::vector<int> source_ids_;
  std::vector<int> target_ids_;
  int begin_ = 0;
  int end_ = 0;
  std::vector<ngram_t> ngrams_;
  std::vector<toolkit::phrase_entry_t> pairs_;
};

}  // namespace kora_test
