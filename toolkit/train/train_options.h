// What training is told: the texts, the resources to make a model's resources of,
// where the model goes, and the limits of each stage. A plain value.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/folder/direction.h"

namespace koralite::toolkit {

struct train_options_t {
  direction_t direction;
  std::string source;  // text files, a sentence a line
  std::string target;
  std::string dev_source;  // for tuning; without them the default weights stay
  std::string dev_target;
  std::vector<std::string> lm_text;  // more text in the target language

  std::string dictionary;   // words with counts for Chinese or Japanese; without it, ICU's words
  std::string surnames;     // of persons, for Chinese
  std::string ambiguous;    // strings with a fixed segmentation
  std::string readings;     // Unihan readings, for Chinese sources
  std::string entities;     // lines SOURCE TAB TYPE TAB TARGET
  std::string names;        // the same, for the finished model only
  std::string word_pairs;   // a dictionary: lines SOURCE TAB TARGET
  double sightings = 2;     // how often a phrase of it passes for seen in text
  std::string rules;        // number rules as people write them
  std::string recase_text;  // more English text with its capitals
  std::string sources;      // table of where the text comes from: name, licence, more columns

  std::string output;  // the model folder; OUTPUT.html is the report
  std::string work;    // the work folder; OUTPUT.work if empty

  unsigned threads = 0;
  std::size_t order = 5;               // of the language model
  double entropy_threshold = 0;        // of its pruning
  double min_significance = 0;         // of phrase pairs
  std::size_t always_significant = 0;  // source words up to which that does not matter
  double min_lexical = 0;              // mean word probability below which a pair seen once goes
  std::size_t max_targets = 20;        // of a source phrase
  bool compact = true;
  int tune_rounds = 8;
  int tune_averages = 3;  // optima whose mean is tried after the last round
  unsigned nbest = 100;
  std::vector<std::pair<std::string, std::string>> built_from;  // more lines for the manifest
};

}  // namespace koralite::toolkit
