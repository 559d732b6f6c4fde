#include "toolkit/train/trainer.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "decoder/compact_lm_model.h"
#include "toolkit/align/aligner.h"
#include "toolkit/folder/manifest.h"
#include "toolkit/folder/tag_words.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/line_reader.h"
#include "toolkit/io/text_lines.h"
#include "toolkit/io/text_output.h"
#include "toolkit/lm/ngram_estimator.h"
#include "toolkit/pack/trained_phrases.h"
#include "toolkit/phrases/phrase_file.h"
#include "toolkit/train/report.h"
#include "toolkit/train/training_resources.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

namespace {

namespace fs = std::filesystem;

void write_lines(const std::string& path, std::span<const std::string> lines) {
  TextOutput file(path);
  for (const std::string& line : lines) file.write(line + '\n');
  file.commit();
}

// Words as they are for alignment keep their numbers; for phrases and the language model the tag
// words of one tag are one word.
std::string without_numbers(const std::string& line) {
  std::string text;
  for (const std::string_view word : split_blanks(line)) {
    if (!text.empty()) text += ' ';
    text += word;
    if (is_tag_word(word)) text.back() = '0';
  }
  return text;
}

// The shortest decimal that reads back as the same number, and back; not by the locale's rules.
std::string decimal(double value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return {buffer, result.ptr};
}

// The number behind the first blank of a line that this program wrote.
double number_in(const std::string& line) {
  double value = 0;
  std::from_chars(line.data() + line.find(' ') + 1, line.data() + line.size(), value);
  return value;
}

class Trainer {
 public:
  Trainer(const train_options_t& options, const Progress& progress,
          const std::function<void(const std::string&)>& say)
      : m_options(options),
        m_progress(progress),
        m_say(say),
        m_stages(options.work.empty() ? options.output + ".work" : options.work, say),
        m_resources(options, m_stages, m_model, progress, say,
                    [this](const std::string& warning) { warn(warning); }) {
    m_model.path = m_stages.file("model");
    m_model.engine.direction = options.direction;
    m_model.decoder.ngram_order = static_cast<std::int32_t>(options.order);
    m_model.decoder.source_vocab = "source.vocab";
    m_model.decoder.target_vocab = "target.vocab";
    m_model.decoder.lang_model = "lm";
    m_model.decoder.trans_model = "phrases";
    m_model.decoder.compress_vocab = "phrases.quant";
    fs::create_directories(m_model.path);
  }

  train_result_t run() {
    depend_on_inputs();
    m_stages.run("resources", [&] { m_resources.make(); });
    m_resources.enter();
    if (m_resources.finds_names()) {
      m_stages.run("names", [&] { m_resources.find_false_names(); });
      m_resources.enter();
    }
    m_stages.run("prepare", [&] { prepare_text(); });
    read_preparation_report();
    if (m_options.direction.target == "en") {
      m_stages.run("recase", [&] { m_resources.learn_capitals(); });
      m_resources.enter();
    }
    m_stages.run("align", [&] { align_words(); });
    m_stages.depend(decimal(m_options.min_significance) + ' ' +
                    std::to_string(m_options.always_significant) + ' ' +
                    std::to_string(m_options.max_targets));
    m_stages.run("phrases", [&] { extract_phrases(); });
    m_stages.depend(std::to_string(m_options.order) + ' ' + decimal(m_options.entropy_threshold));
    m_stages.run("language model", [&] { estimate_language_model(); });
    m_result.weights = default_weights();
    if (!m_options.dev_source.empty()) {
      m_stages.depend_on_file(m_options.dev_source);
      m_stages.depend_on_file(m_options.dev_target);
      m_stages.depend(std::to_string(m_options.tune_rounds) + ' ' +
                      std::to_string(m_options.nbest));
      m_stages.run("tune", [&] { tune_weights(); });
      read_weights();
    }
    m_stages.depend(m_options.compact ? "compact" : "plain");
    m_stages.run("pack", [&] { pack(); });
    publish();
    m_result.times = m_stages.times();
    if (!m_options.dev_source.empty()) take_samples();
    write_file(m_options.output + ".html",
               format_report(m_result, read_manifest(m_options.output)));
    m_say("report: " + m_options.output + ".html");
    return std::move(m_result);
  }

