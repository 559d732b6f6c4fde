// The part of a model folder's manifest that the engine understands: the size and
// SHA-256 of each file, compared with the files before they are trusted. Free
// functions without state: safe on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace koralite::translator {

inline constexpr const char* manifest_name = "manifest.conf";

struct manifest_file_t {
  std::string name;        // relative to the folder
  std::uint64_t size = 0;  // bytes
  std::string sha256;      // 64 lower-case hexadecimal digits
};

// The lines "digest size name" under "[files]" of a manifest whose lines are given.
// `path` is for messages. Throws std::runtime_error naming the line that is broken,
// or when the manifest's version is not 1.
std::vector<manifest_file_t> manifest_files(const std::vector<std::string>& lines,
                                            const std::string& path);

// What is wrong with the file of a folder, and what to do; empty when it agrees.
std::string compare_with_manifest(const std::string& folder, const manifest_file_t& listed);

// Reads the folder's manifest and compares every listed file, and requires that the
// configuration and every file that it and the decoder parameters name are listed.
// A configuration outside the folder must equal the folder's "engine.conf". Throws
// std::runtime_error with the first problem found.
void verify_model_folder(const std::string& configuration, const std::string& folder);

}  // namespace koralite::translator
