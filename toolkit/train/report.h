// The report of a training run: one HTML page without outside resources that says
// what a model was made from and how good it became. Free functions, no state.
#pragma once

#include <string>
#include <vector>

#include "toolkit/folder/manifest.h"
#include "toolkit/train/trainer.h"

namespace koralite::toolkit {

// The page as text.
std::string format_report(const train_result_t& result, const manifest_t& manifest);

}  // namespace koralite::toolkit