 private:
  void depend_on_inputs() {
    const train_options_t& o = m_options;
    m_stages.depend("training format 1 " + o.direction.name());
    std::vector<std::string> inputs = {o.source,   o.target,    o.dictionary,
                                       o.surnames, o.ambiguous, o.readings,
                                       o.entities, o.rules,     o.recase_text};
    inputs.insert(inputs.end(), o.lm_text.begin(), o.lm_text.end());
    for (const std::string& input : inputs) {
      if (input.empty()) {
        m_stages.depend("-");
      } else {
        m_stages.depend_on_file(input);
      }
    }
  }

  void warn(const std::string& warning) {
    m_result.warnings.push_back(warning);
    m_say("warning: " + warning);
  }

  void prepare_text() {
    preparation_options_t options;
    options.threads = m_options.threads;
    const prepared_text_t text = prepare(m_resources.files(), read_lines(m_options.source),
                                         read_lines(m_options.target), options, m_progress);
    write_lines(m_stages.file("prepared.source"), text.source);
    write_lines(m_stages.file("prepared.target"), text.target);
    std::vector<std::string> more;
    for (const std::string& path : m_options.lm_text) {
      const auto lines = prepare_target(m_resources.files(), read_lines(path), options, m_progress);
      more.insert(more.end(), lines.begin(), lines.end());
    }
    write_lines(m_stages.file("prepared.more"), more);

    const preparation_report_t& r = text.report;
    std::string report;
    for (const std::uint64_t n : {r.pairs, r.kept, r.empty, r.too_long, r.identical, r.ill_formed,
                                  r.repeated, r.source_words, r.target_words}) {
      report += std::to_string(n) + '\n';
    }
    for (const auto& [tag, count] : r.tags) {
      report +=
          tag + '\t' + std::to_string(count.found) + '\t' + std::to_string(count.matched) + '\n';
    }
    write_file(m_stages.file("prepared.report"), report);
  }

  void read_preparation_report() {
    preparation_report_t& r = m_result.preparation;
    const auto lines = read_lines(m_stages.file("prepared.report"));
    std::size_t i = 0;
    for (std::uint64_t* n : {&r.pairs, &r.kept, &r.empty, &r.too_long, &r.identical, &r.ill_formed,
                             &r.repeated, &r.source_words, &r.target_words}) {
      *n = std::stoull(lines.at(i++));
    }
    for (; i < lines.size(); ++i) {
      const std::size_t first = lines[i].find('\t');
      const std::size_t second = lines[i].rfind('\t');
      r.tags[lines[i].substr(0, first)] = {
          std::stoull(lines[i].substr(first + 1, second - first - 1)),
          std::stoull(lines[i].substr(second + 1))};
    }
    m_say("  " + std::to_string(r.kept) + " of " + std::to_string(r.pairs) + " pairs kept, " +
          std::to_string(r.source_words) + " source and " + std::to_string(r.target_words) +
          " target words");
    for (const auto& [tag, count] : r.tags) {
      m_say("  <" + tag + ">: " + std::to_string(count.matched) + " of " +
            std::to_string(count.found) + " spans have their translation on the other side");
    }
  }

  // --------------------------------------------------------------------- models

  void align_words() {
    const Bitext bitext = make_bitext(read_lines(m_stages.file("prepared.source")),
                                      read_lines(m_stages.file("prepared.target")));
    AlignOptions options;
    options.threads = m_options.threads;
    const Alignment alignment = align_both(bitext, options, m_progress);
    TextOutput file(m_stages.file("alignment"));
    for (std::size_t i = 0; i < alignment.size(); ++i) file.write(to_text(alignment[i]) + '\n');
    file.commit();
  }

  std::vector<std::string> plain_text(const std::string& name) const {
    std::vector<std::string> lines = read_lines(m_stages.file(name));
    for (std::string& line : lines) line = without_numbers(line);
    return lines;
  }

  void extract_phrases() {
    const Bitext bitext = make_bitext(plain_text("prepared.source"), plain_text("prepared.target"));
    Alignment alignment;
    for (const std::string& line : read_lines(m_stages.file("alignment"))) {
      alignment.add(parse_links(line));
    }
    PhraseOptions options;
    options.threads = m_options.threads;
    options.min_significance = m_options.min_significance;
    options.always_significant = m_options.always_significant;
    options.max_targets = m_options.max_targets;
    TextOutput file(m_stages.file("phrases"));
    const PhraseStatistics statistics = build_phrase_table(
        bitext, alignment, options,
        [&](std::span<const PhrasePair> pairs) {
          for (const PhrasePair& pair : pairs) {
            file.write(format_phrase(pair, bitext.source_words, bitext.target_words));
          }
        },
        m_progress);
    file.commit();
    m_say("  " + std::to_string(statistics.pairs) + " phrase pairs, " +
          std::to_string(statistics.kept) + " kept");
  }

