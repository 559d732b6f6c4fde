// kora step: runs one text step, or a whole chain, over lines.
#include <unistd.h>

#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/explain/derivation.h"
#include "toolkit/io/interrupt.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  std::string name;
  bool positions = false;
};

int run_steps(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  textProcess::Processor pipeline(source_type(folder),
                                  language_type(folder.engine.direction.target),
                                  folder.engine_path(), folder.path);
  const auto source = chain_steps(pipeline.preprocessor().string_chain());
  const auto target = chain_steps(pipeline.postprocessor().string_chain());
  LineWriter writer(STDOUT_FILENO);
  if (options.name.empty()) {
    for (const auto* step : source) {
      writer.write("source\t" + step->name() + '\n');
    }
    for (const auto* step : target) {
      writer.write("target\t" + step->name() + '\n');
    }
    writer.flush();
    return kFine;
  }
  std::vector<textProcess::AbstractStringProcessor*> steps;
  const direction_t& direction = folder.engine.direction;
  if (options.name == "source" || options.name == direction.source) {
    steps = source;
  }
  if (options.name == "target" || options.name == direction.target) {
    steps = target;
  }
  for (const auto* chain : {&source, &target}) {
    for (auto* step : *chain) {
      if (steps.empty() && step->name() == options.name) {
        steps.push_back(step);
      }
    }
  }
  if (steps.empty()) {
    throw std::runtime_error("this direction has no text step '" + options.name +
                             "'; 'kora step' lists them");
  }
  catch_interrupts();
  LineReader reader(STDIN_FILENO);
  for (std::string line; reader.read(line);) {
    textProcess::ProcessStr str(options.positions, line);
    str.set_identity();
    for (auto* step : steps) {
      if (str.text().empty()) {
        break;  // the engine leaves it alone, and nothing came from anywhere
      }
      if (step->OnProcess(str) == 0) {
        throw std::runtime_error("the text step '" + step->name() + "' failed on: " + line);
      }
    }
    writer.write(str.text());
    if (options.positions) {
      writer.write("\t");
      for (std::size_t i = 0; i < str.positions().size(); ++i) {
        writer.write((i == 0 ? "" : " ") + std::to_string(str.positions()[i]));
      }
    }
    writer.write("\n");
  }
  writer.flush();
  return kFine;
}

}  // namespace

void add_step(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "step", "Run one text step, or a whole chain, over the lines of standard input",
      run_steps);
  add_model_options(*command, options->model);
  command->add_option("name", options->name,
                      "A step, or 'source', 'target' or one of the model's two languages for a "
                      "whole chain; without "
                      "it the steps are listed");
  command->add_flag("--positions", options->positions,
                    "After a TAB, for each byte the byte of the line that it came from");
  command->footer(
      "Examples:\n  kora step -m models/en-zh\n"
      "  echo \"It isn't.\" | kora step -m models/en-zh en --positions");
}

}  // namespace koralite::toolkit::cli
