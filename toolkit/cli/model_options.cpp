#include <cstdlib>
#include <filesystem>
#include <vector>

#include "common/causes.h"
#include "toolkit/cli/command.h"
#include "toolkit/io/interrupt.h"

namespace koralite::toolkit::cli {

void add_model_options(CLI::App& command, model_options_t& options) {
  command.add_option("-m,--model", options.model,
                     "Model folder [$KORA_MODEL, else models/en-zh, else the only one in models]");
  command.add_option("--config", options.config, "Use this file for the folder's engine.conf");
  command.add_option("--direction", options.direction,
                     "Direction such as en-zh, for a folder that does not say it");
}

direction_t direction_named(const std::string& name) {
  const auto direction = find_direction(name);
  if (!direction) {
    throw CLI::ValidationError(
        "--direction", "unknown direction '" + name + "'; use one of: " + direction_names());
  }
  if (!can_translate(*direction)) {
    throw CLI::ValidationError("--direction", name + ": " + why_not_translated(*direction) +
                                                  "; use one of: " + direction_names());
  }
  return *direction;
}

Progress interruptible(ProgressBar& bar) {
  return [draw = bar.callback()](std::string_view stage, double done) {
    stop_if_interrupted();
    report(draw, stage, done);
  };
}

std::string choose_model(const std::string& named) {
  namespace fs = std::filesystem;
  if (!named.empty()) {
    return named;
  }
  if (const char* set = std::getenv("KORA_MODEL"); set != nullptr && *set != '\0') {
    return set;
  }
  std::error_code error;
  if (fs::exists("models/en-zh/engine.conf", error)) {
    return "models/en-zh";
  }
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator("models", error)) {
    if (fs::exists(entry.path() / "engine.conf", error)) {
      found.push_back(entry.path().string());
    }
  }
  if (found.size() == 1) {
    return found.front();
  }
  throw IoError(found.empty()
                    ? "no model; name its folder with -m or in KORA_MODEL"
                    : "there are several models in 'models'; choose one with -m or KORA_MODEL");
}

model_folder_t open_model(const model_options_t& options) {
  const std::string path = choose_model(options.model);
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) {
    throw IoError(path + ": " + (error ? error.message() : "not a folder") +
                  "; name a model folder with -m");
  }
  if (!options.direction.empty()) {
    direction_named(options.direction);  // a usage error if none
  }
  require_readable(options.config);
  model_folder_t folder = open_model_folder(path, options.direction, options.config);
  for (const std::string& name : folder.named_files()) {
    if (std::filesystem::exists(folder.file(name), error)) {
      require_readable(folder.file(name));
    }
  }
  return folder;
}

void require_translation(const model_folder_t& folder) {
  const std::string reason = why_not_translated(folder.engine.direction);
  if (!reason.empty()) {
    throw std::runtime_error(folder.engine_path() + ": direction " +
                             folder.engine.direction.name() + ": " + reason +
                             "; use a model for one of: " + direction_names());
  }
}

textProcess::LangType source_type(const model_folder_t& folder) {
  return language_type(folder.engine.direction.source);
}

std::unique_ptr<translator::TransImpl> open_handle(const model_folder_t& folder) {
  try {
    return std::make_unique<translator::TransImpl>(
        source_type(folder), language_type(folder.engine.direction.target), folder.engine_path(),
        folder.path, folder.engine.decoder);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& cause) {
    throw std::runtime_error(folder.path + ": " + common::with_causes(cause) + "; 'kora check -m " +
                             folder.path + "' says what is wrong");
  }
}

}  // namespace koralite::toolkit::cli