  const TrainedPhrases& phrases() {
    if (!m_phrases) {
      m_phrases = std::make_unique<TrainedPhrases>(
          m_stages.file("phrases"), plain_text("prepared.source"), plain_text("prepared.target"));
    }
    return *m_phrases;
  }

  void estimate_language_model() {
    const TrainedPhrases& table = phrases();
    table.source_vocab().save(m_model.file("source.vocab"));
    table.target_vocab().save(m_model.file("target.vocab"));
    NgramText text;
    for (const std::string& line : plain_text("prepared.target")) text.add_line(line);
    for (const std::string& line : plain_text("prepared.more")) text.add_line(line);
    NgramOptions options;
    options.order = m_options.order;
    options.threads = m_options.threads;
    options.entropy_threshold = m_options.entropy_threshold;
    const NgramModel model = estimate_ngrams(text, options, nullptr, m_progress);
    const lang_model_report_t report =
        pack_lang_model(model, table.target_vocab(), m_model.file("lm"));
    for (const std::string& warning : report.warnings()) warn("language model: " + warning);
    m_say("  " + std::to_string(report.written) + " n-grams, " + std::to_string(report.bytes) +
          " bytes");
  }

  void tune_weights() {
    model_folder_t folder = m_model;
    write_file(folder.engine_path(), format_engine_config(folder.engine));
    const std::vector<std::string> source = read_lines(m_options.dev_source);
    const std::vector<std::vector<std::string>> references = {read_lines(m_options.dev_target)};
    engine_tuner_options_t tuner_options;
    tuner_options.nbest = m_options.nbest;
    tuner_options.threads = m_options.threads;
    tuner_options.tokenizer = tokenizer_for_language(m_options.direction.target);
    TrainingTuner tuner(folder, phrases(), source, references, tuner_options);

    TuneOptions options;
    options.rounds = m_options.tune_rounds;
    options.mert.threads = m_options.threads;
    options.mert.ranges.assign(kFeatures, {});
    for (const std::size_t feature :
         {std::size_t{kDistortion}, std::size_t{kReordering}, std::size_t{kLanguage},
          std::size_t{kTranslation}, kTranslation + std::size_t{1}, kTranslation + std::size_t{2},
          kTranslation + std::size_t{3}}) {
      options.mert.ranges[feature].low = 0;
    }
    const TuneResult result = tune(
        tuner, default_weights(), options,
        [&](const TuneRound& round) { m_say("  " + round.bleu.text()); }, m_progress);
    std::string text;
    for (const TuneRound& round : result.rounds) {
      text += "round " + decimal(round.bleu.score) + '\n';
    }
    for (const double weight : result.weights) text += "weight " + decimal(weight) + '\n';
    write_file(m_stages.file("weights"), text);
  }

  void read_weights() {
    m_result.weights.clear();
    for (const std::string& line : read_lines(m_stages.file("weights"))) {
      if (line.starts_with("weight ")) m_result.weights.push_back(number_in(line));
      if (line.starts_with("round ")) {
        TuneRound round;
        round.bleu.score = number_in(line);
        m_result.rounds.push_back(round);
      }
    }
  }

