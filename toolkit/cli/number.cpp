// kora number: reads numbers in one notation and writes them in another.
#include <unistd.h>

#include <string>

#include "numtrans/arabic_num_acceptor.h"
#include "numtrans/arabic_num_generator.h"
#include "numtrans/category.h"
#include "numtrans/chs_num_acceptor.h"
#include "numtrans/chs_num_generator.h"
#include "numtrans/eng_num_acceptor.h"
#include "numtrans/eng_num_generator.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/io/interrupt.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::string from;
  std::string to;
};

// "english-integer" or "ei"; the engine's names have brackets.
std::string category(const std::string& name) {
  const std::string full = "(" + name + ")";
  if (numtrans::parse_category(full) == numtrans::Category::kNone) {
    throw CLI::ValidationError(
        name,
        "no notation; use arabic-, chinese- or english- and digits, integer, float or "
        "(not for chinese) ordinal");
  }
  return full;
}

int convert(const options_t& options) {
  const std::string from = category(options.from);
  const std::string to = category(options.to);
  const numtrans::ArabicNumAcceptor arabic_reader;
  const numtrans::ChsNumAcceptor chinese_reader;
  const numtrans::EngNumAcceptor english_reader;
  const numtrans::ArabicNumGenerator arabic_writer;
  const numtrans::ChsNumGenerator chinese_writer;
  const numtrans::EngNumGenerator english_writer;

  catch_interrupts();
  LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  int code = kFine;
  for (std::string line; reader.read(line);) {
    numtrans::Number number;
    std::string written;
    const auto reads = [&](const numtrans::NumAcceptor& acceptor) {
      const char* cursor = line.c_str();
      number = {};
      return acceptor.accept(cursor, from.c_str(), number) &&
             cursor == line.c_str() + line.size() && !line.empty() &&
             !numtrans::has_dropped_digit(from, line, number);
    };
    const auto writes = [&](const numtrans::NumGenerator& generator) {
      written.clear();
      return generator.generate(number, to.c_str(), written);
    };
    if ((reads(arabic_reader) || reads(chinese_reader) || reads(english_reader)) &&
        (writes(arabic_writer) || writes(chinese_writer) || writes(english_writer))) {
      writer.write(written + '\n');
    } else {
      writer.write("-\n");
      code = kBadInput;
    }
  }
  writer.flush();
  return code;
}

}  // namespace

void add_number(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "number",
      "Read the numbers of standard input, one a line, and write them differently", convert);
  command->add_option("from", options->from, "Notation, such as arabic-integer")->required();
  command->add_option("to", options->to, "Notation, such as chinese-integer")->required();
  command->footer(
      "What cannot be read or written becomes '-', and the exit code is 1.\n"
      "Example:\n  echo 3500 | kora number arabic-integer english-integer");
}

}  // namespace koralite::toolkit::cli
