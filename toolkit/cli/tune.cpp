// kora tune: better weights for a finished model folder.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
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
#include "toolkit/tune/limits.h"

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
  bool limits = false;
  double loss = 0.1;
  std::string report;
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

// Writes the folder's changed parameters, and its manifest anew if it has one.
void write_parameters(const model_folder_t& folder) {
  write_file(folder.file(folder.engine.decoder), format_decoder_config(folder.decoder));
  if (fs::exists(folder.file(kManifestName))) {
    manifest_t manifest = read_manifest(folder.path);
    write_file(folder.file(kManifestName),
               format_manifest(make_manifest(folder, std::move(manifest.built_from))));
  }
}

// Puts the section into a page, in the place of an earlier one, or makes a page of it.
void write_section(const std::string& path, const std::string& section) {
  constexpr std::string_view kBegin = "<!-- limits -->\n";
  constexpr std::string_view kEnd = "<!-- end of limits -->\n";
  const std::string marked = std::string(kBegin) + section + std::string(kEnd);
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Limits of "
      "the search</title></head><body>\n</body></html>\n";
  if (fs::exists(path)) {
    page.clear();
    for (const std::string& line : read_lines(path)) {
      page += line + '\n';
    }
  }
  const std::size_t begin = page.find(kBegin);
  const std::size_t end = page.find(kEnd);
  if (begin != std::string::npos && end != std::string::npos && begin < end) {
    page.replace(begin, end + kEnd.size() - begin, marked);
  } else {
    page.insert(std::min(page.rfind("</body>"), page.size()), marked);
  }
  write_file(path, page);
}

std::string limits_line(const limits_point_t& point) {
  char text[128];
  std::snprintf(text, sizeof text, "%5d %6d %7d %6.1f %9.0f %6.2f", point.limits.stack,
                point.limits.options, point.limits.distortion,
                static_cast<double>(point.limits.beam), point.words_per_second, point.bleu);
  return text;
}

int run_limits(const options_t& options) {
  catch_interrupts();
  model_folder_t folder = open_model_folder(choose_model(options.model));
  std::vector<std::vector<std::string>> references;
  for (const std::string& path : options.references) {
    require_readable(path);
    references.push_back(read_lines(path));
  }
  const std::vector<std::string> source = read_lines(options.source);
  const BleuScorer scorer(references,
                          {tokenizer_for_language(folder.engine.direction.target), true});
  if (scorer.size() != source.size()) {
    throw std::runtime_error(options.source + " and its references differ in length");
  }
  const auto handle = open_handle(folder);
  std::vector<limits_point_t> points;
  std::printf("stack option distort   beam   words/s   BLEU\n");
  const auto measure = [&](const std::vector<decoder::search_limits_t>& all) {
    for (const decoder::search_limits_t& limits : all) {
      stop_if_interrupted();
      points.push_back(measure_limits(*handle, source, scorer, limits));
      std::printf("%s\n", limits_line(points.back()).c_str());
      std::fflush(stdout);
    }
  };
  measure(usual_limits(folder.decoder.limits()));
  measure(narrower_beams(choose_limits(points, options.loss).limits));
  const limits_point_t& chosen = choose_limits(points, options.loss);
  std::printf("chosen\n%s\n", limits_line(chosen).c_str());
  if (!options.report.empty()) {
    write_section(options.report, format_limits(points, chosen));
  }
  if (!options.write) {
    std::fprintf(stderr, "nothing written; --write puts these limits into %s\n",
                 folder.file(folder.engine.decoder).c_str());
    return kFine;
  }
  folder.decoder.set_limits(chosen.limits);
  write_parameters(folder);
  return kFine;
}

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
  write_parameters(folder);
  return kFine;
}

int tune_folder(const options_t& options) {
  return options.limits ? run_limits(options) : run_tuning(options);
}

}  // namespace

void add_tune(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "tune", "Find better weights for a model folder on sentences with translations",
      tune_folder);
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
  CLI::Option* limits = command->add_flag(
      "--limits", options->limits,
      "Choose [stack], [option], [distort] and [beam] instead of weights: measures speed and BLEU "
      "and takes the fastest");
  command->add_option("--loss", options->loss, "BLEU below the best that speed may cost")
      ->check(CLI::Range(0.0, 100.0))
      ->needs(limits)
      ->capture_default_str();
  command
      ->add_option("--report", options->report,
                   "HTML page that gets the picture of speed and BLEU, such as that of training")
      ->needs(limits);
  command->add_flag("--write", options->write, "Write what was found into the folder");
  command->footer(
      "The phrase table stays as it is; 'kora train' also tunes how its scores are made.\n"
      "Example:\n  kora tune -m models/en-zh --source dev.en -r dev.zh --write\n"
      "  kora tune -m models/en-zh --limits --source dev.en -r dev.zh --write");
}

}  // namespace koralite::toolkit::cli
