// kora tune: better weights for a finished model folder.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/progress.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/train/input_check.h"
#include "toolkit/tune/engine_tuner.h"

namespace koralite::toolkit::cli {

namespace {

namespace fs = std::filesystem;

struct options_t {
  std::string model;
  std::string source;
  std::vector<std::string> references;
  unsigned threads = 0;
  unsigned nbest = 100;
  int rounds = 8;
  bool write = false;
};

// A copy of the folder's files to work on, removed in the end.
class ScratchFolder {
 public:
  explicit ScratchFolder(const model_folder_t& folder) : path_(folder.path + ".tune") {
    fs::remove_all(path_);
    fs::create_directories(path_);
    for (const std::string& name : folder.named_files()) {
      fs::copy_file(folder.file(name), path_ / name);
    }
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  std::string path() const { return path_.string(); }

 private:
  fs::path path_;
};

int run_tuning(const options_t& options) {
  catch_interrupts();
  for (const std::string& path : options.references) {
    check_same_length(options.source, path);
  }
  model_folder_t folder = open_model_folder(choose_model(options.model));
  const ScratchFolder scratch(folder);
  std::vector<std::vector<std::string>> references;
  for (const std::string& path : options.references) {
    references.push_back(read_lines(path));
  }
  engine_tuner_options_t tuner_options;
  tuner_options.nbest = options.nbest;
  tuner_options.threads = options.threads;
  tuner_options.tokenizer = tokenizer_for_language(folder.engine.direction.target);
  FolderTuner tuner(open_model_folder(scratch.path()), read_lines(options.source), references,
                    tuner_options);

  TuneOptions tune_options;
  tune_options.rounds = options.rounds;
  tune_options.mert.threads = options.threads;
  tune_options.mert.ranges.assign(kTranslation + 1, {});
  for (const std::size_t feature : {kDistortion, kReordering, kLanguage, kTranslation}) {
    tune_options.mert.ranges[feature].low = 0;
  }
  ProgressBar bar;
  const TuneResult result = tune(
      tuner, FolderTuner::weights_of(folder.decoder), tune_options,
      [&bar](const TuneRound& round) { bar.say(round.bleu.text()); }, interruptible(bar));
  for (std::size_t i = 0; i < result.weights.size(); ++i) {
    std::printf("%-12s %.6g\n", i == kTranslation ? "translation" : kFeatureNames[i].data(),
                result.weights[i]);
  }
  if (!options.write) {
    std::fprintf(stderr, "nothing written; --write puts these weights into %s\n",
                 folder.file(folder.engine.decoder).c_str());
    return kFine;
  }
  FolderTuner::set(result.weights, folder.decoder);
  write_file(folder.file(folder.engine.decoder), format_decoder_config(folder.decoder));
  if (fs::exists(folder.file(kManifestName))) {
    manifest_t manifest = read_manifest(folder.path);
    write_file(folder.file(kManifestName),
               format_manifest(make_manifest(folder, std::move(manifest.built_from))));
  }
  return kFine;
}

}  // namespace

void add_tune(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "tune", "Find better weights for a model folder on sentences with translations",
      run_tuning);
  command->add_option("-m,--model", options->model,
                      "Model folder [$KORA_MODEL, else models/en-zh, else the only one in models]");
  command->add_option("--source", options->source, "Sentences to tune on")->required();
  command
      ->add_option("-r,--reference", options->references,
                   "Their translations; may be given several times")
      ->required();
  command->add_option("-t,--threads", options->threads, "Threads; 0: all cores")
      ->capture_default_str();
  command->add_option("--nbest", options->nbest, "Translations per sentence to choose from")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  command->add_option("--rounds", options->rounds, "Rounds at most")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  command->add_flag("--write", options->write, "Write the weights into the folder");
  command->footer(
      "The phrase table stays as it is; 'kora train' also tunes how its scores are made.\n"
      "Example:\n  kora tune -m models/en-zh --source dev.en -r dev.zh --write");
}

}  // namespace koralite::toolkit::cli
