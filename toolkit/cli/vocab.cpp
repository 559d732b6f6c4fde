// kora vocab: the words of a vocabulary and their ids, or how much of a text is in it.
#include "decoder/vocab.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  std::string side = "target";
  std::string file;
  std::vector<std::string> words;
  bool count = false;
};

// How many words of standard input, as the text steps leave them, the model does not know.
int count_unknown(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  const std::unique_ptr<translator::TransImpl> handle = open_handle(folder);
  decoder::Vocab vocab;
  vocab.load(folder.file(folder.decoder.source_vocab).c_str());
  std::uint64_t words = 0;
  std::uint64_t unknown = 0;
  LineReader reader(STDIN_FILENO);
  for (std::string line; reader.read(line);) {
    textProcess::ProcessStr str(false, line);
    textProcess::ProcessWordSeq nodes(false);
    handle->Preprocess(str, nodes);
    for (const common::word_node_t& node : nodes.words()) {
      int id = 0;
      ++words;
      unknown += node.tag == nullptr && !vocab.find(node.word, id) ? 1 : 0;
    }
  }
  char rate[32];
  std::snprintf(
      rate, sizeof(rate), "%.1f",
      words == 0 ? 0.0 : 1000.0 * static_cast<double>(unknown) / static_cast<double>(words));
  LineWriter writer(STDOUT_FILENO);
  writer.write(std::to_string(words) + " words, " + std::to_string(unknown) + " unknown, " + rate +
               " per 1000\n");
  writer.flush();
  return kFine;
}

int show(const options_t& options) {
  std::string path = options.file;
  if (path.empty()) {
    const model_folder_t folder = open_model(options.model);
    path = folder.file(options.side == "source" ? folder.decoder.source_vocab
                                                : folder.decoder.target_vocab);
  }
  require_readable(options.file);
  decoder::Vocab vocab;
  try {
    vocab.load(path.c_str());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(path + ": " + error.what() + "; build or copy the file again");
  }
  LineWriter writer(STDOUT_FILENO);
  const auto put = [&](int id, const std::string& word) {
    writer.write((id < 0 ? std::string("-") : std::to_string(id)) + '\t' + word + '\n');
  };
  if (options.words.empty()) {
    for (int id = 0; id < static_cast<int>(vocab.ne_count()); ++id) {
      put(id, vocab.decode(id));
    }
    const int end = decoder::Vocab::kFirstWordId + static_cast<int>(vocab.word_count());
    for (int id = decoder::Vocab::kFirstWordId; id < end; ++id) {
      put(id, vocab.decode(id));
    }
  }
  int code = kFine;
  for (const std::string& word : options.words) {
    int id = 0;
    const bool is_known = vocab.find(word.c_str(), id);
    put(is_known ? id : -1, word);
    if (!is_known) {
      code = kBadInput;
    }
  }
  writer.flush();
  return code;
}

}  // namespace

void add_vocab(CLI::App& program, run_t& run) {
  auto options = std::make_shared<options_t>();
  CLI::App* command =
      program.add_subcommand("vocab", "List a vocabulary, or the ids of words: ID TAB WORD");
  add_model_options(*command, options->model);
  command->add_option("--side", options->side, "Side of the model")
      ->check(CLI::IsMember({"source", "target"}))
      ->capture_default_str();
  command->add_option("--file", options->file, "A vocabulary file, without a model");
  command->add_flag("--count", options->count,
                    "Count the words of standard input that the model does not know");
  command->add_option("words", options->words,
                      "Words to look up; '-' is the id of a missing one, and the exit code is 1");
  command->footer("Example:\n  kora vocab -m models/en-zh --side source house tree");
  command->callback([&run, options] {
    run = [options] { return options->count ? count_unknown(*options) : show(*options); };
  });
}

}  // namespace koralite::toolkit::cli
