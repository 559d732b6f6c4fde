// From parallel text to a model folder: runs all stages of training one after the
// other in a work folder that can be taken up again, and writes the finished
// folder last. One call uses its own threads; the result depends on neither their
// number nor on where it was interrupted.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "toolkit/model/direction.h"
#include "toolkit/progress.h"
#include "toolkit/train/engine_tuner.h"
#include "toolkit/train/preparation.h"
#include "toolkit/train/stages.h"

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
  std::size_t max_targets = 20;        // of a source phrase
  bool compact = true;
  int tune_rounds = 8;
  unsigned nbest = 100;
  std::vector<std::pair<std::string, std::string>> built_from;  // more lines for the manifest
};

// A sentence of the tuning set with what the finished model makes of it.
struct train_sample_t {
  std::string source;
  std::string output;
  std::string reference;
};

struct train_result_t {
  preparation_report_t preparation;
  std::vector<stage_time_t> times;
  std::vector<TuneRound> rounds;  // empty when tuning was left out
  std::vector<double> weights;
  std::vector<train_sample_t> samples;  // every so many sentences of the tuning set
  std::uint64_t sample_words = 0;       // source words of the whole tuning set
  std::uint64_t unknown_words = 0;      // of these, not in the vocabulary
  std::vector<std::string> unknown;     // the first of them
  std::vector<std::string> warnings;
};

// `say` is told each stage and warning as it comes. Throws std::runtime_error; a folder that was
// there before stays as it was then.
train_result_t train(const train_options_t& options, const Progress& progress,
                     const std::function<void(const std::string&)>& say);

}  // namespace koralite::toolkit
