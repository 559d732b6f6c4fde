#include "toolkit/cli/translate_shards.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include "common/sha256.h"
#include "decoder/vocab.h"
#include "toolkit/cli/command.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/io/interrupt.h"
#include "translator/text_translation.h"

namespace koralite::toolkit::cli {

namespace {

// Sets the first and last shard; a usage error if the words name none.
void parse_shards(const std::string& words, bulk::shard_options_t& options) {
  if (words.empty()) {
    return;
  }
  const char* const end = words.data() + words.size();
  auto [stop, error] = std::from_chars(words.data(), end, options.first);
  options.last = options.first;
  if (error == std::errc() && stop != end && *stop == '-') {
    const auto rest = std::from_chars(stop + 1, end, options.last);
    stop = rest.ptr;
    error = rest.ec;
  }
  if (error != std::errc() || stop != end || options.last < options.first) {
    throw CLI::ValidationError("--shards", "'" + words + "' is not like 3 or 0-9");
  }
}

// What tells one model folder from another: its configuration, and its manifest with the digests of
// all files. Without a manifest the sizes of the files must do.
std::string describe(const model_folder_t& folder) {
  std::string text;
  for (const std::string& path : {folder.engine_path(), folder.file(folder.engine.decoder),
                                  folder.file(std::string(kManifestName))}) {
    std::ifstream file(path, std::ios::binary);
    text.append(std::istreambuf_iterator<char>(file), {}).append("\n");
  }
  for (const std::string& name : folder.named_files()) {
    std::error_code error;
    text +=
        name + ' ' + std::to_string(std::filesystem::file_size(folder.file(name), error)) + '\n';
  }
  return text;
}

// Whether a token is more than punctuation.
bool has_letter_or_digit(std::string_view word) {
  const auto text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(word.data(), static_cast<std::int32_t>(word.size())));
  for (std::int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
    if (u_isalnum(text.char32At(at)) != 0) {
      return true;
    }
  }
  return false;
}

// Counts the words of a text as the handle cuts it, and names those that the source vocabulary does
// not have; numbers, names and the like, which need none, are known. Punctuation is no word.
void count_words(translator::TransImpl& handle, textProcess::LangType source,
                 const decoder::Vocab& vocab, const std::string& text,
                 bulk::translation_t& translation) {
  for (const std::string& sentence : translator::split_sentences(text, source)) {
    textProcess::ProcessStr str(false, sentence);
    textProcess::ProcessWordSeq words(false);
    handle.DoPreprocess(str, words);
    for (const common::word_node_t& node : words.words()) {
      if (!has_letter_or_digit(node.word)) {
        continue;
      }
      ++translation.words;
      int id = 0;
      if (node.translation == nullptr && !vocab.find(node.word, id)) {
        translation.unknown.emplace_back(node.word);
      }
    }
  }
}

}  // namespace

CLI::Option* add_bulk_options(CLI::App& command, bulk_options_t& options) {
  auto& run = options.run;
  CLI::Option* output = command.add_option(
      "--output-dir", run.output_dir,
      "Bulk work: translate the file INPUT in shards into this folder; run again, "
      "it does only what is missing");
  CLI::Option* input =
      command.add_option("input", run.input, "A text file, plain, gzip or zstd, for --output-dir")
          ->needs(output);
  output->needs(input);
  command
      .add_option("--shard-size", run.shard_size, "Lines in a shard; a new folder for another size")
      ->check(CLI::Range(1, 1000000000))
      ->capture_default_str()
      ->needs(output);
  command
      .add_option("--shards", options.shards, "Only these, such as 3 or 0-9; the first one is 0")
      ->needs(output);
  CLI::Option* column =
      command
          .add_option("--column", run.format.column,
                      "Lines are tab-separated: translate this column, from 1, into one more")
          ->check(CLI::Range(1, 1000000))
          ->needs(output);
  CLI::Option* field = command
                           .add_option("--field", run.format.field,
                                       "Lines are JSON objects: translate the text of this field")
                           ->needs(output)
                           ->excludes(column);
  command.add_option("--output-field", run.format.output, "The field that the translation gets")
      ->capture_default_str()
      ->needs(field);
  command
      .add_option("--cache", options.cache,
                  "MB for translations of lines that were met before, which are not made again")
      ->check(CLI::Range(0, 1000000))
      ->capture_default_str()
      ->needs(output);
  return output;
}

int run_bulk(bulk_options_t options, const model_folder_t& folder, std::size_t threads,
             const std::string& settings,
             const std::function<std::string(std::size_t, const std::string&)>& translate_line,
             const std::function<translator::TransImpl&(std::size_t)>& handle) {
  auto& run = options.run;
  parse_shards(options.shards, run);
  run.cache_bytes = options.cache << 20U;
  run.threads = static_cast<unsigned>(threads);
  const std::string model = describe(folder) + settings;
  run.settings =
      common::Sha256::hex_of({reinterpret_cast<const unsigned char*>(model.data()), model.size()});
  decoder::Vocab vocab;
  vocab.load(folder.file(folder.decoder.source_vocab).c_str());
  const textProcess::LangType source = source_type(folder);
  catch_interrupts();
  ProgressBar bar;
  const bulk::shard_report_t report = bulk::translate_shards(
      run,
      [&](unsigned worker, const std::string& text) {
        bulk::translation_t translation;
        translation.text = translate_line(worker, text);
        count_words(handle(worker), source, vocab, text, translation);
        return translation;
      },
      bar.callback());
  std::fputs(bulk::format_report(report).c_str(), stdout);
  return report.failures == 0 ? kFine : kBadInput;
}

}  // namespace koralite::toolkit::cli
