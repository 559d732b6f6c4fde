#include "toolkit/train/input_check.h"

#include <unicode/uscript.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "toolkit/folder/model_folder.h"
#include "toolkit/io/io_error.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/tune/engine_tuner.h"

namespace koralite::toolkit {

namespace {

namespace fs = std::filesystem;

// The script that most texts in a language are written in.
UScriptCode script_of(std::string_view language) {
  constexpr std::array<std::pair<std::string_view, UScriptCode>, 8> kScripts = {{
      {"zh", USCRIPT_HAN},
      {"lzh", USCRIPT_HAN},
      {"yue", USCRIPT_HAN},
      {"ja", USCRIPT_HIRAGANA},
      {"ko", USCRIPT_HANGUL},
      {"th", USCRIPT_THAI},
      {"ar", USCRIPT_ARABIC},
      {"ru", USCRIPT_CYRILLIC},
  }};
  for (const auto& [code, script] : kScripts) {
    if (code == language) {
      return script;
    }
  }
  return USCRIPT_LATIN;
}

// What the lines of a file are like.
struct text_facts_t {
  std::vector<std::string> lines;
  std::size_t ill_formed = 0;                  // not UTF-8
  std::map<UScriptCode, std::size_t> scripts;  // lines that hold a character of it

  bool is_mostly(UScriptCode script) const {
    const auto found = scripts.find(script);
    return found != scripts.end() && 2 * found->second > lines.size();
  }
};

text_facts_t read_facts(const std::string& path) {
  text_facts_t facts;
  facts.lines = read_lines(path);
  for (const std::string& line : facts.lines) {
    std::set<UScriptCode> scripts;
    bool is_well_formed = true;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(line.data());
    const auto size = static_cast<std::int32_t>(line.size());
    for (std::int32_t i = 0; i < size;) {
      UChar32 character = 0;
      U8_NEXT(bytes, i, size, character);
      is_well_formed = is_well_formed && character >= 0;
      UErrorCode error = U_ZERO_ERROR;
      scripts.insert(character < 0 ? USCRIPT_UNKNOWN : uscript_getScript(character, &error));
    }
    facts.ill_formed += is_well_formed ? 0U : 1U;
    for (const UScriptCode script : scripts) {
      ++facts.scripts[script];
    }
  }
  return facts;
}

[[noreturn]] void fail_length(const std::string& source, std::size_t source_lines,
                              const std::string& target, std::size_t target_lines) {
  throw std::runtime_error(source + " has " + std::to_string(source_lines) + " lines, " + target +
                           " has " + std::to_string(target_lines) +
                           "; line by line one must be the translation of the other");
}

void check_encoding(const std::string& path, const text_facts_t& facts) {
  if (2 * facts.ill_formed > facts.lines.size()) {
    throw std::runtime_error(path + ": " + std::to_string(facts.ill_formed) + " of " +
                             std::to_string(facts.lines.size()) +
                             " lines are not UTF-8; if the text is in GB18030: iconv -f GB18030 " +
                             "-t UTF-8 " + path + " > " + path + ".utf8");
  }
}

// Reads a set and checks what does not depend on which words it has.
void check_pair(const direction_t& direction, const std::string& source_path,
                const std::string& target_path) {
  const text_facts_t source = read_facts(source_path);
  const text_facts_t target = read_facts(target_path);
  const std::size_t pairs = source.lines.size();
  if (pairs != target.lines.size()) {
    fail_length(source_path, pairs, target_path, target.lines.size());
  }
  if (pairs == 0) {
    throw std::runtime_error(source_path + ": an empty file; give sentences, one a line");
  }
  check_encoding(source_path, source);
  check_encoding(target_path, target);
  std::size_t empty = 0;
  std::size_t identical = 0;
  for (std::size_t i = 0; i < pairs; ++i) {
    const bool has_text = !source.lines[i].empty() && !target.lines[i].empty();
    empty += has_text ? 0U : 1U;
    identical += has_text && source.lines[i] == target.lines[i] ? 1U : 0U;
  }
  if (2 * std::max(identical, empty) > pairs) {
    throw std::runtime_error(std::to_string(std::max(identical, empty)) + " of " +
                             std::to_string(pairs) + " lines of " + source_path + " and " +
                             target_path +
                             (identical > empty ? " are the same text" : " have an empty side") +
                             "; is one of them the wrong file?");
  }
  const UScriptCode from = script_of(direction.source);
  const UScriptCode to = script_of(direction.target);
  if (source.is_mostly(to) && !source.is_mostly(from) && target.is_mostly(from) &&
      !target.is_mostly(to)) {
    throw std::runtime_error(source_path + " seems to be in '" + std::string(direction.target) +
                             "' and " + target_path + " in '" + std::string(direction.source) +
                             "'; exchange the two files, or use the other direction");
  }
}

}  // namespace

void check_same_length(const std::string& source, const std::string& target) {
  const std::size_t source_lines = read_lines(source).size();
  const std::size_t target_lines = read_lines(target).size();
  if (source_lines != target_lines) {
    fail_length(source, source_lines, target, target_lines);
  }
}

void check_training_inputs(const train_options_t& options) {
  check_pair(options.direction, options.source, options.target);
  if (!options.dev_source.empty() || !options.dev_target.empty()) {
    check_pair(options.direction, options.dev_source, options.dev_target);
  }
}

void check_output_folder(const std::string& path, bool will_tune, bool force) {
  std::error_code error;
  if (!fs::exists(path, error) || fs::is_empty(path, error)) {
    return;
  }
  if (!fs::exists(fs::path(path) / "engine.conf", error)) {
    throw IoError(path + ": is there and no model folder; choose another name with -o");
  }
  if (force || will_tune) {
    return;
  }
  decoder::Parameter untuned;
  set_weights(default_weights(), untuned);
  const std::vector<double> found = FolderTuner::weights_of(open_model_folder(path).decoder);
  if (found != FolderTuner::weights_of(untuned)) {
    throw IoError(path + ": holds weights that were tuned; give --dev-source and --dev-target, " +
                  "choose another name with -o, or replace it with --force");
  }
}

}  // namespace koralite::toolkit
