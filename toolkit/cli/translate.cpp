// kora translate: a line filter over the engine.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/cli/ordered_pipeline.h"
#include "toolkit/cli/translate_shards.h"
#include "toolkit/explain/word_links.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/io/interrupt.h"
#include "translator/text_translation.h"

namespace koralite::toolkit::cli {

namespace {

constexpr std::int32_t kFastStack = 10;
constexpr std::int32_t kFastOptions = 10;
constexpr std::int32_t kBestStack = 200;
constexpr std::int32_t kBestOptions = 30;
constexpr float kBestBeam = 11.512F;

struct options_t {
  model_options_t model;
  std::size_t threads = 1;
  unsigned nbest = 0;
  std::string alignment;  // "words", "bytes" or empty
  bool check = false;
  bool fast = false;
  bool best = false;
  bulk_options_t bulk;
};

// Narrower or wider than what the folder says, where that leaves room.
void choose_limits(const options_t& options, translator::TransImpl& handle) {
  decoder::search_limits_t limits = handle.translator().limits();
  if (options.fast) {
    limits.stack = std::min(limits.stack, kFastStack);
    limits.options = std::min(limits.options, kFastOptions);
  } else if (options.best) {
    limits.stack = std::max(limits.stack, kBestStack);
    limits.options = std::max(limits.options, kBestOptions);
    limits.beam = std::max(limits.beam, kBestBeam);
  }
  handle.translator().set_limits(limits);
}

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
  try {
    translator::translate_text(handle, source, line, output, links);
  } catch (const std::runtime_error&) {
    // Steps refuse to say where nothing came from, as of a line of zero bytes. It has no links.
    links.clear();
    translator::translate_text(handle, source, line, output);
  }
  const direction_t& direction = folder.engine.direction;
  return output + " ||| " +
         (options.alignment == "bytes"
              ? format_byte_links(links)
              : format_word_links(links, line, has_no_blanks(direction.source), output,
                                  has_no_blanks(direction.target))) +
         '\n';
}

int translate(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  if (!translator::can_split(source_type(folder))) {
    throw std::runtime_error("text in '" + std::string(folder.engine.direction.source) +
                             "' cannot be cut into sentences; use a model for another direction");
  }
  if (options.check) {
    const auto wrong = verify_manifest(folder, read_manifest(folder.path));
    if (!wrong.empty()) {
      throw std::runtime_error(wrong.front());
    }
  }
  std::vector<std::unique_ptr<translator::TransImpl>> handles;
  for (std::size_t i = 0; i < options.threads; ++i) {
    handles.push_back(open_handle(folder));
    choose_limits(options, *handles.back());
  }

  if (!options.bulk.run.output_dir.empty()) {
    return run_bulk(
        options.bulk, folder, options.threads, options.fast ? "fast" : (options.best ? "best" : ""),
        [&](std::size_t worker, const std::string& text) {
          std::string output = translate_line(options, folder, *handles[worker], text);
          output.pop_back();  // the line feed
          return output;
        },
        [&](std::size_t worker) -> translator::TransImpl& { return *handles[worker]; });
  }

  catch_interrupts();
  const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  const bool shows_progress = !is_terminal && isatty(STDERR_FILENO) != 0;
  std::size_t lines = 0;
  LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  run_ordered(
      options.threads, [&](std::string& line) { return reader.read(line); },
      [&](std::size_t worker, const std::string& line) {
        return translate_line(options, folder, *handles[worker], line);
      },
      [&](const std::string& output, bool is_last) {
        writer.write(output);
        if (is_last || is_terminal) {
          writer.flush();
        }
        if (shows_progress && ++lines % 100 == 0) {
          std::fprintf(stderr, "\r%zu lines", lines);
        }
      });
  writer.flush();
  if (shows_progress && lines >= 100) {
    std::fprintf(stderr, "\r%zu lines\n", lines);
  }
  return kFine;
}

}  // namespace

void add_translate(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command = program.add_subcommand("translate", "Translate standard input, line by line");
  add_model_options(*command, options->model);
  command->add_option("-t,--threads", options->threads, "Threads; the output is the same for any")
      ->check(CLI::Range(1, 256))
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
  CLI::Option* fast = command->add_flag("--fast", options->fast,
                                        "A narrow search: several times as fast, a little worse");
  command
      ->add_flag("--best", options->best,
                 "A wide search: several times as slow, a little better at most")
      ->excludes(fast);
  command->add_flag("--check", options->check, "Compare the files with the manifest first");
  add_bulk_options(*command, options->bulk)->excludes(nbest)->excludes(alignment);
  command->footer(
      "Examples:\n  echo 'good morning' | kora translate -m models/en-zh\n"
      "  kora translate --threads 4 < book.en > book.zh\n"
      "  kora translate --nbest 5 < questions.en\n"
      "  kora translate --alignment < book.en\n"
      "  kora translate -t 4 --output-dir out --shard-size 100000 big.txt.gz");
  command->callback([&run, options, alignment] {
    if (alignment->count() > 0 && options->alignment.empty()) {
      options->alignment = "words";
    }
    run = [options] { return translate(*options); };
  });
}

}  // namespace koralite::toolkit::cli
