// kora translate: a line filter over the engine.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/sha256.h"
#include "document/document_translator.h"
#include "document/text_encoding.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/cli/ordered_pipeline.h"
#include "toolkit/cli/translate_shards.h"
#include "toolkit/explain/word_links.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/parallel.h"
#include "toolkit/io/progress.h"
#include "toolkit/io/text_lines.h"
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
  bool raw = false;                     // the bare engine
  std::vector<std::string> glossaries;  // files
  bool is_case_sensitive = false;       // of the glossaries
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

// What translations depend on beside the folder and the text.
std::string settings_of(const options_t& options, const std::vector<std::string>& tables) {
  std::string settings = options.raw ? "raw" : "documents";
  settings += options.fast ? " fast" : options.best ? " best" : "";
  settings += options.is_case_sensitive ? " case-sensitive" : "";
  for (const std::string& table : tables) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(table.data());
    settings += " glossary " + common::Sha256::hex_of({bytes, table.size()});
  }
  return settings;
}

// A handle with what protects its text; without the latter the bare engine.
struct worker_t {
  std::unique_ptr<translator::TransImpl> handle;
  std::unique_ptr<document::DocumentTranslator> documents;
};

// Text in another encoding would be translated into rubbish without a word.
void refuse_other_encodings(const std::string& line, std::size_t number) {
  const std::string encoding = document::find_encoding(line);
  if (!encoding.empty()) {
    throw std::runtime_error(
        "line " + std::to_string(number) + " of standard input is not UTF-8 and looks like " +
        encoding + "; convert the text first: " + document::conversion_advice(encoding, "FILE") +
        " (or translate its bytes as they are with --raw)");
  }
}

// What stands in the output for one line, line feed included.
std::string translate_line(const options_t& options, const model_folder_t& folder,
                           const worker_t& worker, const std::string& line) {
  translator::TransImpl& handle = *worker.handle;
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
    if (worker.documents) {
      return worker.documents->translate_text(line, false).text + '\n';
    }
    translator::translate_text(handle, source, line, output);
    return output + '\n';
  }
  std::vector<common::align_t> links;
  if (worker.documents) {
    auto result = worker.documents->translate_text(line, true);
    output = std::move(result.text);
    links = std::move(result.links);
  } else {
    translator::translate_text(handle, source, line, output, links);
  }
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
  std::vector<std::string> tables;
  for (const std::string& path : options.glossaries) {
    std::string& table = tables.emplace_back();
    for (const std::string& line : read_lines(path)) {
      table += line + '\n';
    }
  }
  const std::size_t threads = thread_count(static_cast<unsigned>(options.threads));
  std::vector<worker_t> workers(threads);
  for (worker_t& worker : workers) {
    worker.handle = open_handle(folder);
    choose_limits(options, *worker.handle);
    if (options.raw) {
      continue;
    }
    worker.documents = std::make_unique<document::DocumentTranslator>(
        *worker.handle, source_type(folder), language_type(folder.engine.direction.target));
    for (std::size_t i = 0; i < tables.size(); ++i) {
      const std::string report = worker.documents->lines().glossary().add(
          tables[i], options.is_case_sensitive, *worker.handle);
      if (&worker == workers.data() && !report.empty()) {
        std::fprintf(stderr, "%s: entries that are left out:\n%s", options.glossaries[i].c_str(),
                     report.c_str());
      }
    }
  }

  if (!options.bulk.run.output_dir.empty()) {
    return run_bulk(
        options.bulk, folder, threads, settings_of(options, tables),
        [&](std::size_t worker, const std::string& text) {
          const std::string encoding = options.raw ? "" : document::find_encoding(text);
          if (!encoding.empty()) {
            throw std::runtime_error("not UTF-8, looks like " + encoding +
                                     "; convert the file first: " +
                                     document::conversion_advice(encoding, options.bulk.run.input));
          }
          std::string output = translate_line(options, folder, workers[worker], text);
          output.pop_back();  // the line feed
          return output;
        },
        [&](std::size_t worker) -> translator::TransImpl& { return *workers[worker].handle; });
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
  std::size_t lines_read = 0;
  run_ordered(
      threads,
      [&](std::string& line) {
        const bool some = reader.read(line);
        if (some && !options.raw) {
          refuse_other_encodings(line, ++lines_read);
        }
        return some;
      },
      [&](std::size_t worker, const std::string& line) {
        progress.read(line.size() + 1);
        return translate_line(options, folder, workers[worker], line);
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
                       "each as TEXT ||| SCORE, and an empty line after them")
          ->check(CLI::Range(1, 10000));
  CLI::Option* alignment =
      command
          ->add_option("--alignment", options->alignment,
                       "After each translation ' ||| ' and which parts belong together: 'words' as "
                       "i-j from 0 (of languages without spaces each character), 'bytes' as "
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
  CLI::Option* raw = command->add_flag(
      "--raw", options->raw,
      "The bare engine: nothing is protected, and spaces are not kept as they are");
  command
      ->add_option("--glossary", options->glossaries,
                   "A table of terms, source TAB target, an empty target to keep the source; may "
                   "be given several times")
      ->excludes(raw)
      ->excludes(nbest);
  command->add_flag("--case-sensitive", options->is_case_sensitive,
                    "Terms of the glossaries match only as they are written");
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
