// kora explain: the derivation of a sentence through the engine.
#include <unistd.h>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/explain/derivation.h"
#include "toolkit/io/atomic_file.h"
#include "translator/text_translation.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  std::string text;
  bool json = false;
  std::string html;
  unsigned nbest = 1;
};

int explain(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  require_translation(folder);
  const auto handle = open_handle(folder);
  const std::vector<sentence_derivation_t> sentences =
      explain_line(*handle,
                   {folder.decoder.distortion_weight, folder.decoder.reordering_weight,
                    folder.decoder.lang_weight},
                   options.text, options.nbest);
  if (!options.html.empty()) {
    write_file(options.html, std::string_view(derivations_as_html(sentences)));
  }
  LineWriter writer(STDOUT_FILENO);
  if (options.json) {
    writer.write(derivations_as_json(sentences));
  } else if (options.html.empty()) {
    writer.write(derivations_as_text(sentences));
  }
  writer.flush();
  return kFine;
}

}  // namespace

void add_explain(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "explain", "Show how a translation came about, step by step", explain);
  add_model_options(*command, options->model);
  command->add_option("text", options->text, "What to translate")->required();
  command->add_flag("--json", options->json, "Print everything as JSON");
  command->add_option("--html", options->html, "Write a page for a browser to this file");
  command->add_option("--nbest", options->nbest, "Derivations in the JSON form")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  command->footer(
      "Examples:\n  kora explain 'Where is the station?'\n"
      "  kora explain --html derivation.html 'Where is the station?'");
}

}  // namespace koralite::toolkit::cli
