// kora lookup: what the phrase table knows about a phrase.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "decoder/compact_trans_model.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  std::string phrase;
};

int look_up(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  const auto handle = open_handle(folder);
  textProcess::ProcessStr text(false, options.phrase);
  textProcess::ProcessWordSeq words(false);
  handle->DoPreprocess(text, words);
  const decoder::SharedMember& models = handle->translator().models();
  std::vector<int> ids;
  std::string looked_for;  // what the text steps made of the phrase
  for (const common::word_node_t& node : words.words()) {
    // A span with a fixed translation is in the table under its tag.
    const char* word = node.tag != nullptr ? node.tag : node.word;
    looked_for += (looked_for.empty() ? "" : " ") + std::string(word);
    int id = 0;
    if (!models.source_vocab->find(word, id)) {
      throw std::runtime_error(
          "the source vocabulary does not hold '" + std::string(word) + "'" +
          (node.tag != nullptr ? ", the tag of '" + std::string(node.word) + "'" : ""));
    }
    ids.push_back(id);
  }
  if (ids.empty() || ids.size() > decoder::TransModel::kMaxPhrase) {
    throw std::runtime_error("a phrase has 1 to 8 words; this one has " +
                             std::to_string(ids.size()));
  }
  const decoder::CompactTransModel table(models.trans_model_path);
  decoder::TransModel::target_table_t cells;
  table.search_sentence(ids, cells);
  decoder::TargetData& block = cells[0][ids.size() - 1];
  if (block.empty()) {
    throw std::runtime_error("the phrase table does not hold '" + looked_for + "'");
  }
  if (looked_for != options.phrase) {
    std::fprintf(stderr, "looked for '%s'\n", looked_for.c_str());
  }
  LineWriter writer(STDOUT_FILENO);
  writer.write(
      "target\ttranslation\tlanguage model: all words, full windows\t"
      "before: monotone swap other\tafter: monotone swap other\n");
  block.begin();
  for (decoder::target_entry_t entry; block.next(models.compressor.get(), entry);) {
    if (!entry.fits()) {
      continue;
    }
    std::string line;
    for (const int id : entry.words()) {
      if (!line.empty()) {
        line += ' ';
      }
      line += models.target_vocab->decode(id);
    }
    const auto put = [&](std::size_t index, char separator) {
      char number[32];
      std::snprintf(number, sizeof(number), "%c%.3f", separator,
                    static_cast<double>(entry.scores[index]));
      line += number;
    };
    const std::size_t first = entry.score_count == 9 ? 2 : 0;
    put(first, '\t');
    if (first == 2) {
      put(0, '\t');
      put(1, ' ');
    } else {
      line += "\t-";
    }
    for (std::size_t i = 0; i < 6; ++i) {
      put(first + 1 + i, i % 3 == 0 ? '\t' : ' ');
    }
    writer.write(line + '\n');
  }
  writer.flush();
  return kFine;
}

}  // namespace

void add_lookup(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "lookup",
      "Show the translations of one phrase, with their scores (natural logarithms)", look_up);
  add_model_options(*command, options->model);
  command->add_option("phrase", options->phrase, "1 to 8 words, as people write them")->required();
  command->footer("Example:\n  kora lookup -m models/en-zh 'good morning'");
}

}  // namespace koralite::toolkit::cli
