// The `kora` command: parses the words, runs one subcommand, turns errors into
// one line on standard error and an exit code.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "common/causes.h"
#include "kora/kora.h"
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

// Single-character changes that make one word the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t change = diagonal + (a[i] == b[j] ? 0U : 1U);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, change});
    }
  }
  return row.back();
}

// The subcommand, or the option of the command that was parsed, that a word may have been meant
// for; empty when none is near.
std::string meant_by(const std::string& word, const CLI::App& program) {
  const CLI::App* command = &program;
  for (auto parsed = command->get_subcommands(); !parsed.empty();
       parsed = command->get_subcommands()) {
    command = parsed.back();
  }
  std::vector<std::string> known;
  for (const CLI::App* sub : command->get_subcommands({})) {
    known.push_back(sub->get_name());
  }
  for (const CLI::Option* option : command->get_options()) {
    for (const std::string& name : option->get_lnames()) {
      known.push_back("--" + name);
    }
  }
  std::string best;
  std::size_t least = word.size() / 3 + 1;  // more changes make another word
  for (const std::string& name : known) {
    if (const std::size_t changes = distance(word, name); changes < least) {
      least = changes;
      best = name;
    }
  }
  return best;
}

// What is wrong with the words of the command.
int fail_usage(const CLI::ParseError& error, const CLI::App& program) {
  std::string message = error.what();
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const std::string word = message.substr(message.rfind(' ') + 1);  // it lists the last one first
    const std::string meant = meant_by(word, program);
    message = "'" + word + "' is not expected here" +
              (meant.empty() ? "" : "; did you mean '" + meant + "'?");
  }
  std::string command = "kora";
  for (const CLI::App* sub : program.get_subcommands()) {
    command += ' ' + sub->get_name();
  }
  return fail(message + "\nsay '" + command + " --help' for what can be said", kUsage);
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away is an error of writing, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);

  CLI::App program("Kora translates text and makes the models for it.", "kora");
  program.require_subcommand(0, 1);  // so that an unknown one is named
  program.footer(kExitCodeLine);
  program.set_version_flag("--version", std::string("kora ") + kora_get_version());
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
    return fail_usage(error, program);
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
    return fail(koralite::common::with_causes(error), kBadInput);
  }
}
