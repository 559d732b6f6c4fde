// The manifest of a model folder: what it was built from, and the size and
// SHA-256 of each of its files. It is a configuration file of its own
// ("manifest.conf"), so the engine reads it with the reader that it already has.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "toolkit/folder/model_folder.h"
#include "translator/model_manifest.h"

namespace koralite::toolkit {

using translator::kManifestName;
using translator::manifest_file_t;

struct manifest_t {
  // Names and values such as ("training pairs", "150500"), in the order to show them.
  std::vector<std::pair<std::string, std::string>> built_from;
  std::vector<manifest_file_t> files;
};

// Reads every file that the folder's configuration names and describes it.
manifest_t make_manifest(const model_folder_t& folder,
                         std::vector<std::pair<std::string, std::string>> built_from);

std::string format_manifest(const manifest_t& manifest);

// Throws std::runtime_error naming file and line when the manifest is missing or broken.
manifest_t read_manifest(const std::string& folder);

// Compares the folder's files with the manifest. One message for each file that is missing,
// changed or not listed, naming the file and what to do; none when all agree.
std::vector<std::string> verify_manifest(const model_folder_t& folder, const manifest_t& manifest);

}  // namespace koralite::toolkit
