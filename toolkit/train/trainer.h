// From parallel text to a model folder: runs all stages of training one after the
// other in a work folder that can be taken up again, and writes the finished
// folder last. One call uses its own threads; the result depends on neither their
// number nor on where it was interrupted.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "toolkit/io/progress.h"
#include "toolkit/train/preparation.h"
#include "toolkit/train/stages.h"
#include "toolkit/train/train_options.h"
#include "toolkit/tune/engine_tuner.h"

namespace koralite::toolkit {

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
