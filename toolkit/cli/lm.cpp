// kora lm: what the language model says about text, word by word or in sum.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "decoder/compact_lm_model.h"
#include "decoder/vocab.h"
#include "toolkit/cli/command.h"
#include "toolkit/cli/line_io.h"
#include "toolkit/io/interrupt.h"
#include "toolkit/io/line_reader.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  model_options_t model;
  bool total_only = false;
};

int score_text(const options_t& options) {
  const model_folder_t folder = open_model(options.model);
  decoder::Vocab vocab;
  vocab.load(folder.file(folder.decoder.target_vocab).c_str());
  const int begin = vocab.encode("<s>");
  const int end = vocab.encode("</s>");
  decoder::CompactLmModel model(folder.file(folder.decoder.lang_model), folder.decoder.ngram_order);
  const auto order = static_cast<std::size_t>(model.order());

  catch_interrupts();
  cli::LineReader reader(STDIN_FILENO);
  LineWriter writer(STDOUT_FILENO);
  double sum = 0;
  std::size_t scored = 0;
  std::size_t unknown = 0;
  std::size_t lines = 0;
  std::vector<std::string_view> words;
  for (std::string line; reader.read(line); ++lines) {
    split_blanks(line, words);
    std::vector<int> ids{begin};
    for (const std::string_view word : words) {
      int id = 0;
      vocab.find(std::string(word).c_str(), id);
      ids.push_back(id);
    }
    ids.push_back(end);
    model.add_to_cache(std::set<int>(ids.begin(), ids.end()));
    double line_sum = 0;
    for (std::size_t i = 1; i < ids.size(); ++i) {
      const std::size_t length = std::min(i + 1, order);
      const auto window = std::span<const int>(ids).subspan(i + 1 - length, length);
      const float score = model.compute_ngram_score(window);
      decoder::lm_levels_t levels;
      model.TrieSearchInvert(window, levels);
      const std::string_view word = i + 1 < ids.size() ? words[i - 1] : "</s>";
      const bool is_unknown = ids[i] == vocab.unknown_id() || levels.longest == 0;
      if (is_unknown) {
        ++unknown;
      } else {
        line_sum += static_cast<double>(score);
        ++scored;
      }
      if (options.total_only) {
        continue;
      }
      std::string row(word);
      char numbers[96];
      if (is_unknown) {
        std::snprintf(numbers, sizeof(numbers), "\tunknown\t%.3f\n", static_cast<double>(score));
      } else {
        const float own = model.probability(
            levels.level[static_cast<std::size_t>(levels.longest) - 1].probability);
        std::snprintf(numbers, sizeof(numbers), "\t%d-gram\t%.3f\tback-off %.3f\n", levels.longest,
                      static_cast<double>(score), static_cast<double>(score - own));
      }
      writer.write(row + numbers);
    }
    sum += line_sum;
    if (!options.total_only) {
      char total[48];
      std::snprintf(total, sizeof(total), "sum\t%.3f\n\n", line_sum);
      writer.write(total);
    }
  }
  char total[160];
  std::snprintf(total, sizeof(total),
                "%zu lines, %zu words scored, %zu unknown, perplexity %.2f without these\n", lines,
                scored, unknown, scored == 0 ? 0.0 : std::exp(-sum / static_cast<double>(scored)));
  writer.write(total);
  writer.flush();
  return kFine;
}

}  // namespace

void add_lm(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "lm",
      "Score lines of target words with the language model: each word, the length of the n-gram "
      "that was used, its score (natural logarithm), and what backing off cost",
      score_text);
  add_model_options(*command, options->model);
  command->add_flag("--perplexity", options->total_only, "Only the sum of the whole text");
  command->footer(
      "Words stand apart by spaces, as the decoder writes them.\n"
      "Example:\n  kora lm -m models/en-zh --perplexity < words.zh");
}

}  // namespace koralite::toolkit::cli
