// kora vocab: the words of a vocabulary and their ids.
#include "decoder/vocab.h"

#include <unistd.h>

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
};

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
  const auto [command, options] = add_command<options_t>(
      program, run, "vocab", "List a vocabulary, or the ids of words: ID TAB WORD", show);
  add_model_options(*command, options->model);
  command->add_option("--side", options->side, "Side of the model")
      ->check(CLI::IsMember({"source", "target"}))
      ->capture_default_str();
  command->add_option("--file", options->file, "A vocabulary file, without a model");
  command->add_option("words", options->words,
                      "Words to look up; '-' is the id of a missing one, and the exit code is 1");
  command->footer("Example:\n  kora vocab -m models/en-zh --side source house tree");
}

}  // namespace koralite::toolkit::cli
