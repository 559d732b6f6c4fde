// kora resource: packs, unpacks and describes scrambled record files.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/resource/recase_builder.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/resource/rule_source.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::string input;
  std::string output;
  std::string kind = "lines";
  bool joined = false;
};

int pack(const options_t& options) {
  if (options.kind == "rules") {
    write_rule_file(read_rule_source(options.input), options.output);
    return kFine;
  }
  if (options.kind == "entities") {
    entity_options_t how;
    if (options.joined) {
      how.join.clear();
    }
    const entity_report_t report =
        write_entity_file(read_entities(options.input), how, options.output);
    for (const std::string& line : report.dropped) {
      std::fprintf(stderr, "%s\n", line.c_str());
    }
    std::fprintf(stderr, "%s: %zu of %zu entries\n", options.output.c_str(), report.written,
                 report.read);
    return kFine;
  }
  if (options.kind == "recase") {
    write_recase_file(options.output, read_lines(options.input));
    return kFine;
  }
  write_resource_file(options.output, read_lines(options.input));
  return kFine;
}

// What reading the file gives, or an error that names it.
auto from_resource(const std::string& path, const auto& read) {
  require_readable(path);
  try {
    require_resource_file(path);
    return read(path);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(path + ": " + error.what() +
                             "; make resource files with 'kora resource pack'");
  }
}

int unpack(const options_t& options) {
  LineWriter writer(STDOUT_FILENO);
  for (const std::string& line : from_resource(options.input, read_resource_file)) {
    writer.write(line + '\n');
  }
  writer.flush();
  return kFine;
}

int list(const options_t& options) {
  const resource_info_t info = from_resource(options.input, inspect_resource_file);
  LineWriter writer(STDOUT_FILENO);
  writer.write("records\t" + std::to_string(info.records) + "\nbytes a record\t" +
               std::to_string(info.record_size) + "\nlongest line\t" +
               std::to_string(info.longest_line) + "\nbytes after the last record\t" +
               std::to_string(info.trailing_bytes) + '\n');
  writer.flush();
  return kFine;
}

}  // namespace

void add_resource(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command = program.add_subcommand("resource", "Pack, unpack and list resource files");
  command->require_subcommand(0, 1);  // so that an unknown one is named
  command->footer(
      "Examples:\n  kora resource pack --kind rules rules.txt -o rules\n"
      "  kora resource unpack rules");

  CLI::App* packer =
      add_command(*command, run, "pack", "Make a resource file from text", pack, options).command;
  packer->add_option("input", options->input, "Text file")->required();
  packer->add_option("-o,--output", options->output, "Resource file")->required();
  packer->add_option("--kind", options->kind, "What the text is")
      ->check(CLI::IsMember({"lines", "rules", "entities", "recase"}))
      ->capture_default_str();
  packer->add_flag("--joined", options->joined,
                   "Entities of a source language without spaces between words");

  CLI::App* unpacker =
      add_command(*command, run, "unpack", "Print the lines of a resource file", unpack, options)
          .command;
  unpacker->add_option("input", options->input, "Resource file")->required();

  CLI::App* lister =
      add_command(*command, run, "list", "Say what a resource file is made of", list, options)
          .command;
  lister->add_option("input", options->input, "Resource file")->required();
}

}  // namespace koralite::toolkit::cli
