// kora train: from parallel text to a model folder.
#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/command.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/progress.h"
#include "toolkit/train/trainer.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  train_options_t train;
  std::string direction;
  bool plain = false;
};

int run_training(options_t& options) {
  options.train.direction = direction_named(options.direction);
  options.train.compact = !options.plain;
  catch_interrupts();
  for (const std::string& path : {options.train.dev_source, options.train.dev_target,
                                  options.train.recase_text, options.train.sources}) {
    require_readable(path);
  }
  ProgressBar bar;
  train(options.train, interruptible(bar),
        [](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); });
  std::fprintf(stderr, "%s is ready. Try: echo TEXT | kora translate -m %s\n",
               options.train.output.c_str(), options.train.output.c_str());
  return kFine;
}

}  // namespace

void add_train(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  train_options_t& o = options->train;
  CLI::App* command = program.add_subcommand("train", "Make a model folder from parallel text");
  command->add_option("--direction", options->direction, "Direction such as en-zh")->required();
  command->add_option("--source", o.source, "Source side, a sentence a line")->required();
  command->add_option("--target", o.target, "Target side, line by line its translation")
      ->required();
  command->add_option("--dev-source", o.dev_source, "Sentences to tune the weights on");
  command->add_option("--dev-target", o.dev_target, "Their translations");
  command->add_option("--lm-text", o.lm_text, "More text in the target language");
  command->add_option("--dictionary", o.dictionary, "Chinese words: lines 'word count [tag]'");
  command->add_option("--surnames", o.surnames, "Surnames of Chinese persons, one a line");
  command->add_option("--ambiguous", o.ambiguous, "Chinese strings with a fixed segmentation");
  command->add_option("--readings", o.readings, "Unihan readings, for pinyin");
  command->add_option("--entities", o.entities, "Names: lines SOURCE TAB TYPE TAB TARGET");
  command->add_option("--names", o.names,
                      "More names, for the finished model: those with a word new to the text");
  command->add_option("--word-pairs", o.word_pairs, "A dictionary: lines SOURCE TAB TARGET");
  command
      ->add_option("--sightings", o.sightings,
                   "How often a phrase of the dictionary passes for seen in the text")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  command->add_option("--rules", o.rules, "Number rules");
  command->add_option("--recase-text", o.recase_text, "More English text with its capitals");
  command->add_option("--sources", o.sources,
                      "Table of where the text comes from: name TAB licence TAB ...");
  command->add_option("-o,--output", o.output, "The model folder")->required();
  command->add_option("--work", o.work, "Work folder [OUTPUT.work]");
  command->add_option("-t,--threads", o.threads, "Threads; 0: all cores")->capture_default_str();
  command->add_option("--order", o.order, "Order of the language model")
      ->check(CLI::Range(1, 8))
      ->capture_default_str();
  command
      ->add_option("--prune-entropy", o.entropy_threshold,
                   "Drop n-grams that change the entropy by less")
      ->capture_default_str();
  command
      ->add_option("--min-significance", o.min_significance,
                   "Drop phrase pairs that chance explains better than e^-X")
      ->capture_default_str();
  command
      ->add_option("--keep-short", o.always_significant,
                   "But keep all pairs of at most so many source words")
      ->capture_default_str();
  command
      ->add_option("--min-lexical", o.min_lexical,
                   "Drop phrase pairs seen once whose words translate each other with a lower mean "
                   "probability")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
  command->add_option("--max-targets", o.max_targets, "Translations kept per source phrase")
      ->capture_default_str();
  command->add_flag("--plain", options->plain, "Write the plain phrase table, not the compact one");
  command->add_option("--tune-rounds", o.tune_rounds, "Rounds of tuning at most")
      ->capture_default_str();
  command
      ->add_option("--tune-averages", o.tune_averages,
                   "Optima from different seeds whose mean is tried in the end")
      ->capture_default_str();
  command->add_option("--nbest", o.nbest, "Translations per sentence to tune on")
      ->capture_default_str();
  command->footer(
      "Run again with the same words it goes on where it was stopped, in the work folder.\n"
      "Examples:\n  kora train --direction en-zh --source a.en --target a.zh -o models/mine\n"
      "  kora train --direction en-zh --source a.en --target a.zh --dev-source dev.en \\\n"
      "    --dev-target dev.zh -t 4 -o models/mine");
  command->callback([&run, options] { run = [options] { return run_training(*options); }; });
}

}  // namespace koralite::toolkit::cli
