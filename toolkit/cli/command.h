// What the subcommands of `kora` share: how each is added to the program, the
// exit codes, and the errors that lead to them. One thread.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "textProcess/lang_type.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/io/io_error.h"
#include "toolkit/io/progress.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit::cli {

// Documented in every help text and man page.
enum ExitCode : int {
  kFine = 0,
  kBadInput = 1,     // the input or a model is not what it should be
  kUsage = 2,        // wrong words on the command line
  kInputOutput = 3,  // a file cannot be read or written: IoError, filesystem_error, no memory
};

// Ends every help text.
inline constexpr const char* kExitCodeLine =
    "Exit codes: 0 fine, 1 bad input or model, 2 usage, 3 input or output failed.";

// Adds a subcommand; `run` is set to what it does once its options are parsed and
// gives the exit code.
using run_t = std::function<int()>;

// The options with which every subcommand that reads a model folder names it.
struct model_options_t {
  std::string model;
  std::string config;  // takes the place of the folder's engine.conf
  std::string direction;
};
void add_model_options(CLI::App& command, model_options_t& options);

// A model folder and a handle on it. Without -m the folder is $KORA_MODEL, else
// models/en-zh, else the only folder in models.
std::string choose_model(const std::string& named);
model_folder_t open_model(const model_options_t& options);
textProcess::LangType source_type(const model_folder_t& folder);
std::unique_ptr<translator::TransImpl> open_handle(const model_folder_t& folder);

// Progress of long work: drawn on a terminal, and where ctrl-C takes effect.
Progress interruptible(ProgressBar& bar);

// The direction of a name that the user gave; a usage error that lists all names otherwise.
direction_t direction_named(const std::string& name);

void add_check(CLI::App& program, run_t& run);
void add_explain(CLI::App& program, run_t& run);
void add_import(CLI::App& program, run_t& run);
void add_info(CLI::App& program, run_t& run);
void add_lm(CLI::App& program, run_t& run);
void add_lookup(CLI::App& program, run_t& run);
void add_manual(CLI::App& program, run_t& run);
void add_number(CLI::App& program, run_t& run);
void add_pack(CLI::App& program, run_t& run);
void add_resource(CLI::App& program, run_t& run);
void add_step(CLI::App& program, run_t& run);
void add_vocab(CLI::App& program, run_t& run);
void add_eval(CLI::App& program, run_t& run);
void add_segment(CLI::App& program, run_t& run);
void add_train(CLI::App& program, run_t& run);
void add_translate(CLI::App& program, run_t& run);
void add_tune(CLI::App& program, run_t& run);

}  // namespace koralite::toolkit::cli
