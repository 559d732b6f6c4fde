#include "toolkit/folder/model_folder.h"

#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "common/pick_conf.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit {

namespace {

void add_section(std::string& text, std::string_view name, std::string_view value) {
  text.append("[").append(name).append("]\n").append(value).append("\n\n");
}

// The shortest decimal that reads back as the same float.
std::string decimal(float value) {
  char buffer[64];
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed);
  if (error != std::errc()) {
    throw std::runtime_error("a weight is too large to be written");
  }
  return {buffer, end};
}

// Optional sections of engine.conf in the order in which they are written.
template <class Config>
auto optional_sections(Config& config) {
  return std::vector<std::pair<std::string_view, decltype(&config.recase)>>{
      {"recase", &config.recase},
      {"ne", &config.entities},
      {"rule", &config.rules},
      {"segment", &config.segment},
      {"segment_name", &config.segment_name},
      {"ambiguous_path", &config.ambiguous_path},
      {"anti-name", &config.anti_name},
      {"single-word-split", &config.single_word_split},
      {"pinyin", &config.pinyin}};
}

}  // namespace

std::string format_engine_config(const engine_config_t& config) {
  std::string text;
  add_section(text, "version", "1.0.0");
  add_section(text, "direction", config.direction.name());
  add_section(text, "decoder", config.decoder);
  add_section(text, "debugLevel", config.debug ? "1" : "0");
  for (const auto& [name, value] : optional_sections(config)) {
    if (!value->empty()) {
      add_section(text, name, *value);
    }
  }
  return text;
}

std::string format_decoder_config(const decoder::Parameter& p) {
  std::string text;
  const auto flag = [&](std::string_view name, bool value) {
    add_section(text, name, value ? "1" : "0");
  };
  const auto number = [&](std::string_view name, std::int32_t value) {
    add_section(text, name, std::to_string(value));
  };
  const auto weight = [&](std::string_view name, float value) {
    add_section(text, name, decimal(value));
  };
  flag("debug", p.debug);
  flag("combine", p.combine);
  flag("detail", p.detail);
  flag("prune", p.prune);
  flag("compress", p.compress);
  number("stack", p.stack_limit);
  number("option", p.translation_limit);
  number("distort", p.distortion_limit);
  number("ngram", p.ngram_order);
  weight("beam", p.beam_threshold);
  weight("distort-weight", p.distortion_weight);
  weight("word-weight", p.word_weight);
  weight("unknown-weight", p.unknown_weight);
  weight("reorder-weight", p.reordering_weight);
  weight("lang-weight", p.lang_weight);
  weight("trans-weight", p.translation_weight);
  weight("phrase-weight", p.phrase_weight);
  add_section(text, "source-vocab", p.source_vocab);
  add_section(text, "target-vocab", p.target_vocab);
  if (p.compress) {
    add_section(text, "compress-vocab", p.compress_vocab);
  }
  add_section(text, "lang-model", p.lang_model);
  add_section(text, "trans-model", p.trans_model);
  return text;
}

std::vector<std::string> model_folder_t::named_files() const {
  std::vector<std::string> names = {engine.decoder, decoder.source_vocab, decoder.target_vocab};
  if (config.empty()) {
    names.insert(names.begin(), "engine.conf");
  }
  if (decoder.compress) {
    names.push_back(decoder.compress_vocab);
  }
  names.push_back(decoder.lang_model);
  for (const char* suffix : {"", ".nodes", ".data"}) {
    names.push_back(decoder.trans_model + suffix);
  }
  for (const auto& [section, value] : optional_sections(engine)) {
    if (section != "single-word-split" && !value->empty()) {
      names.push_back(*value);
    }
  }
  return names;
}

model_folder_t open_model_folder(const std::string& path, const std::string& direction,
                                 const std::string& config) {
  if (!std::filesystem::is_directory(path)) {
    throw std::runtime_error(path + ": no such folder; give a model folder, or make one with " +
                             "'kora train' or 'kora pack'");
  }
  model_folder_t folder;
  folder.path = path;
  folder.config = config;
  const std::string conf = folder.engine_path();
  std::vector<std::string> lines;
  std::error_code hidden;  // set when it may be there, but the folder does not show it
  if (std::filesystem::exists(conf, hidden) || hidden) {
    require_readable(conf);
  }
  try {
    common::PickConf(conf, lines);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(std::string(error.what()) + "; every model folder has this file: " +
                             "copy the folder again, or name the file with --config");
  }

  std::string name;
  const bool has_direction = common::find_conf(lines, "[direction]", name);
  if (has_direction && !direction.empty() && name != direction) {
    throw std::runtime_error(conf + ": a model for " + name + ", not " + direction);
  }
  name = has_direction ? name : direction;
  if (name.empty()) {
    throw std::runtime_error(conf +
                             ": no section [direction]; add one, or give --direction, one "
                             "of: " +
                             direction_names());
  }
  const auto found = find_direction(name);
  if (!found) {
    throw std::runtime_error(conf + ": unknown direction '" + name +
                             "'; use one of: " + direction_names());
  }
  folder.engine.direction = *found;

  std::vector<std::string> values;
  if (!common::find_conf(lines, "[decoder]", values)) {
    throw std::runtime_error(conf + ": no value under [decoder]; name the decoder parameter file");
  }
  folder.engine.decoder = values.front();
  std::string debug;
  folder.engine.debug =
      common::find_conf(lines, "[debugLevel]", debug) && !debug.empty() && debug.front() != '0';
  for (const auto& [section, value] : optional_sections(folder.engine)) {
    common::find_conf(lines, "[" + std::string(section) + "]", *value);
  }

  const std::string parameter_path = folder.file(folder.engine.decoder);
  try {
    folder.decoder.initialize(parameter_path.c_str());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(parameter_path + ": " + error.what() + "; mend the file or pack the " +
                             "folder again");
  }
  return folder;
}

}  // namespace koralite::toolkit
