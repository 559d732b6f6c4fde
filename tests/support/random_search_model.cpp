#include "support/random_search_model.h"

#include <cmath>

namespace kora_test {

RandomSearchModel::RandomSearchModel(unsigned seed) : random_(seed) {
  words_ = {"a", "b", "c", "d", "e", "f", "g", "(", ")", ",", ".", "\"", "<num>#0", "<name>#3"};
  for (const std::string& word : words_) {
    model.source.encode(word.c_str());
  }
  for (const char* word : {"<num>#0", "<place>#0", "P", "Q", "R", "S", "T", "U", "V"}) {
    model.target.encode(word);
  }
  target_count_ = static_cast<int>(model.target.word_count());
  fill_parameters();
  fill_pairs();
  fill_grams();
}

void RandomSearchModel::fill_parameters() {
  decoder::Parameter& p = model.parameter;
  p.combine = chance(70);
  p.prune = chance(30);
  p.compress = chance(30);
  p.stack_limit = static_cast<int>(pick_of({1, 2, 7, 100}));
  p.translation_limit = static_cast<int>(pick_of({1, 3, 20}));
  p.distortion_limit = static_cast<int>(pick_of({-1, 0, 1, 2, 6, 2147483647.0F}));
  p.ngram_order = chance(20) ? pick(6, 8) : pick(1, 5);
  p.beam_threshold = pick_of({0.25F, 3, 11.512F, 1e30F});
  p.distortion_weight = pick_of({0.3F, 0, -0.1F, 1});
  p.reordering_weight = pick_of({0.3F, 0, 1, -0.5F});
  p.lang_weight = pick_of({0.5F, 0.5F, 1, 0, -0.5F});
  p.unknown_weight = pick_of({100, 5});
  if (chance(4)) {
    p.lang_weight = INFINITY;
  }
  if (chance(4)) {
    p.word_weight = -INFINITY;
  }
  if (chance(4)) {
    p.beam_threshold = INFINITY;
  }
}

// A few words are frequent, so that longer phrases of the table are met.
const std::string& RandomSearchModel::source_word() {
  return words_[static_cast<std::size_t>(chance(80) ? pick(0, 3) : pick(4, 13))];
}

int RandomSearchModel::target_word() {
  if (chance(8)) {
    return pick(0, 17);  // tags, and ids just behind the last one
  }
  if (chance(2)) {
    return 60000;
  }
  return 256 + pick(0, target_count_ - 1);
}

void RandomSearchModel::fill_pairs() {
  const bool strange = !model.parameter.compress && chance(10);
  for (int count = pick(20, 100); count > 0; --count) {
    TestPair pair;
    for (int n = chance(10) ? pick(4, 8) : pick(1, 3); n > 0; --n) {
      pair.source.push_back(chance(2) ? 256 : model.source.encode(source_word().c_str()));
    }
    for (int variants = pick(1, chance(20) ? 12 : 4); variants > 0; --variants) {
      pair.target.clear();
      for (int n = chance(4) ? pick(7, 10) : pick(0, 3); n > 0; --n) {
        pair.target.push_back(target_word());
      }
      pair.scores.clear();
      for (int k = 0; k < 3; ++k) {
        pair.scores.push_back(step(-16, 0, 0.5F));
      }
      for (int k = 0; k < 6; ++k) {
        pair.scores.push_back(step(-60, 0, 0.05F));
      }
      if (strange && chance(10)) {
        pair.scores[static_cast<std::size_t>(pick(0, 8))] = pick_of({NAN, INFINITY, -INFINITY});
      }
      model.pairs.push_back(pair);
    }
  }
}

void RandomSearchModel::fill_grams() {
  const int longest = std::min(model.parameter.ngram_order + pick(-1, 1), 8);
  for (int id = 0; id < 256 + target_count_ - 1; ++id) {  // the last word is unknown to the model
    if (id == 20) {
      id = 256;
    }
    if (chance(90)) {
      model.grams.push_back({{id}, step(-24, 0, 0.25F), step(-4, 2, 0.25F)});
    }
  }
  for (int count = pick(20, 300); count > 0; --count) {
    TestGram gram;
    for (int n = pick(2, std::max(2, longest)); n > 0; --n) {
      gram.words.push_back(chance(8) ? 0 : 256 + pick(0, target_count_ - 2));
    }
    gram.probability = step(-16, 0, 0.25F);
    gram.back_off = step(-4, 2, 0.25F);
    model.grams.push_back(gram);
  }
}

std::vector<std::string> RandomSearchModel::sentence(int longest) {
  std::vector<std::string> result;
  for (int n = pick(1, longest); n > 0; --n) {
    result.push_back(chance(5) ? "unheard" : source_word());
  }
  return result;
}

}  // namespace kora_test
