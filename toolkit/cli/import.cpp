// kora import: a translation memory as two text files that kora train takes.
#include <cstdio>
#include <memory>
#include <string>

#include "toolkit/cli/command.h"
#include "toolkit/formats/translation_memory.h"
#include "toolkit/io/text_output.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::string path;
  std::string direction;
  std::string output;
  MemoryFormat format = MemoryFormat::kByName;
};

void write(const std::string& path, const std::vector<std::string>& lines) {
  TextOutput file(path);
  for (const std::string& line : lines) {
    file.write(line + '\n');
  }
  file.commit();
}

int import_memory(const options_t& options) {
  const direction_t direction = direction_named(options.direction);
  const memory_t memory = read_translation_memory(options.path, direction, options.format);
  const std::string source = options.output + '.' + std::string(direction.source);
  const std::string target = options.output + '.' + std::string(direction.target);
  std::fprintf(stderr, "%s: %llu units, %llu pairs\n", options.path.c_str(),
               static_cast<unsigned long long>(memory.report.units),
               static_cast<unsigned long long>(memory.report.pairs));
  for (const std::string& line : memory.report.lines()) {
    std::fprintf(stderr, "  %s\n", line.c_str());
  }
  if (memory.source.empty()) {
    throw std::runtime_error(options.path + ": no pair of " + direction.name() +
                             " in it; are the languages right?");
  }
  write(source, memory.source);
  write(target, memory.target);
  std::fprintf(stderr, "wrote %s and %s\n", source.c_str(), target.c_str());
  return kFine;
}

}  // namespace

void add_import(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command =
      program.add_subcommand("import", "Make training text from a translation memory");
  command->add_option("memory", options->path, "TMX, XLIFF or text with tabs")->required();
  command->add_option("--direction", options->direction, "Direction such as en-zh")->required();
  command
      ->add_option("-o,--output", options->output,
                   "Where the text goes: OUTPUT.en and OUTPUT.zh, by the languages")
      ->required();
  const std::map<std::string, MemoryFormat> formats = {
      {"tmx", MemoryFormat::kTmx}, {"xliff", MemoryFormat::kXliff}, {"tsv", MemoryFormat::kTsv}};
  command->add_option("--format", options->format, "tmx, xliff or tsv, when the name doesn't tell")
      ->transform(CLI::CheckedTransformer(formats).description("{tmx,xliff,tsv}"));
  command->footer("Example:\n  kora import memory.tmx --direction en-zh -o mine");
  command->callback([&run, options] { run = [options] { return import_memory(*options); }; });
}

}  // namespace koralite::toolkit::cli
