// kora translate: a line filter over the engine.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/cli/ordered_pipeline.h"
#include "toolkit/explain/word_links.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/parallel.h"
#include "toolkit/io/progress.h"
#include "translator/text_translation.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  std::size_t threads = 1;
  unsigned nbest = 0;
  std::string alignment;  // "words", "bytes" or empty
  bool check = false;
};

// What stands in the output for one line, line feed included.
std::string translate_line(const options_t& options, const model_folder_t& folder,
                           translator::TransImpl& handle, const std::string& line) {
  const textProcess::LangType source = source_type(folder);
  std::string output;
  if (options.nbest > 0) {
    std::vector<std::string> outputs;
    if (!line.empty()) {
      handle.Translate(options.nbest, line, outputs);
    }
    for (const std::string& text : outputs) {
      output += text + '\n';
    }
    return output + '\n';
  }
  if (options.alignment.empty()) {
    translator::translate_text(handle, source, line, output);
    return output + '\n';
  }
  std::vector<common::align_t> links;
  translator::translate_text(handle, source, line, output, links);
  const direction_t& direction = folder.engine.direction;
  return output + " ||| " +
         (options.alignment == "bytes"
              ? format_byte_links(links)
              : format_word_links(links, line, has_no_blanks(direction.source), output,
                                  has_no_blanks(direction.target))) +
         '\n';
}

// Bytes of standard input when it is a file, else 0.
std::uint64_t size_of_input() {
  struct stat status {};
  const bool is_file = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
  return is_file ? static_cast<std::uint64_t>(status.st_size) : 0;
}

int translate(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  require_translation(folder);
  if (options.check) {
    const auto wrong = verify_manifest(folder, read_manifest(folder.path));
    if (!wrong.empty()) {
      throw std::runtime_error(wrong.front());
    }
  }
  std::vector<std::unique_ptr<translator::TransImpl>> handles;
  const std::size_t threads = thread_count(static_cast<unsigned>(options.threads));
  for (std::size_t i = 0; i < threads; ++i) {
    handles.push_back(open_handle(folder));
  }

  catch_interrupts();
  const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  const bool shows_progress = !is_terminal && isatty(STDERR_FILENO) != 0;
  if (isatty(STDIN_FILENO) != 0) {
    std::fputs("reading from the terminal; end with ctrl-D\n", stderr);
  }
  LineProgress progress(shows_progress, size_of_input());
  LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  run_ordered(
      threads, [&](std::string& line) { return reader.read(line); },
      [&](std::size_t worker, const std::string& line) {
        progress.read(line.size() + 1);
        return translate_line(options, folder, *handles[worker], line);
      },
      [&](const std::string& output, bool is_last) {
        writer.write(output);
        if (is_last || is_terminal) {
          writer.flush();
        }
        progress.wrote_line();
      });
  writer.flush();
  progress.finish();
  return kFine;
}

}  // namespace

void add_translate(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command = program.add_subcommand("translate", "Translate standard input, line by line");
  add_model_options(*command, options->model);
  command
      ->add_option("-t,--threads", options->threads,
                   "Threads, 0: all cores; the output is the same for any")
      ->check(CLI::Range(0, 256))
      ->capture_default_str();
  CLI::Option* nbest =
      command
          ->add_option("--nbest", options->nbest,
                       "For each line, taken as one sentence, the N best translations, a line "
                       "each as TEXT ||| SCORE, and an empty line behind them")
          ->check(CLI::Range(1, 10000));
  CLI::Option* alignment =
      command
          ->add_option(
              "--alignment", options->alignment,
              "Behind each translation ' ||| ' and which parts belong together: 'words' as "
              "i-j from 0 (of languages without blanks each character), 'bytes' as "
              "first:last-first:last; words when not said")
          ->expected(0, 1)
          ->check(CLI::IsMember({"words", "bytes"}))
          ->excludes(nbest);
  command->add_flag("--check", options->check, "Compare the files with the manifest first");
  command->footer(
      "Examples:\n  echo 'good morning' | kora translate -m models/en-zh\n"
      "  kora translate --threads 4 < book.en > book.zh\n"
      "  kora translate --nbest 5 < questions.en\n"
      "  kora translate --alignment < book.en");
  command->callback([&run, options, alignment] {
    if (alignment->count() > 0 && options->alignment.empty()) {
      options->alignment = "words";
    }
    run = [options] { return translate(*options); };
  });
}

}  // namespace koralite::toolkit::cli
