// Packs text models into a model folder: a phrase table, a reordering table and an
// ARPA model as other tools write them, with word lists, rules and names.
//
// The folder is made beside its final name and renamed when it is whole; an error
// leaves nothing after. One call, one thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "toolkit/folder/direction.h"

namespace koralite::toolkit {

struct pack_options_t {
  direction_t direction;
  std::string phrases;     // required
  std::string reordering;  // may be empty, as all that follow but lang_model and output
  std::string lang_model;  // ARPA; required
  std::string dictionary;  // words for the segmenter of sources without blanks
  std::string surnames;    // for it
  std::string ambiguous;   // strings with a fixed segmentation, for it
  std::string anti_names;  // words that it must not take for names of persons
  std::string readings;    // Unihan readings, for the names of persons in Chinese
  std::string rules;       // number rules
  std::string entities;    // names: lines SOURCE TAB TYPE TAB TARGET
  std::string recase;      // words with their capitals, for English output
  std::vector<double> weights = {1.0, 1.0, 1.0, 1.0};  // of the scores of a phrase pair
  bool keep_escapes = false;  // leave "&apos;" and the like as they are in tables and ARPA model
  int order = 5;
  int max_targets = 50;
  bool compact = true;
  std::string output;  // must not exist
};

// `tell` gets a line for everything that was dropped or clamped. Throws IoError
// for files that cannot be read or written, and std::runtime_error that names file
// and place for contents.
void pack_folder(const pack_options_t& options,
                 const std::function<void(const std::string&)>& tell);

}  // namespace koralite::toolkit
