// What the subcommands of `kora` share: how each is added to the program, the
// exit codes, and the errors that lead to them. One thread.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>

namespace koralite::toolkit::cli {

// Documented in every help text and man page.
enum ExitCode : int {
  kFine = 0,
  kBadInput = 1,     // the input or a model is not what it should be
  kUsage = 2,        // wrong words on the command line
  kInputOutput = 3,  // a file cannot be read or written
};

// An error of the kind kInputOutput. All other exceptions end in kBadInput.
class io_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Adds a subcommand; `run` is set to what it does once its options are parsed and
// gives the exit code.
using run_t = std::function<int()>;
void add_eval(CLI::App& program, run_t& run);
void add_segment(CLI::App& program, run_t& run);
void add_train(CLI::App& program, run_t& run);
void add_translate(CLI::App& program, run_t& run);
void add_tune(CLI::App& program, run_t& run);

}  // namespace koralite::toolkit::cli
