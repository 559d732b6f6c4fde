// A model folder: the unit that training makes, `kora` takes with -m and an app
// ships. It holds engine.conf, the decoder parameter file that engine.conf
// names, the models and resources, and a manifest (docs/format-model-folder.md).
// Values and free functions; nothing here keeps a file open.
#pragma once

#include <string>
#include <vector>

#include "decoder/parameter.h"
#include "toolkit/folder/direction.h"

namespace koralite::toolkit {

// What engine.conf says. File names are relative to the folder; an empty one
// leaves that service out.
struct engine_config_t {
  direction_t direction;
  std::string decoder = "decoder.conf";
  bool debug = false;
  std::string recase;             // casing of English output
  std::string entities;           // dictionary of named entities
  std::string rules;              // number and date rules
  std::string segment;            // word list of the segmenter
  std::string segment_name;       // person name statistics
  std::string ambiguous_path;     // strings with a fixed segmentation
  std::string anti_name;          // words that are no person names
  std::string single_word_split;  // "1" splits by character, "0" keeps spaces; Asian sources
  std::string pinyin;             // readings for unknown Chinese words
};

// The text of engine.conf and of the decoder parameter file.
std::string format_engine_config(const engine_config_t& config);
std::string format_decoder_config(const decoder::Parameter& parameter);

// The whole of a folder's configuration.
struct model_folder_t {
  std::string path;
  engine_config_t engine;
  decoder::Parameter decoder;
  std::string config;  // a file that takes the place of the folder's engine.conf, or empty

  std::string file(const std::string& name) const { return path + '/' + name; }
  std::string engine_path() const { return config.empty() ? file("engine.conf") : config; }

  // Every file that the two configurations name, engine.conf first unless another
  // file stands for it; of a phrase table its three files. No file is looked at.
  std::vector<std::string> named_files() const;
};

// Reads engine.conf and the decoder parameter file of a folder. Throws
// std::runtime_error that names the file and says what to do. `direction`, when
// not empty, takes the place of the section "[direction]", and `config` that of
// engine.conf; its names are relative to the folder all the same.
model_folder_t open_model_folder(const std::string& path, const std::string& direction = "",
                                 const std::string& config = "");

}  // namespace koralite::toolkit
