#include "translator/model_manifest.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <stdexcept>
#include <string_view>

#include "common/engine_configuration.h"
#include "common/mapped_file.h"
#include "common/pick_conf.h"
#include "common/sha256.h"
#include "decoder/parameter.h"

namespace koralite::translator {

namespace {

constexpr std::string_view kDigestHeader = "[digest]\n";

std::string digest_of(std::string_view text) {
  return common::Sha256::hex_of({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

// A line "<64 digits> <size> <name>".
bool parse_file_line(const std::string& line, manifest_file_t& file) {
  const std::size_t first = line.find(' ');
  if (first != 64 || line.find_first_not_of("0123456789abcdef") != first) {
    return false;
  }
  const std::size_t second = line.find(' ', first + 1);
  if (second == std::string::npos || second + 1 == line.size()) {
    return false;
  }
  const auto [end, error] =
      std::from_chars(line.data() + first + 1, line.data() + second, file.size);
  if (error != std::errc() || end != line.data() + second) {
    return false;
  }
  file.sha256 = line.substr(0, first);
  file.name = line.substr(second + 1);
  return true;
}

// Every file that the engine opens for a configuration.
std::set<std::string> named_files(const common::EngineConfiguration& configuration,
                                  const common::FilePath& folder) {
  std::set<std::string> names;
  for (const std::string_view section : common::EngineConfiguration::kResources) {
    const std::string value = common::EngineConfiguration::value(configuration.lines(), section);
    if (!value.empty()) {
      names.insert(value);
    }
  }
  const std::string parameters = configuration.parameter_file();
  if (parameters.empty()) {
    return names;
  }
  names.insert(parameters);
  const decoder::Parameter parameter(folder.file(parameters));
  names.insert({parameter.source_vocab, parameter.target_vocab, parameter.lang_model});
  if (parameter.compress) {
    names.insert(parameter.compress_vocab);
  }
  for (const char* suffix : {"", ".nodes", ".data"}) {
    names.insert(parameter.trans_model + suffix);
  }
  return names;
}

}  // namespace

std::string with_manifest_digest(std::string text) {
  const std::string digest = digest_of(text);
  return text.append(kDigestHeader).append(digest).append(1, '\n');
}

std::vector<std::string> manifest_lines(const common::FilePath& path) {
  std::vector<std::string> lines;
  common::PickConf(path, lines);
  std::string version;
  if (!common::find_conf(lines, "[manifest]", version) || (version != "1" && version != "2")) {
    throw std::runtime_error(path.text() +
                             ": no [manifest] of version 1 or 2; pack the folder again");
  }
  const common::MappedFile file(path);
  const std::string_view text(reinterpret_cast<const char*>(file.data().data()), file.size());
  const std::size_t header = text.rfind(kDigestHeader);
  // The first version had no digest; a damaged number must not make one of the second of it.
  if (version == "1" && header == std::string_view::npos) {
    return lines;
  }
  if (header == std::string_view::npos ||
      text != with_manifest_digest(std::string(text.substr(0, header)))) {
    throw std::runtime_error(path.text() +
                             ": contents differ from their own digest; copy the folder " +
                             "again, or run 'kora pack' again");
  }
  return lines;
}

std::vector<manifest_file_t> manifest_files(const std::vector<std::string>& lines,
                                            const std::string& path) {
  std::vector<std::string> values;
  common::find_conf(lines, "[files]", values);
  std::vector<manifest_file_t> files;
  for (const std::string& value : values) {
    manifest_file_t file;
    if (!parse_file_line(value, file)) {
      throw std::runtime_error(path + ": the line '" + value +
                               "' under [files] is not 'digest size name'");
    }
    files.push_back(std::move(file));
  }
  return files;
}

std::string compare_with_manifest(const common::FilePath& folder, const manifest_file_t& listed) {
  const common::FilePath place = folder.file(listed.name);
  const std::string& path = place.text();
  std::string reason;
  const auto file = common::MappedFile::open(place, &reason);
  if (!file) {
    return path + ": " + reason + "; copy the folder again from where it was made";
  }
  if (file->size() != listed.size) {
    return path + ": " + std::to_string(file->size()) + " bytes, the manifest says " +
           std::to_string(listed.size) + "; copy the folder again, or run 'kora pack' again";
  }
  if (common::Sha256::hex_of(file->data()) != listed.sha256) {
    return path + ": contents differ from the manifest (SHA-256); copy the folder again, or run " +
           "'kora pack' again";
  }
  return {};
}

void verify_model_folder(const common::EngineConfiguration& configuration,
                         const common::FilePath& folder) {
  const common::FilePath path = folder.file(kManifestName);
  const std::vector<std::string> lines = manifest_lines(path);
  std::vector<manifest_file_t> files = manifest_files(lines, path.text());
  // From small to large, so that most damage is found before much is read.
  std::stable_sort(
      files.begin(), files.end(),
      [](const manifest_file_t& a, const manifest_file_t& b) { return a.size < b.size; });
  for (const manifest_file_t& file : files) {
    const std::string problem = compare_with_manifest(folder, file);
    if (!problem.empty()) {
      throw std::runtime_error(problem);
    }
  }
  const auto listed = [&](const std::string& name) {
    return std::find_if(files.begin(), files.end(),
                        [&](const manifest_file_t& file) { return file.name == name; });
  };
  const auto engine = listed("engine.conf");
  const common::MappedFile given(configuration.path());
  if (engine == files.end() || given.size() != engine->size ||
      common::Sha256::hex_of(given.data()) != engine->sha256) {
    throw std::runtime_error(configuration.path().text() + ": not the engine.conf of the manifest");
  }
  for (const std::string& name : named_files(configuration, folder)) {
    if (listed(name) == files.end()) {
      throw std::runtime_error(folder.file(name).text() +
                               ": not listed in the manifest; run 'kora pack' again");
    }
  }
}

}  // namespace koralite::translator
