#include "toolkit/tune/engine_tuner.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "decoder/compact_lm_model.h"
#include "decoder/vocab.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/parallel.h"

namespace koralite::toolkit {

namespace {

using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

std::string key_of(std::span<const std::int32_t> ids) {
  return {reinterpret_cast<const char*>(ids.data()), ids.size_bytes()};
}

// What the decoder keeps of a target id: tag words by the first of their group.
std::int32_t plain_id(std::int32_t id) {
  int base = 0;
  int index = 0;
  decoder::Vocab::get_ne_info(id, base, index);
  return base;
}

// Names a phrase pair by its words as the decoder shows them.
std::string pair_key(std::span<const std::int32_t> source, std::span<const std::int32_t> target) {
  std::string key = key_of(source) + '|';
  for (const std::int32_t id : target) {
    const std::int32_t plain = plain_id(id);
    key += key_of({&plain, 1});
  }
  return key;
}

// The features that do not depend on what the models say.
void add_common_features(const decoder::explained_step_t& step,
                         const decoder::explained_option_t& option, std::vector<double>& features) {
  features[kDistortion] += static_cast<double>(step.distortion);
  features[kReordering] += static_cast<double>(step.reordering);
  features[kWords] += static_cast<double>(option.ids.size());
}

struct scored_text_t {
  std::string text;
  std::vector<float> features;
};

}  // namespace

void set_weights(std::span<const double> weights, decoder::Parameter& parameter) {
  parameter.distortion_weight = static_cast<float>(weights[kDistortion]);
  parameter.reordering_weight = static_cast<float>(weights[kReordering]);
  parameter.lang_weight = static_cast<float>(weights[kLanguage]);
  parameter.word_weight = static_cast<float>(weights[kWords]);
  parameter.phrase_weight = static_cast<float>(weights[kPhrases]);
  parameter.translation_weight = 1.0F;
}

std::vector<double> default_weights() {
  return {0.3, 0.3, 0.5, 1.0, 0.2, 0.2, 0.2, 0.2, 0.2};
}

EngineTuner::EngineTuner(model_folder_t folder, std::span<const std::string> source,
                         std::span<const std::vector<std::string>> references,
                         const engine_tuner_options_t& options)
    : folder_(std::move(folder)),
      source_(source.begin(), source.end()),
      scorer_(references, {options.tokenizer, options.tokenizer == Tokenizer::k13a}),
      options_(options) {
  options_.threads = thread_count(options.threads);
  for (const std::vector<std::string>& reference : references) {
    if (reference.size() != source_.size()) {
      throw std::runtime_error("tuning on " + std::to_string(source_.size()) + " lines with " +
                               std::to_string(reference.size()) + " translations");
    }
  }
}

EngineTuner::~EngineTuner() = default;

NbestLists EngineTuner::decode(std::span<const double> weights) {
  prepare(weights);
  std::vector<std::unique_ptr<translator::TransImpl>> engines;
  for (unsigned i = 0; i < options_.threads; ++i) {
    engines.push_back(std::make_unique<translator::TransImpl>(
        language_type(folder_.engine.direction.source),
        language_type(folder_.engine.direction.target), folder_.engine_path(), folder_.path,
        folder_.engine.decoder));
  }
  NbestLists lists(source_.size());
  parallel_for(source_.size(), options_.threads, [&](std::size_t line, unsigned worker) {
    lists[line] = candidates(*engines[worker], line, weights);
  });
  return lists;
}

std::vector<TuneCandidate> EngineTuner::candidates(translator::TransImpl& engine, std::size_t line,
                                                   std::span<const double> weights) const {
  ProcessStr str(false, source_[line]);
  ProcessWordSeq words(false);
  ProcessWordSeq removed(false);
  engine.Preprocess(str, words);
  engine.TruncatePunct(words, removed);
  const std::size_t word_count = words.words().size();

  // Entry k of the whole joins the k-th best of each chunk, as the decoder's own n-best list does.
  std::vector<scored_text_t> whole;
  decoder::explanation_t explanation;
  for (std::size_t begin = 0; begin < word_count; begin += decoder::Decoder::kMaxWords) {
    const decoder::Decoder::words_t chunk_nodes = decoder::Decoder::chunk(words.words(), begin);
    engine.translator().search().explain(options_.nbest, chunk_nodes, explanation);
    std::vector<scored_text_t> chunk;
    for (const decoder::derivation_t& derivation : explanation.derivations) {
      const std::vector<double> all =
          features(derivation, explanation, chunk_nodes, engine, weights);
      chunk.push_back({derivation.text, {all.begin(), all.end()}});
    }
    if (chunk.empty()) {
      continue;
    }
    if (whole.empty()) {
      whole = std::move(chunk);
      continue;
    }
    const std::size_t entries = std::max(whole.size(), chunk.size());
    whole.resize(entries, whole.back());
    for (std::size_t k = 0; k < entries; ++k) {
      const scored_text_t& part = chunk[std::min(k, chunk.size() - 1)];
      whole[k].text += ' ' + part.text;
      for (std::size_t i = 0; i < part.features.size(); ++i) {
        whole[k].features[i] += part.features[i];
      }
    }
  }

  std::vector<TuneCandidate> result;
  const auto kept = removed.words();
  for (scored_text_t& entry : whole) {
    std::vector<common::align_t> links;
    removed.words() = kept;
    engine.AppendPunct(words, removed, entry.text, links);
    words.words().resize(word_count);
    ProcessStr output(false, std::move(entry.text));
    engine.Postprocess(output);
    TuneCandidate candidate{std::move(entry.features), scorer_.sentence(line, output.text())};
    if (std::find(result.begin(), result.end(), candidate) == result.end()) {
      result.push_back(std::move(candidate));
    }
  }
  return result;
}

TrainingTuner::TrainingTuner(model_folder_t folder, const TrainedPhrases& phrases,
                             std::span<const std::string> source,
                             std::span<const std::vector<std::string>> references,
                             const engine_tuner_options_t& options)
    : EngineTuner(std::move(folder), source, references, options), phrases_(phrases) {
  find_usable_phrases();
}

std::int32_t TrainingTuner::source_id(const common::word_node_t& node) const {
  std::int32_t id = -1;
  phrases_.source_vocab().find(node.tag != nullptr ? node.tag : node.word, id);
  return id;
}

// Marks the records whose source phrase occurs in the tuning set. The set's words are taken from
// the engine's own text steps, without any phrase table.
void TrainingTuner::find_usable_phrases() {
  textProcess::Processor processor(language_type(folder_.engine.direction.source),
                                   language_type(folder_.engine.direction.target),
                                   folder_.engine_path(), folder_.path);
  decoder::Vocab vocab;
  vocab.load(folder_.file(folder_.decoder.source_vocab).c_str());
  processor.SetSourceVocab(&vocab);
  std::unordered_set<std::string> phrases;
  std::vector<std::int32_t> ids;
  for (const std::string& line : source_) {
    ProcessStr str(false, line);
    ProcessWordSeq words(false);
    processor.Preprocess(str, words);
    ids.clear();
    for (const common::word_node_t& node : words.words()) {
      ids.push_back(source_id(node));
    }
    for (std::size_t begin = 0; begin < ids.size(); ++begin) {
      const std::size_t most = std::min<std::size_t>(phrase_t::kMaxWords, ids.size() - begin);
      for (std::size_t n = 1; n <= most; ++n) {
        phrases.insert(key_of({&ids[begin], n}));
      }
    }
  }
  processor.SetSourceVocab(nullptr);
  const auto records = phrases_.records();
  usable_.assign(records.size(), false);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto words = phrases_.source(records[i]);
    if (!phrases.contains(key_of(words))) {
      continue;
    }
    usable_[i] = true;
    record_of_.try_emplace(pair_key(words, phrases_.target(records[i])), i);
  }
}

