// The part of a model folder's manifest that the engine understands: the size and
// SHA-256 of each file, compared with the files before they are trusted. Free
// functions without state: safe on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/engine_configuration.h"
#include "common/file_path.h"

namespace koralite::translator {

inline constexpr const char* kManifestName = "manifest.conf";

struct manifest_file_t {
  std::string name;        // relative to the folder
  std::uint64_t size = 0;  // bytes
  std::string sha256;      // 64 lower-case hexadecimal digits
};

// The text with the section that ends a manifest: the digest of all that stands
// before it.
std::string with_manifest_digest(std::string text);

// The lines of a manifest. Throws std::runtime_error when it cannot be read, differs
// from its own digest, or has none although its version asks for one.
std::vector<std::string> manifest_lines(const common::FilePath& path);

// The lines "digest size name" under "[files]" of a manifest whose lines are given.
// `path` is for messages. Throws std::runtime_error naming the line that is broken.
std::vector<manifest_file_t> manifest_files(const std::vector<std::string>& lines,
                                            const std::string& path);

// What is wrong with the file of a folder, and what to do; empty when it agrees.
std::string compare_with_manifest(const common::FilePath& folder, const manifest_file_t& listed);

// Reads the folder's manifest and compares every listed file, and requires that the
// configuration and every file that it and the decoder parameters name are listed.
// A configuration outside the folder must equal the folder's "engine.conf". Throws
// std::runtime_error with the first problem found.
void verify_model_folder(const common::EngineConfiguration& configuration,
                         const common::FilePath& folder);

}  // namespace koralite::translator
