#include "toolkit/folder/manifest.h"

#include <algorithm>
#include <stdexcept>

#include "common/mapped_file.h"
#include "common/pick_conf.h"
#include "common/sha256.h"

namespace koralite::toolkit {

namespace {

manifest_file_t describe(const model_folder_t& folder, const std::string& name) {
  const common::MappedFile file(folder.file(name));
  return {name, file.size(), common::Sha256::hex_of(file.data())};
}

}  // namespace

manifest_t make_manifest(const model_folder_t& folder,
                         std::vector<std::pair<std::string, std::string>> built_from) {
  manifest_t manifest;
  manifest.built_from = std::move(built_from);
  for (const std::string& name : folder.named_files()) {
    manifest.files.push_back(describe(folder, name));
  }
  return manifest;
}

std::string format_manifest(const manifest_t& manifest) {
  std::string text = "[manifest]\n2\n\n[built-from]\n";
  for (const auto& [name, value] : manifest.built_from) {
    text += name + '\t' + value + '\n';
  }
  text += "\n[files]\n";
  for (const manifest_file_t& file : manifest.files) {
    text += file.sha256 + ' ' + std::to_string(file.size) + ' ' + file.name + '\n';
  }
  return translator::with_manifest_digest(text + '\n');
}

manifest_t read_manifest(const std::string& folder) {
  const std::string path = folder + '/' + kManifestName;
  std::vector<std::string> lines;
  try {
    lines = translator::manifest_lines(path);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(std::string(error.what()) +
                             "; copy it from where the folder was made");
  }
  manifest_t manifest;
  manifest.files = translator::manifest_files(lines, path);
  std::vector<std::string> values;
  if (common::find_conf(lines, "[built-from]", values)) {
    for (const std::string& value : values) {
      const std::size_t tab = value.find('\t');
      if (tab == std::string::npos) {
        throw std::runtime_error(path + ": no TAB in the line '" + value + "' under [built-from]");
      }
      manifest.built_from.emplace_back(value.substr(0, tab), value.substr(tab + 1));
    }
  }
  return manifest;
}

std::vector<std::string> verify_manifest(const model_folder_t& folder, const manifest_t& manifest) {
  std::vector<std::string> problems;
  for (const manifest_file_t& listed : manifest.files) {
    std::string problem = translator::compare_with_manifest(folder.path, listed);
    if (!problem.empty()) {
      problems.push_back(std::move(problem));
    }
  }
  for (const std::string& name : folder.named_files()) {
    if (std::none_of(manifest.files.begin(), manifest.files.end(),
                     [&](const manifest_file_t& file) { return file.name == name; })) {
      problems.push_back(folder.file(name) + ": not listed in the manifest; run 'kora pack' again");
    }
  }
  return problems;
}

}  // namespace koralite::toolkit
