// kora segment: makes the segmenter's model files, and cuts text with them.
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "lexicut/lexicut.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/segment/segment_builder.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::string words;
  std::string surnames;
  std::string ambiguous;
  std::string output;
  std::string dictionary;
  std::string names;
};

int build(const options_t& options) {
  const auto words = read_segment_words(options.words);
  std::vector<std::string> surnames;
  if (!options.surnames.empty()) {
    surnames = read_segment_lines(options.surnames);
  }

  segment_report_t report = build_segment_dictionary(options.output, words, surnames);
  std::fprintf(stderr, "%s: %zu words, %zu of them names of persons, %zu left out\n",
               options.output.c_str(), report.words, report.person_words, report.dropped);
  if (!surnames.empty()) {
    const std::string path = options.output + "-names";
    report = build_segment_names(path, words, surnames);
    std::fprintf(stderr, "%s: %zu surnames, %zu characters of given names\n", path.c_str(),
                 report.surnames, report.given_characters);
  }
  if (!options.ambiguous.empty()) {
    const std::string path = options.output + "-ambiguous";
    report = build_segment_ambiguous(path, read_segment_lines(options.ambiguous));
    std::fprintf(stderr, "%s: %zu strings\n", path.c_str(), report.ambiguous);
  }
  return kFine;
}

struct destroy_t {
  void operator()(lexicut_model* model) const { lexicut_destroy(&model); }
  void operator()(lexicut_out* out) const { lexicut_destroy_out(&out); }
};

int cut(const options_t& options) {
  for (const std::string& path : {options.dictionary, options.names, options.ambiguous}) {
    require_readable(path);
  }
  const std::unique_ptr<lexicut_model, destroy_t> model(lexicut_load_model(
      options.dictionary.c_str(), options.names.c_str(), options.ambiguous.c_str(), 0));
  if (!model) {
    throw std::runtime_error(options.dictionary +
                             ": this file, or one named with --names or --ambiguous, is no " +
                             "segmentation model; make them with 'kora segment build'");
  }
  std::int32_t capacity = 1 << 16;
  std::unique_ptr<lexicut_out, destroy_t> out(lexicut_create_out(capacity));
  catch_interrupts();
  LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  for (std::string line; reader.read(line);) {
    const auto length = static_cast<std::int32_t>(line.size());
    if (length >= capacity) {
      capacity = length + 1;
      out.reset(lexicut_create_out(capacity));
      if (!out) {
        throw std::runtime_error("a line is too long for the memory of this machine");
      }
    }
    lexicut_segment_full(model.get(), line.data(), length, out.get(), LEXICUT_MODE_FULL);
    bool is_first = true;
    for (std::int32_t i = 0; i < out->count; ++i) {
      const std::string word = line.substr(static_cast<std::size_t>(out->offsets[i]),
                                           static_cast<std::size_t>(out->lengths[i]));
      if (word.find_first_not_of(' ') == std::string::npos) {
        continue;
      }
      if (!is_first) {
        writer.write(" ");
      }
      is_first = false;
      writer.write(word);
      if ((out->properties[i] & LEXICUT_PROPERTY_NAME) != 0) {
        writer.write("/name");
      }
    }
    writer.write("\n");
  }
  writer.flush();
  return kFine;
}

}  // namespace

void add_segment(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command =
      program.add_subcommand("segment", "Make segmentation models, and cut text with them");
  command->require_subcommand(0, 1);  // so that an unknown one is named
  command->footer(
      "Examples:\n  kora segment build --words words.txt --surnames surnames.txt -o segment\n"
      "  kora segment cut --dictionary segment --names segment-names < text.zh");

  CLI::App* builder =
      add_command(*command, run, "build", "Make the model files from word lists", build, options)
          .command;
  builder->add_option("--words", options->words, "Words: lines 'word count [tag]'")->required();
  builder->add_option("--surnames", options->surnames,
                      "Surnames, one a line: also writes OUTPUT-names");
  builder->add_option("--ambiguous", options->ambiguous,
                      "Strings with a fixed segmentation, spaces between the words: also writes "
                      "OUTPUT-ambiguous");
  builder->add_option("-o,--output", options->output, "The word list model")->required();

  CLI::App* cutter =
      add_command(*command, run, "cut", "Cut standard input into words, line by line", cut, options)
          .command;
  cutter->add_option("--dictionary", options->dictionary, "The word list model")->required();
  cutter->add_option("--names", options->names, "The name statistics");
  cutter->add_option("--ambiguous", options->ambiguous, "The strings with a fixed segmentation");
}

}  // namespace koralite::toolkit::cli
