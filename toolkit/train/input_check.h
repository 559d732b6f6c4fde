// What can be known of training texts before the first stage runs: that the sides of each set
// have as many lines, that most of these are text in UTF-8 and differ from side to side, and that
// the sides are not the wrong way round. Free functions without state; they read the files once.
#pragma once

#include <string>
#include <vector>

#include "toolkit/train/train_options.h"

namespace koralite::toolkit {

// Throws std::runtime_error naming file, what is wrong and what mends it; IoError when a file
// can't be read.
void check_training_inputs(const train_options_t& options);

// The second file, line by line the translation of the first, has as many lines.
void check_same_length(const std::string& source, const std::string& target);

// The folder that training will put its result in may be replaced: it is not there, or empty, or a
// model folder whose weights were not tuned. `will_tune`: the new one will be tuned as well.
// `force`: replace any model folder, but never another one.
void check_output_folder(const std::string& path, bool will_tune, bool force);

}  // namespace koralite::toolkit