void TrainingTuner::prepare(std::span<const double> weights) {
  set_weights(weights, folder_.decoder);
  folder_.decoder.compress = false;
  write_file(folder_.file(folder_.engine.decoder), format_decoder_config(folder_.decoder));

  decoder::CompactLmModel lang_model(folder_.file(folder_.decoder.lang_model),
                                     folder_.decoder.ngram_order);
  phrase_table_options_t options;
  options.lang_model = &lang_model;
  options.max_targets = folder_.decoder.translation_limit;
  options.translation_weight = folder_.decoder.translation_weight;
  options.word_weight = folder_.decoder.word_weight;
  options.lang_weight = folder_.decoder.lang_weight;
  const auto* first = phrases_.records().data();
  pack_phrases(phrases_, weights.subspan(kTranslation), options,
               folder_.file(folder_.decoder.trans_model),
               [&](const TrainedPhrases::record_t& record) {
                 return usable_[static_cast<std::size_t>(&record - first)];
               });
}

std::vector<double> TrainingTuner::features(const decoder::derivation_t& derivation,
                                            const decoder::explanation_t& explanation,
                                            std::span<const common::word_node_t> words,
                                            translator::TransImpl&,
                                            std::span<const double> weights) const {
  std::vector<double> features(kFeatures, 0.0);
  std::vector<std::int32_t> ids;
  for (const common::word_node_t& node : words) {
    ids.push_back(source_id(node));
  }
  double language = derivation.end_score;  // weighted
  for (const decoder::explained_step_t& step : derivation.steps) {
    const decoder::explained_option_t& option = explanation.options[step.option];
    add_common_features(step, option, features);
    language += static_cast<double>(step.joint) * weights[kLanguage];
    // What an option adds is known but for its language model score.
    double other = weights[kWords] * static_cast<double>(option.ids.size());
    const auto start = static_cast<std::size_t>(option.start);
    const auto length = static_cast<std::size_t>(option.end - option.start + 1);
    const auto at = record_of_.find(pair_key({&ids[start], length}, option.ids));
    if (at == record_of_.end()) {  // an unknown word
      other -= static_cast<double>(folder_.decoder.unknown_weight);
    } else {
      features[kPhrases] += 1;
      other += weights[kPhrases];
      const TrainedPhrases::record_t& record = phrases_.records()[at->second];
      for (std::size_t i = 0; i < kTranslationFeatures; ++i) {
        const auto score = static_cast<double>(record.log_probabilities[i]);
        features[kTranslation + i] += score;
        other += weights[kTranslation + i] * score;
      }
    }
    language += static_cast<double>(option.score) - other;
  }
  features[kLanguage] = weights[kLanguage] == 0 ? 0 : language / weights[kLanguage];
  return features;
}

