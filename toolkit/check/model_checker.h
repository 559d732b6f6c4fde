// Checks a model folder completely: the manifest, and inside every binary file
// each offset, link, id, order and code, also those that no sentence may ever
// reach. A free function; keeps nothing open.
#pragma once

#include <string>
#include <vector>

#include "toolkit/folder/model_folder.h"

namespace koralite::toolkit {

struct check_report_t {
  // "FILE: position: what is wrong; what to do", at most 20 a file.
  std::vector<std::string> problems;
  // "FILE: what it holds", for files without a problem.
  std::vector<std::string> facts;
};

// Throws nothing for damage of any kind; all of it is in the report. A folder that was made by
// other means has no manifest to compare with.
check_report_t check_model_folder(const model_folder_t& folder, bool with_manifest = true);

}  // namespace koralite::toolkit
