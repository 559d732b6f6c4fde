// kora check: validates a model folder completely.
#include <unistd.h>

#include "toolkit/check/model_checker.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  bool no_manifest = false;
};

int check(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  check_report_t report = check_model_folder(folder, !options.no_manifest);
  if (report.problems.empty()) {
    try {
      open_handle(folder);
    } catch (const std::exception& error) {
      report.problems.emplace_back(error.what());
    }
  }
  LineWriter writer(STDOUT_FILENO);
  for (const std::string& line : report.problems) {
    writer.write(line + '\n');
  }
  if (report.problems.empty()) {
    for (const std::string& line : report.facts) {
      writer.write(line + '\n');
    }
    writer.write(folder.path + ": sound\n");
  }
  writer.flush();
  return report.problems.empty() ? kFine : kBadInput;
}

}  // namespace

void add_check(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "check",
      "Check a model folder completely; each problem is a line: file, position, remedy", check);
  add_model_options(*command, options->model);
  command->add_flag("--no-manifest", options->no_manifest,
                    "Do not compare with the manifest, for a folder made by other means");
  command->footer(
      "Examples:\n  kora check -m models/en-zh\n"
      "  kora check -m other --config other.conf --direction en-zh --no-manifest\n"
      "Exit code 1 when anything is wrong.");
}

}  // namespace koralite::toolkit::cli
