// The `kora` command: parses the words, runs one subcommand, turns errors into
// one line on standard error and an exit code.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "toolkit/cli/command.h"

namespace {

using namespace koralite::toolkit::cli;

int fail(const std::string& message, ExitCode code) {
  std::fprintf(stderr, "kora: %s\n", message.c_str());
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away is an error of writing, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);

  CLI::App program("Kora translates text and makes the models for it.", "kora");
  program.require_subcommand(1);
  program.footer("Exit codes: 0 fine, 1 bad input or model, 2 usage, 3 input or output failed.");
  program.set_version_flag("--version", "kora 1.0.0");
  run_t run;
  add_check(program, run);
  add_eval(program, run);
  add_explain(program, run);
  add_info(program, run);
  add_lm(program, run);
  add_lookup(program, run);
  add_manual(program, run);
  add_number(program, run);
  add_pack(program, run);
  add_resource(program, run);
  add_segment(program, run);
  add_step(program, run);
  add_train(program, run);
  add_translate(program, run);
  add_tune(program, run);
  add_vocab(program, run);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return program.exit(help);
  } catch (const CLI::ParseError& error) {
    program.exit(error);
    return kUsage;
  }

  try {
    return run();
  } catch (const io_error& error) {
    return fail(error.what(), kInputOutput);
  } catch (const std::bad_alloc&) {
    return fail("out of memory", kInputOutput);
  } catch (const std::exception& error) {
    return fail(error.what(), kBadInput);
  }
}
