#include "toolkit/train/trainer.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <unordered_set>
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
#include "toolkit/phrases/dictionary_phrases.h"
#include "toolkit/phrases/phrase_file.h"
#include "toolkit/resource/entity_builder.h"
#include "toolkit/train/report.h"
#include "toolkit/train/training_resources.h"
#include "toolkit/train/word_pairs.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

namespace {

namespace fs = std::filesystem;

void write_lines(const std::string& path, std::span<const std::string> lines) {
  TextOutput file(path);
  for (const std::string& line : lines) {
    file.write(line + '\n');
  }
  file.commit();
}

// Words as they are for alignment keep their numbers; for phrases and the language model the tag
// words of one tag are one word.
std::string without_numbers(const std::string& line) {
  std::string text;
  for (const std::string_view word : split_blanks(line)) {
    if (!text.empty()) {
      text += ' ';
    }
    text += word;
    if (is_tag_word(word)) {
      text.back() = '0';
    }
  }
  return text;
}

// The shortest decimal that reads back as the same number, and back; not by the locale's rules.
std::string decimal(double value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return {buffer, result.ptr};
}

// The number after the first blank of a line that this program wrote.
double number_in(const std::string& line) {
  double value = 0;
  std::from_chars(line.data() + line.find(' ') + 1, line.data() + line.size(), value);
  return value;
}

constexpr std::size_t kMaxPhraseWords = 8;
constexpr const char* kNamesFile = "names";  // entities and names of the finished folder

void append(std::vector<std::string>& lines, std::vector<std::string> more) {
  lines.insert(lines.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
}

// Whether a word of the line stands for a span.
bool holds_tag(const std::string& line) {
  return std::ranges::any_of(split_blanks(line), [](std::string_view word) {
    return word == kLostSpan || is_tag_word(word);
  });
}

class Trainer {
 public:
  Trainer(const train_options_t& options, const Progress& progress,
          const std::function<void(const std::string&)>& say)
      : options_(options),
        progress_(progress),
        say_(say),
        stages_(options.work.empty() ? options.output + ".work" : options.work, say),
        resources_(options, stages_, model_, progress, say,
                   [this](const std::string& warning) { warn(warning); }) {
    model_.path = stages_.file("model");
    model_.engine.direction = options.direction;
    model_.decoder.ngram_order = static_cast<std::int32_t>(options.order);
    model_.decoder.source_vocab = "source.vocab";
    model_.decoder.target_vocab = "target.vocab";
    model_.decoder.lang_model = "lm";
    model_.decoder.trans_model = "phrases";
    model_.decoder.compress_vocab = "phrases.quant";
    fs::create_directories(model_.path);
  }

  train_result_t run() {
    depend_on_inputs();
    stages_.run("resources", [&] { resources_.make(); });
    resources_.enter();
    if (resources_.finds_names()) {
      stages_.run("names", [&] { resources_.find_false_names(); });
      resources_.enter();
    }
    stages_.run("prepare", [&] { prepare_text(); });
    read_preparation_report();
    if (options_.direction.target == "en") {
      stages_.run("recase", [&] { resources_.learn_capitals(); });
      resources_.enter();
    }
    stages_.run("align", [&] { align_words(); });
    stages_.depend(decimal(options_.min_significance) + ' ' +
                   std::to_string(options_.always_significant) + ' ' +
                   std::to_string(options_.max_targets) + ' ' + decimal(options_.sightings) + ' ' +
                   decimal(options_.min_lexical));
    stages_.run("phrases", [&] { extract_phrases(); });
    stages_.depend(std::to_string(options_.order) + ' ' + decimal(options_.entropy_threshold));
    stages_.run("language model", [&] { estimate_language_model(); });
    result_.weights = default_weights();
    if (!options_.dev_source.empty()) {
      stages_.depend_on_file(options_.dev_source);
      stages_.depend_on_file(options_.dev_target);
      stages_.depend(std::to_string(options_.tune_rounds) + ' ' +
                     std::to_string(options_.tune_averages) + ' ' + std::to_string(options_.nbest));
      stages_.run("tune", [&] { tune_weights(); });
      read_weights();
    }
    stages_.depend(options_.compact ? "compact" : "plain");
    if (options_.names.empty()) {
      stages_.depend("-");
    } else {
      stages_.depend_on_file(options_.names);
    }
    stages_.run("pack", [&] {
      add_names();
      pack();
    });
    publish();
    result_.times = stages_.times();
    if (!options_.dev_source.empty()) {
      take_samples();
    }
    write_file(options_.output + ".html", format_report(result_, read_manifest(options_.output)));
    say_("report: " + options_.output + ".html");
    return std::move(result_);
  }

 private:
  void depend_on_inputs() {
    const train_options_t& o = options_;
    stages_.depend("training format 1 " + o.direction.name());
    std::vector<std::string> inputs = {o.source,      o.target,    o.dictionary, o.surnames,
                                       o.ambiguous,   o.readings,  o.entities,   o.rules,
                                       o.recase_text, o.word_pairs};
    inputs.insert(inputs.end(), o.lm_text.begin(), o.lm_text.end());
    for (const std::string& input : inputs) {
      if (input.empty()) {
        stages_.depend("-");
      } else {
        stages_.depend_on_file(input);
      }
    }
  }

  void warn(const std::string& warning) {
    result_.warnings.push_back(warning);
    say_("warning: " + warning);
  }

  void prepare_text() {
    preparation_options_t options;
    options.threads = options_.threads;
    const prepared_text_t text = prepare(resources_.files(), read_lines(options_.source),
                                         read_lines(options_.target), options, progress_);
    write_lines(stages_.file("prepared.source"), text.source);
    write_lines(stages_.file("prepared.target"), text.target);
    std::vector<std::string> more;
    for (const std::string& path : options_.lm_text) {
      const auto lines = prepare_target(resources_.files(), read_lines(path), options, progress_);
      more.insert(more.end(), lines.begin(), lines.end());
    }
    write_lines(stages_.file("prepared.more"), more);
    prepare_word_pairs(text.target);

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
    write_file(stages_.file("prepared.report"), report);
  }

  // The dictionary's pairs as phrases of words.
  void prepare_word_pairs(std::span<const std::string> target_text) {
    std::vector<std::string> source;
    std::vector<std::string> target;
    if (!options_.word_pairs.empty()) {
      const word_pairs_t pairs = read_word_pairs(options_.word_pairs);
      preparation_options_t options;
      options.threads = options_.threads;
      options.max_words = kMaxPhraseWords;
      prepared_text_t text =
          prepare(resources_.files(), pairs.source, pairs.target, options, progress_);
      for (std::size_t i = 0; i < text.source.size(); ++i) {
        if (!holds_tag(text.source[i]) && !holds_tag(text.target[i])) {
          source.push_back(std::move(text.source[i]));
          target.push_back(std::move(text.target[i]));
        }
      }
      say_("  " + std::to_string(source.size()) + " of " + std::to_string(pairs.source.size()) +
           " dictionary pairs kept");
      if (has_no_blanks(options_.direction.target)) {
        cut_unseen_words(target, target_text);
      }
    }
    write_lines(stages_.file("dictionary.source"), source);
    write_lines(stages_.file("dictionary.target"), target);
  }

  void read_preparation_report() {
    preparation_report_t& r = result_.preparation;
    const auto lines = read_lines(stages_.file("prepared.report"));
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
    say_("  " + std::to_string(r.kept) + " of " + std::to_string(r.pairs) + " pairs kept, " +
         std::to_string(r.source_words) + " source and " + std::to_string(r.target_words) +
         " target words");
    for (const auto& [tag, count] : r.tags) {
      say_("  <" + tag + ">: " + std::to_string(count.matched) + " of " +
           std::to_string(count.found) + " spans have their translation on the other side");
    }
  }

  // --------------------------------------------------------------------- models

  void align_words() {
    std::vector<std::string> source = read_lines(stages_.file("prepared.source"));
    std::vector<std::string> target = read_lines(stages_.file("prepared.target"));
    const std::size_t pairs = source.size();
    // The dictionary teaches the aligner words; its own links are of no use.
    append(source, read_lines(stages_.file("dictionary.source")));
    append(target, read_lines(stages_.file("dictionary.target")));
    const Bitext bitext = make_bitext(source, target);
    AlignOptions options;
    options.threads = options_.threads;
    const Alignment alignment = align_both(bitext, options, progress_);
    TextOutput file(stages_.file("alignment"));
    for (std::size_t i = 0; i < pairs; ++i) {
      file.write(to_text(alignment[i]) + '\n');
    }
    file.commit();
  }

  std::vector<std::string> plain_text(const std::string& name) const {
    std::vector<std::string> lines = read_lines(stages_.file(name));
    for (std::string& line : lines) {
      line = without_numbers(line);
    }
    return lines;
  }

  void extract_phrases() {
    Bitext bitext = make_bitext(plain_text("prepared.source"), plain_text("prepared.target"));
    Alignment alignment;
    for (const std::string& line : read_lines(stages_.file("alignment"))) {
      alignment.add(parse_links(line));
    }
    PhraseOptions options;
    options.threads = options_.threads;
    options.min_significance = options_.min_significance;
    options.always_significant = options_.always_significant;
    options.max_targets = options_.max_targets;
    options.min_lexical = options_.min_lexical;
    DictionaryPhrases dictionary(read_lines(stages_.file("dictionary.source")),
                                 read_lines(stages_.file("dictionary.target")), options_.sightings,
                                 bitext);
    TextOutput file(stages_.file("phrases"));
    // A word that looks like what parts the fields of the file can't be written to it.
    const WordId source_bars = bitext.source_words.find("|||");
    const WordId target_bars = bitext.target_words.find("|||");
    const PhraseSink write = [&](std::span<const PhrasePair> pairs) {
      for (const PhrasePair& pair : pairs) {
        if (std::ranges::count(pair.source, source_bars) > 0 ||
            std::ranges::count(pair.target, target_bars) > 0) {
          continue;
        }
        file.write(format_phrase(pair, bitext.source_words, bitext.target_words));
      }
    };
    const PhraseStatistics statistics = build_phrase_table(
        bitext, alignment, options,
        [&](std::span<const PhrasePair> pairs) {
          dictionary.mix(pairs, options.max_targets, write);
        },
        progress_);
    dictionary.rest(options.max_targets, write);
    file.commit();
    say_("  " + std::to_string(statistics.pairs) + " phrase pairs, " +
         std::to_string(statistics.kept) + " kept");
    if (dictionary.pairs() > 0) {
      say_("  " + std::to_string(dictionary.added()) + " of " + std::to_string(dictionary.pairs()) +
           " dictionary pairs are new to the text");
    }
  }

  const TrainedPhrases& phrases() {
    if (!phrases_) {
      std::vector<std::string> source = plain_text("prepared.source");
      std::vector<std::string> target = plain_text("prepared.target");
      // Twice, so that the dictionary's words come before those that the text has once.
      for (int i = 0; i < 2; ++i) {
        append(source, read_lines(stages_.file("dictionary.source")));
        append(target, read_lines(stages_.file("dictionary.target")));
      }
      phrases_ = std::make_unique<TrainedPhrases>(stages_.file("phrases"), source, target);
    }
    return *phrases_;
  }

  // Targets of the dictionary with a word that no text holds: without them the language model
  // would take every such word for an unknown one.
  std::vector<std::string> unseen_targets(std::span<const std::string> text) const {
    std::unordered_set<std::string_view> seen;
    for (const std::string& line : text) {
      for (const std::string_view word : split_blanks(line)) {
        seen.insert(word);
      }
    }
    const VocabBuilder& vocab = phrases_->target_vocab();
    std::vector<std::string> lines = read_lines(stages_.file("dictionary.target"));
    std::erase_if(lines, [&](const std::string& line) {
      const std::vector<std::string_view> words = split_blanks(line);
      std::int32_t id = 0;
      return std::ranges::all_of(words, [&](std::string_view w) { return seen.contains(w); }) ||
             !std::ranges::all_of(words, [&](std::string_view w) { return vocab.find(w, id); });
    });
    std::ranges::sort(lines);
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    return lines;
  }

  void estimate_language_model() {
    const TrainedPhrases& table = phrases();
    table.source_vocab().save(model_.file("source.vocab"));
    table.target_vocab().save(model_.file("target.vocab"));
    std::vector<std::string> lines = plain_text("prepared.target");
    append(lines, plain_text("prepared.more"));
    append(lines, unseen_targets(lines));
    NgramText text;
    for (const std::string& line : lines) {
      text.add_line(line);
    }
    NgramOptions options;
    options.order = options_.order;
    options.threads = options_.threads;
    options.entropy_threshold = options_.entropy_threshold;
    const NgramModel model = estimate_ngrams(text, options, nullptr, progress_);
    const lang_model_report_t report =
        pack_lang_model(model, table.target_vocab(), model_.file("lm"));
    for (const std::string& warning : report.warnings()) {
      warn("language model: " + warning);
    }
    say_("  " + std::to_string(report.written) + " n-grams, " + std::to_string(report.bytes) +
         " bytes");
  }

  void tune_weights() {
    model_folder_t folder = model_;
    write_file(folder.engine_path(), format_engine_config(folder.engine));
    const std::vector<std::string> source = read_lines(options_.dev_source);
    const std::vector<std::vector<std::string>> references = {read_lines(options_.dev_target)};
    engine_tuner_options_t tuner_options;
    tuner_options.nbest = options_.nbest;
    tuner_options.threads = options_.threads;
    tuner_options.tokenizer = tokenizer_for_language(options_.direction.target);
    TrainingTuner tuner(folder, phrases(), source, references, tuner_options);

    TuneOptions options;
    options.rounds = options_.tune_rounds;
    options.averaged = options_.tune_averages;
    options.mert.threads = options_.threads;
    options.mert.ranges.assign(kFeatures, {});
    for (const std::size_t feature :
         {std::size_t{kDistortion}, std::size_t{kReordering}, std::size_t{kLanguage},
          std::size_t{kTranslation}, kTranslation + std::size_t{1}, kTranslation + std::size_t{2},
          kTranslation + std::size_t{3}}) {
      options.mert.ranges[feature].low = 0;
    }
    const TuneResult result = tune(
        tuner, default_weights(), options,
        [&](const TuneRound& round) { say_("  " + round.bleu.text()); }, progress_);
    std::string text;
    for (const TuneRound& round : result.rounds) {
      text += "round " + decimal(round.bleu.score) + '\n';
    }
    for (const double weight : result.weights) {
      text += "weight " + decimal(weight) + '\n';
    }
    write_file(stages_.file("weights"), text);
  }

  void read_weights() {
    result_.weights.clear();
    for (const std::string& line : read_lines(stages_.file("weights"))) {
      if (line.starts_with("weight ")) {
        result_.weights.push_back(number_in(line));
      }
      if (line.starts_with("round ")) {
        TuneRound round;
        round.bleu.score = number_in(line);
        result_.rounds.push_back(round);
      }
    }
  }

  // Names that the models know nothing of, for the finished folder alone: in training they would
  // take from the models what the text says of their words.
  void add_names() {
    fs::remove(model_.file(kNamesFile));
    if (options_.names.empty()) {
      return;
    }
    std::vector<entity_t> names = read_entities(options_.names);
    const entity_options_t options =
        chain_entity_options(options_.direction, stages_.file("source.conf"), model_.path);
    const std::size_t all = names.size();
    std::erase_if(names, [&](const entity_t& name) {
      return std::ranges::all_of(options.words(name.source), [&](const std::string& word) {
        std::int32_t id = 0;
        return phrases().source_vocab().find(word, id);
      });
    });
    say_("  " + std::to_string(names.size()) + " of " + std::to_string(all) +
         " names hold a word that the text does not");
    if (names.empty()) {
      return;
    }
    if (!options_.entities.empty()) {
      const auto entities = read_entities(options_.entities);
      names.insert(names.begin(), entities.begin(), entities.end());
    }
    write_entity_file(names, options, model_.file(kNamesFile));
    model_.engine.entities = kNamesFile;
  }

  void pack() {
    decoder::Parameter& parameter = model_.decoder;
    set_weights(result_.weights, parameter);
    parameter.compress = options_.compact;
    decoder::CompactLmModel lang_model(model_.file("lm"), parameter.ngram_order);
    phrase_table_options_t options;
    options.compact = options_.compact;
    options.quantifier_path = model_.file(parameter.compress_vocab);
    options.max_targets = static_cast<int>(options_.max_targets);
    options.lang_model = &lang_model;
    options.translation_weight = parameter.translation_weight;
    options.word_weight = parameter.word_weight;
    options.lang_weight = parameter.lang_weight;
    const TrainedPhrases& table = phrases();
    const TrainedPhrases::report_t& report = table.report();
    say_("  of " + std::to_string(report.lines) + " phrase pairs " + std::to_string(report.lost) +
         " hold a span without translation, " + std::to_string(report.unbalanced_quotes) +
         " one quote of a pair, " + std::to_string(report.odd_tags) + " tags that do not match, " +
         std::to_string(report.rare_words) + " rare words");
    const phrase_table_report_t packed =
        pack_phrases(table, std::span<const double>(result_.weights).subspan(kTranslation), options,
                     model_.file("phrases"));
    for (const std::string& warning : packed.warnings()) {
      warn("phrase table: " + warning);
    }
    say_("  " + std::to_string(packed.written) + " phrase pairs, " +
         std::to_string(packed.bytes()) + " bytes");
    write_file(model_.file(model_.engine.decoder), format_decoder_config(parameter));
    write_file(model_.engine_path(), format_engine_config(model_.engine));
  }

  // Copies the finished folder to its place under another name first.
  void publish() {
    model_ = open_model_folder(model_.path);
    std::vector<std::pair<std::string, std::string>> built_from = {
        {"direction", options_.direction.name()},
        {"sentence pairs", std::to_string(result_.preparation.kept)},
        {"source words", std::to_string(result_.preparation.source_words)},
        {"target words", std::to_string(result_.preparation.target_words)}};
    if (!options_.sources.empty()) {
      // The table's first line names its columns; the first two are the source and its licence.
      const auto lines = read_lines(options_.sources);
      for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::size_t name_end = lines[i].find('\t');
        if (name_end == std::string::npos) {
          continue;
        }
        const std::size_t licence_end = lines[i].find('\t', name_end + 1);
        built_from.emplace_back("source " + lines[i].substr(0, name_end),
                                lines[i].substr(name_end + 1, licence_end == std::string::npos
                                                                  ? std::string::npos
                                                                  : licence_end - name_end - 1));
      }
    }
    built_from.insert(built_from.end(), options_.built_from.begin(), options_.built_from.end());
    const std::string beside = options_.output + ".new";
    fs::remove_all(beside);
    fs::create_directories(beside);
    for (const std::string& name : model_.named_files()) {
      fs::copy_file(model_.file(name), beside + '/' + name);
    }
    model_folder_t folder = open_model_folder(beside);
    write_file(beside + '/' + kManifestName,
               format_manifest(make_manifest(folder, std::move(built_from))));
    fs::remove_all(options_.output);
    fs::rename(beside, options_.output);
  }

  // Translates some sentences of the tuning set with the finished model.
  void take_samples() {
    constexpr std::size_t kWanted = 25;
    constexpr std::size_t kShownUnknown = 30;
    const model_folder_t folder = open_model_folder(options_.output);
    translator::TransImpl handle(language_type(options_.direction.source),
                                 language_type(options_.direction.target), folder.engine_path(),
                                 folder.path, folder.engine.decoder);
    const auto source = read_lines(options_.dev_source);
    const auto reference = read_lines(options_.dev_target);
    const std::size_t step = std::max<std::size_t>(1, source.size() / kWanted);
    for (std::size_t i = 0; i < std::min(source.size(), reference.size()); ++i) {
      textProcess::ProcessStr str(false, source[i]);
      textProcess::ProcessWordSeq words(false);
      handle.Preprocess(str, words);
      for (const common::word_node_t& node : words.words()) {
        std::int32_t id = 0;
        ++result_.sample_words;
        if (node.tag != nullptr || phrases().source_vocab().find(node.word, id)) {
          continue;
        }
        ++result_.unknown_words;
        if (result_.unknown.size() < kShownUnknown) {
          result_.unknown.emplace_back(node.word);
        }
      }
      if (i % step != 0) {
        continue;
      }
      std::string output;
      translator::translate_text(handle, handle.source_type(), source[i], output);
      result_.samples.push_back({source[i], output, reference[i]});
    }
  }

  const train_options_t& options_;
  const Progress& progress_;
  const std::function<void(const std::string&)>& say_;
  Stages stages_;
  model_folder_t model_;
  train_result_t result_;
  TrainingResources resources_;
  std::unique_ptr<TrainedPhrases> phrases_;
};

}  // namespace

train_result_t train(const train_options_t& options, const Progress& progress,
                     const std::function<void(const std::string&)>& say) {
  return Trainer(options, progress, say).run();
}

}  // namespace koralite::toolkit
