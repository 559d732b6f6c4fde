// kora eval: how good translations are, against references.
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "toolkit/cli/command.h"
#include "toolkit/eval/bleu.h"
#include "toolkit/eval/bootstrap.h"
#include "toolkit/eval/chrf.h"
#include "toolkit/io/text_lines.h"

namespace koralite::toolkit::cli {

namespace {

struct options_t {
  std::vector<std::string> references;
  std::string language;
  std::string tokenizer;
  std::string translation;
  std::string other;
  bool lower_case = false;
  int samples = 1000;
};

// One line of the table; with a second system also its scores, the difference and how sure it is.
template <class Stats, class Score>
void print_row(const char* name, std::span<const Stats> base, std::span<const Stats> other,
               const BootstrapOptions& options, Score&& score) {
  if (other.empty()) {
    const Interval i = bootstrap(base, score, options);
    std::printf("%-6s %6.2f  [%.2f, %.2f]\n", name, i.score, i.low, i.high);
    return;
  }
  const PairedResult pair = paired_bootstrap(base, other, score, options);
  std::printf("%-6s %6.2f  [%.2f, %.2f]  %6.2f  [%.2f, %.2f]  %+.2f  p = %.3f\n", name,
              pair.base.score, pair.base.low, pair.base.high, pair.other.score, pair.other.low,
              pair.other.high, pair.difference, pair.p);
}

int evaluate(const options_t& options) {
  if (options.tokenizer.empty() &&
      language_type(options.language) == textProcess::LangType::kNone) {
    throw CLI::ValidationError("--language", "'" + options.language +
                                                 "' is no language code; use one of: " +
                                                 language_codes() + ", or say --tokenizer");
  }
  std::vector<std::vector<std::string>> references;
  for (const std::string& path : options.references) {
    references.push_back(read_lines(path));
  }
  BleuOptions bleu_options;
  bleu_options.tokenizer = options.tokenizer.empty() ? tokenizer_for_language(options.language)
                                                     : tokenizer_by_name(options.tokenizer);
  bleu_options.lower_case = options.lower_case;
  const BleuScorer bleu_scorer(references, bleu_options);
  const ChrfScorer chrf_scorer(references, options.lower_case);

  const std::vector<std::string> base = read_lines(options.translation);
  if (base.empty() && references.front().empty()) {
    throw std::runtime_error(options.translation + ": an empty file; there is nothing to score");
  }
  const std::vector<BleuStats> base_bleu = bleu_scorer.sentences(base);
  const std::vector<ChrfStats> base_chrf = chrf_scorer.sentences(base);
  std::vector<BleuStats> other_bleu;
  std::vector<ChrfStats> other_chrf;
  if (!options.other.empty()) {
    const std::vector<std::string> other = read_lines(options.other);
    other_bleu = bleu_scorer.sentences(other);
    other_chrf = chrf_scorer.sentences(other);
  }

  if (!other_bleu.empty()) {
    std::printf("score  %s (95 %%)  %s (95 %%)  difference  chance\n", options.translation.c_str(),
                options.other.c_str());
  }
  BootstrapOptions bootstrap_options;
  bootstrap_options.samples = options.samples;
  print_row<BleuStats>("BLEU", base_bleu, other_bleu, bootstrap_options,
                       [](const BleuStats& stats) { return bleu(stats).score; });
  print_row<ChrfStats>("chrF2", base_chrf, other_chrf, bootstrap_options,
                       [](const ChrfStats& stats) { return chrf(stats); });
  BleuStats total;
  for (const BleuStats& stats : base_bleu) {
    total += stats;
  }
  std::printf("BLEU   %s\n", bleu(total).text().c_str());
  std::printf("BLEU   %s\nchrF2  %s\n", bleu_scorer.signature().c_str(),
              chrf_scorer.signature().c_str());
  return kFine;
}

}  // namespace

void add_eval(CLI::App& program, run_t& run) {
  const auto [command, options] = add_command<options_t>(
      program, run, "eval", "Score translations: BLEU and chrF with 95 % intervals", evaluate);
  command->add_option("translation", options->translation, "Translations, a line each")->required();
  command
      ->add_option("-r,--reference", options->references,
                   "Reference translations; may be given several times")
      ->required();
  command
      ->add_option("-l,--language", options->language,
                   "Language of the text, such as zh: chooses how it is cut into words")
      ->required();
  command->add_option("--tokenizer", options->tokenizer, "How to cut the text instead")
      ->check(CLI::IsMember({"none", "13a", "zh", "char"}));
  command->add_option("--compare", options->other,
                      "Translations of a second system: also the difference, and how likely "
                      "chance alone would make it");
  command->add_flag("--lower-case", options->lower_case, "Compare without regard to case");
  command->add_option("--samples", options->samples, "Samples of the bootstrap")
      ->check(CLI::Range(10, 100000))
      ->capture_default_str();
  command->footer("Example:\n  kora eval out.zh -r test.zh -l zh");
}

}  // namespace koralite::toolkit::cli
