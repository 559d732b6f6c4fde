// kora pack: text models into a model folder.
#include <cstdio>
#include <memory>

#include "toolkit/cli/command.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/pack/folder_packer.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  pack_options_t pack;
  std::string direction;
  bool plain = false;
};

int pack(options_t& options) {
  catch_interrupts();
  options.pack.direction = direction_named(options.direction);
  options.pack.compact = !options.plain;
  pack_folder(options.pack,
              [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); });
  return kFine;
}

}  // namespace

void add_pack(CLI::App& program, run_t& run) {
  const auto [command, options] =
      add_command<options_t>(program, run, "pack", "Make a model folder from text models", pack);
  pack_options_t& o = options->pack;
  command->add_option("--direction", options->direction, "Direction such as en-zh")->required();
  command->add_option("--phrases", o.phrases, "Phrase table: SOURCE ||| TARGET ||| SCORES")
      ->required();
  command->add_option("--reordering", o.reordering, "Reordering table of six probabilities");
  command->add_option("--lm", o.lang_model, "Language model of the target side, ARPA")->required();
  command->add_option("--weights", o.weights, "Weights of the scores of a phrase pair")
      ->capture_default_str();
  command->add_flag("--keep-escapes", o.keep_escapes,
                    "Leave words such as &apos; and &#124; as the tables have them");
  command->add_option("--dictionary", o.dictionary, "Chinese words: lines 'word count [tag]'");
  command->add_option("--surnames", o.surnames, "Surnames of Chinese persons, one a line");
  command->add_option("--ambiguous", o.ambiguous, "Chinese strings with a fixed segmentation");
  command->add_option("--anti-names", o.anti_names, "Words that are no names of persons");
  command->add_option("--readings", o.readings, "Unihan readings, for pinyin");
  command->add_option("--rules", o.rules, "Number rules");
  command->add_option("--entities", o.entities, "Names: lines SOURCE TAB TYPE TAB TARGET");
  command->add_option("--recase", o.recase,
                      "Words and word groups with their capitals, one a line");
  command->add_option("--order", o.order, "Order of the language model")
      ->check(CLI::Range(1, 8))
      ->capture_default_str();
  command->add_option("--max-targets", o.max_targets, "Translations kept per phrase; 0: all")
      ->capture_default_str();
  command->add_flag("--plain", options->plain, "Write the plain phrase table, not the compact one");
  command->add_option("-o,--output", o.output, "The model folder; must not exist")->required();
  command->footer(
      "Tables and the language model may be packed with gzip. The folder is made beside its name "
      "and renamed when it is "
      "whole.\n"
      "Examples:\n  kora pack --direction en-zh --phrases phrases.gz --lm zh.arpa -o models/mine\n"
      "  kora pack --direction zh-en --phrases phrases.gz --lm en.arpa --dictionary words.txt \\\n"
      "    --rules data/rules/zh-en.rules --entities names.txt -o models/mine");
}

}  // namespace koralite::toolkit::cli
