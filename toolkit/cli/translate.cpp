// kora translate: a line filter over the engine.
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/cli/ordered_pipeline.h"
#include "toolkit/model/model_folder.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::string model = "models/en-zh";
  std::string direction;
  std::size_t threads = 1;
};

int translate(const options_t& options) {
  const model_folder_t folder = open_model_folder(options.model, options.direction);
  const auto source =
      static_cast<textProcess::LangType>(language_type(folder.engine.direction.source));
  const auto target =
      static_cast<textProcess::LangType>(language_type(folder.engine.direction.target));
  std::vector<std::unique_ptr<translator::TransImpl>> handles;
  for (std::size_t i = 0; i < options.threads; ++i) {
    handles.push_back(std::make_unique<translator::TransImpl>(source, target, folder.engine_path(),
                                                              folder.path, folder.engine.decoder));
  }

  catch_interrupts();
  LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  run_ordered(
      options.threads, [&](std::string& line) { return reader.read(line); },
      [&](std::size_t worker, const std::string& line) {
        std::string output;
        translator::translate_text(*handles[worker], source, line, output);
        return output + '\n';
      },
      [&](const std::string& output, bool is_last) {
        writer.write(output);
        if (is_last) writer.flush();
      });
  writer.flush();
  return kFine;
}

}  // namespace

void add_translate(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command = program.add_subcommand("translate", "Translate standard input, line by line");
  command->add_option("-m,--model", options->model, "Model folder")->capture_default_str();
  command->add_option("--direction", options->direction,
                      "Direction such as en-zh, for a folder that does not say it");
  command->add_option("-t,--threads", options->threads, "Threads")
      ->check(CLI::Range(1, 256))
      ->capture_default_str();
  command->callback([&run, options] { run = [options] { return translate(*options); }; });
}

}  // namespace koralite::toolkit::cli