std::vector<double> FolderTuner::weights_of(const decoder::Parameter& p) {
  return {p.distortion_weight, p.reordering_weight, p.lang_weight,
          p.word_weight,       p.phrase_weight,     p.translation_weight};
}

void FolderTuner::set(std::span<const double> weights, decoder::Parameter& parameter) {
  set_weights(weights, parameter);
  parameter.translation_weight = static_cast<float>(weights[kTranslation]);
}

void FolderTuner::prepare(std::span<const double> weights) {
  set(weights, folder_.decoder);
  write_file(folder_.file(folder_.engine.decoder), format_decoder_config(folder_.decoder));
}

std::vector<double> FolderTuner::features(const decoder::derivation_t& derivation,
                                          const decoder::explanation_t& explanation,
                                          std::span<const common::word_node_t>,
                                          translator::TransImpl& engine,
                                          std::span<const double> weights) const {
  std::vector<double> features(kTranslation + 1, 0.0);
  const double lang_weight = weights[kLanguage];
  double language = lang_weight == 0 ? 0 : static_cast<double>(derivation.end_score) / lang_weight;
  double translation = 0;  // weighted
  decoder::SharedMember& models = engine.translator().models();
  for (const decoder::explained_step_t& step : derivation.steps) {
    const decoder::explained_option_t& option = explanation.options[step.option];
    add_common_features(step, option, features);
    float complete = 0;
    float total = 0;
    models.lang_model->compute_phrase_score(option.ids, complete, total);
    language += static_cast<double>(step.joint) + static_cast<double>(complete);
    // An unknown word has neither phrase weight nor translation score.
    std::int32_t unknown = 0;
    models.target_vocab->find("<unk>", unknown);
    if (option.ids.size() == 1 && option.ids.front() == unknown) {
      continue;
    }
    features[kPhrases] += 1;
    translation += static_cast<double>(option.score) - weights[kPhrases] -
                   weights[kWords] * static_cast<double>(option.ids.size()) -
                   lang_weight * static_cast<double>(complete);
  }
  features[kLanguage] = language;
  features[kTranslation] = weights[kTranslation] == 0 ? 0 : translation / weights[kTranslation];
  return features;
}

}  // namespace koralite::toolkit
