// The `kora` command: parses the words, runs one subcommand, turns errors into
// one line on standard error and an exit code.
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>

#include "toolkit/cli/command.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"

namespace {

using namespace koralite::toolkit::cli;

using koralite::toolkit::end_by_interrupt;
using koralite::toolkit::interrupted;
using koralite::toolkit::InterruptedError;
using koralite::toolkit::IoError;

int fail(const std::string& message, ExitCode code) {
  std::fprintf(stderr, "kora: %s\n", message.c_str());
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away is an error of writing, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);

  CLI::App program("Kora translates text and makes the models for it.", "kora");
  program.require_subcommand(0, 1);  // so that an unknown one is named
  program.footer(kExitCodeLine);
  program.set_version_flag("--version", "kora 1.0.0");
  run_t run;
  add_check(program, run);
  add_eval(program, run);
  add_explain(program, run);
  add_import(program, run);
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
  for (CLI::App* command : program.get_subcommands({})) {
    command->footer(command->get_footer() + (command->get_footer().empty() ? "" : "\n") +
                    kExitCodeLine);
  }
  try {
    program.parse(argc, argv);
    if (!run) {
      throw CLI::RequiredError("a command");
    }
    const int code = run();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      return fail("can't write the output", kInputOutput);
    }
    if (interrupted()) {
      end_by_interrupt();
    }
    return code;
  } catch (const CLI::Success& help) {
    program.exit(help);
    std::cout.flush();
    return std::cout ? kFine : fail("can't write the output", kInputOutput);
  } catch (const CLI::ParseError& error) {
    program.exit(error);
    return kUsage;
  } catch (const InterruptedError&) {
    end_by_interrupt();
    return kInputOutput;  // not reached
  } catch (const std::bad_alloc&) {
    return fail("out of memory; close other programs or use a smaller model", kInputOutput);
  } catch (const IoError& error) {
    return fail(error.what(), kInputOutput);
  } catch (const std::filesystem::filesystem_error& error) {
    return fail(error.what(), kInputOutput);
  } catch (const std::exception& error) {
    return fail(error.what(), kBadInput);
  }
}
