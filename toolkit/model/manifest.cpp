#include "toolkit/model/manifest.h"

#include <algorithm>
#include <charconv>
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

// A line "<64 digits> <size> <name>".
bool parse_file_line(const std::string& line, manifest_file_t& file) {
  const std::size_t first = line.find(' ');
  if (first != 64 || line.find_first_not_of("0123456789abcdef") != first) return false;
  const std::size_t second = line.find(' ', first + 1);
  if (second == std::string::npos || second + 1 == line.size()) return false;
  const auto [end, error] =
      std::from_chars(line.data() + first + 1, line.data() + second, file.size);
  if (error != std::errc() || end != line.data() + second) return false;
  file.sha256 = line.substr(0, first);
  file.name = line.substr(second + 1);
  return true;
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
  std::string text = "[manifest]\n1\n\n[built-from]\n";
  for (const auto& [name, value] : manifest.built_from) text += name + '\t' + value + '\n';
  text += "\n[files]\n";
  for (const manifest_file_t& file : manifest.files) {
    text += file.sha256 + ' ' + std::to_string(file.size) + ' ' + file.name + '\n';
  }
  return text;
}

manifest_t read_manifest(const std::string& folder) {
  const std::string path = folder + '/' + manifest_name;
  std::vector<std::string> lines;
  common::PickConf(path, lines);
  std::string version;
  if (!common::find_conf(lines, "[manifest]", version) || version != "1") {
    throw std::runtime_error(path + ": no [manifest] of version 1; pack the folder again");
  }
  manifest_t manifest;
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
  common::find_conf(lines, "[files]", values);
  for (const std::string& value : values) {
    manifest_file_t file;
    if (!parse_file_line(value, file)) {
      throw std::runtime_error(path + ": the line '" + value +
                               "' under [files] is not 'digest size name'");
    }
    manifest.files.push_back(std::move(file));
  }
  return manifest;
}

std::vector<std::string> verify_manifest(const model_folder_t& folder, const manifest_t& manifest) {
  std::vector<std::string> problems;
  for (const manifest_file_t& listed : manifest.files) {
    const std::string path = folder.file(listed.name);
    std::string reason;
    const auto file = common::MappedFile::open(path, &reason);
    if (!file) {
      problems.push_back(path + ": " + reason + "; copy the folder again from where it was made");
    } else if (file->size() != listed.size) {
      problems.push_back(path + ": " + std::to_string(file->size()) + " bytes, the manifest says " +
                         std::to_string(listed.size) +
                         "; copy the folder again, or run 'kora pack' again");
    } else if (common::Sha256::hex_of(file->data()) != listed.sha256) {
      problems.push_back(path + ": contents differ from the manifest (SHA-256); copy the folder " +
                         "again, or run 'kora pack' again");
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