  void pack() {
    decoder::Parameter& parameter = m_model.decoder;
    set_weights(m_result.weights, parameter);
    parameter.compress = m_options.compact;
    decoder::CompactLmModel lang_model(m_model.file("lm"), parameter.ngram_order);
    phrase_table_options_t options;
    options.compact = m_options.compact;
    options.quantifier_path = m_model.file(parameter.compress_vocab);
    options.max_targets = static_cast<int>(m_options.max_targets);
    options.lang_model = &lang_model;
    options.translation_weight = parameter.translation_weight;
    options.word_weight = parameter.word_weight;
    options.lang_weight = parameter.lang_weight;
    const TrainedPhrases& table = phrases();
    const TrainedPhrases::report_t& report = table.report();
    m_say("  of " + std::to_string(report.lines) + " phrase pairs " + std::to_string(report.lost) +
          " hold a span without translation, " + std::to_string(report.odd_tags) +
          " tags that do not match, " + std::to_string(report.rare_words) + " rare words");
    const phrase_table_report_t packed =
        pack_phrases(table, std::span<const double>(m_result.weights).subspan(kTranslation),
                     options, m_model.file("phrases"));
    for (const std::string& warning : packed.warnings()) warn("phrase table: " + warning);
    m_say("  " + std::to_string(packed.written) + " phrase pairs, " +
          std::to_string(packed.bytes()) + " bytes");
    write_file(m_model.file(m_model.engine.decoder), format_decoder_config(parameter));
    write_file(m_model.engine_path(), format_engine_config(m_model.engine));
  }

  // Copies the finished folder to its place under another name first.
  void publish() {
    m_model = open_model_folder(m_model.path);
    std::vector<std::pair<std::string, std::string>> built_from = {
        {"direction", m_options.direction.name()},
        {"sentence pairs", std::to_string(m_result.preparation.kept)},
        {"source words", std::to_string(m_result.preparation.source_words)},
        {"target words", std::to_string(m_result.preparation.target_words)}};
    if (!m_options.sources.empty()) {
      // The table's first line names its columns; the first two are the source and its licence.
      const auto lines = read_lines(m_options.sources);
      for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::size_t name_end = lines[i].find('\t');
        if (name_end == std::string::npos) continue;
        const std::size_t licence_end = lines[i].find('\t', name_end + 1);
        built_from.emplace_back("source " + lines[i].substr(0, name_end),
                                lines[i].substr(name_end + 1, licence_end == std::string::npos
                                                                  ? std::string::npos
                                                                  : licence_end - name_end - 1));
      }
    }
    built_from.insert(built_from.end(), m_options.built_from.begin(), m_options.built_from.end());
    const std::string beside = m_options.output + ".new";
    fs::remove_all(beside);
    fs::create_directories(beside);
    for (const std::string& name : m_model.named_files()) {
      fs::copy_file(m_model.file(name), beside + '/' + name);
    }
    model_folder_t folder = open_model_folder(beside);
    write_file(beside + '/' + manifest_name,
               format_manifest(make_manifest(folder, std::move(built_from))));
    fs::remove_all(m_options.output);
    fs::rename(beside, m_options.output);
  }

  // Translates some sentences of the tuning set with the finished model.
  void take_samples() {
    constexpr std::size_t wanted = 25;
    constexpr std::size_t shown_unknown = 30;
    const model_folder_t folder = open_model_folder(m_options.output);
    translator::TransImpl handle(language_type(m_options.direction.source),
                                 language_type(m_options.direction.target), folder.engine_path(),
                                 folder.path, folder.engine.decoder);
    const auto source = read_lines(m_options.dev_source);
    const auto reference = read_lines(m_options.dev_target);
    const std::size_t step = std::max<std::size_t>(1, source.size() / wanted);
    for (std::size_t i = 0; i < std::min(source.size(), reference.size()); ++i) {
      textProcess::ProcessStr str(false, source[i]);
      textProcess::ProcessWordSeq words(false);
      handle.Preprocess(str, words);
      for (const common::word_node_t& node : words.words()) {
        std::int32_t id = 0;
        ++m_result.sample_words;
        if (node.tag != nullptr || phrases().source_vocab().find(node.word, id)) continue;
        ++m_result.unknown_words;
        if (m_result.unknown.size() < shown_unknown) m_result.unknown.emplace_back(node.word);
      }
      if (i % step != 0) continue;
      std::string output;
      translator::translate_text(handle, handle.source_type(), source[i], output);
      m_result.samples.push_back({source[i], output, reference[i]});
    }
  }

  const train_options_t& m_options;
  const Progress& m_progress;
  const std::function<void(const std::string&)>& m_say;
  Stages m_stages;
  model_folder_t m_model;
  train_result_t m_result;
  TrainingResources m_resources;
  std::unique_ptr<TrainedPhrases> m_phrases;
};

}  // namespace

train_result_t train(const train_options_t& options, const Progress& progress,
                     const std::function<void(const std::string&)>& say) {
  return Trainer(options, progress, say).run();
}

}  // namespace koralite::toolkit
