#include "toolkit/train/engine_tuner.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "decoder/compact_lm_model.h"
#include "decoder/explanation.h"
#include "decoder/vocab.h"
#include "toolkit/atomic_file.h"
#include "toolkit/train/parallel.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

namespace {

using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

constexpr std::size_t chunk_words = 32;  // what the decoder translates at once

std::string key_of(std::span<const std::int32_t> ids) {
  return {reinterpret_cast<const char*>(ids.data()), ids.size_bytes()};
}

// What the decoder keeps of a target id: tag words by the first of their group.
std::int32_t plain_id(std::int32_t id) {
  return id < 256 ? id & ~7 : id;
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

struct EngineTuner::handle_t {
  explicit handle_t(const model_folder_t& folder)
      : engine(static_cast<LangType>(language_type(folder.engine.direction.source)),
               static_cast<LangType>(language_type(folder.engine.direction.target)),
               folder.engine_path(), folder.path, folder.engine.decoder) {}
  translator::TransImpl engine;
};

EngineTuner::EngineTuner(model_folder_t folder, const TrainedPhrases& phrases,
                         std::span<const std::string> source,
                         std::span<const std::vector<std::string>> references,
                         const engine_tuner_options_t& options)
    : m_folder(std::move(folder)),
      m_phrases(phrases),
      m_source(source.begin(), source.end()),
      m_scorer(references, {options.tokenizer, options.tokenizer == Tokenizer::k13a}),
      m_options(options) {
  m_options.threads = thread_count(options.threads);
  find_usable_phrases();
}

EngineTuner::~EngineTuner() = default;

// Marks the records whose source phrase occurs in the tuning set. The set's words are taken from
// the engine's own text steps, without any phrase table.
void EngineTuner::find_usable_phrases() {
  textProcess::Processor processor(
      static_cast<LangType>(language_type(m_folder.engine.direction.source)),
      static_cast<LangType>(language_type(m_folder.engine.direction.target)),
      m_folder.engine_path(), m_folder.path);
  decoder::Vocab vocab;
  vocab.load(m_folder.file(m_folder.decoder.source_vocab).c_str());
  processor.SetSourceVocab(&vocab);
  std::unordered_set<std::string> phrases;
  std::vector<std::int32_t> ids;
  for (const std::string& line : m_source) {
    ProcessStr str(false, line);
    ProcessWordSeq words(false);
    processor.Preprocess(str, words);
    ids.clear();
    for (const common::word_node_t& node : words.words()) {
      std::int32_t id = -1;
      m_phrases.source_vocab().find(node.tag != nullptr ? node.tag : node.word, id);
      ids.push_back(id);
    }
    for (std::size_t begin = 0; begin < ids.size(); ++begin) {
      const std::size_t most = std::min<std::size_t>(phrase_t::kMaxWords, ids.size() - begin);
      for (std::size_t n = 1; n <= most; ++n) phrases.insert(key_of({&ids[begin], n}));
    }
  }
  processor.SetSourceVocab(nullptr);
  const auto records = m_phrases.records();
  m_usable.assign(records.size(), false);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto words = m_phrases.source(records[i]);
    if (!phrases.contains(key_of(words))) continue;
    m_usable[i] = true;
    m_record_of.try_emplace(pair_key(words, m_phrases.target(records[i])), i);
  }
}

void EngineTuner::pack(std::span<const double> weights) {
  set_weights(weights, m_folder.decoder);
  m_folder.decoder.compress = false;
  write_file(m_folder.file(m_folder.engine.decoder), format_decoder_config(m_folder.decoder));

  decoder::CompactLmModel lang_model(m_folder.file(m_folder.decoder.lang_model),
                                     m_folder.decoder.ngram_order);
  phrase_table_options_t options;
  options.lang_model = &lang_model;
  options.max_targets = m_folder.decoder.translation_limit;
  options.translation_weight = m_folder.decoder.translation_weight;
  options.word_weight = m_folder.decoder.word_weight;
  options.lang_weight = m_folder.decoder.lang_weight;
  const auto* first = m_phrases.records().data();
  pack_phrases(m_phrases, weights.subspan(kTranslation), options,
               m_folder.file(m_folder.decoder.trans_model),
               [&](const TrainedPhrases::record_t& record) {
                 return m_usable[static_cast<std::size_t>(&record - first)];
               });
}

NbestLists EngineTuner::decode(std::span<const double> weights) {
  pack(weights);
  std::vector<std::unique_ptr<handle_t>> handles;
  for (unsigned i = 0; i < m_options.threads; ++i) {
    handles.push_back(std::make_unique<handle_t>(m_folder));
  }
  NbestLists lists(m_source.size());
  parallel_for(m_source.size(), m_options.threads, [&](std::size_t line, unsigned worker) {
    lists[line] = candidates(*handles[worker], line, weights);
  });
  return lists;
}

std::vector<TuneCandidate> EngineTuner::candidates(handle_t& handle, std::size_t line,
                                                   std::span<const double> weights) const {
  translator::TransImpl& engine = handle.engine;
  ProcessStr str(false, m_source[line]);
  ProcessWordSeq words(false);
  ProcessWordSeq removed(false);
  engine.Preprocess(str, words);
  engine.TruncatePunct(words, removed);
  std::vector<std::int32_t> ids;
  for (const common::word_node_t& node : words.words()) {
    std::int32_t id = -1;
    m_phrases.source_vocab().find(node.tag != nullptr ? node.tag : node.word, id);
    ids.push_back(id);
  }

  // Entry k of the whole joins the k-th best of each chunk, as the decoder's own n-best list does.
  std::vector<scored_text_t> whole;
  decoder::explanation_t explanation;
  for (std::size_t begin = 0; begin < ids.size(); begin += chunk_words) {
    const std::size_t n = std::min(chunk_words, ids.size() - begin);
    engine.translator().search().explain(m_options.nbest, {words.words().data() + begin, n},
                                         explanation);
    std::vector<scored_text_t> chunk;
    for (const decoder::derivation_t& derivation : explanation.derivations) {
      std::vector<double> features(kFeatures, 0.0);
      double language = derivation.end_score;  // weighted
      for (const decoder::explained_step_t& step : derivation.steps) {
        const decoder::explained_option_t& option = explanation.options[step.option];
        features[kDistortion] += static_cast<double>(step.distortion);
        features[kReordering] += static_cast<double>(step.reordering);
        features[kWords] += static_cast<double>(option.ids.size());
        language += static_cast<double>(step.joint) * weights[kLanguage];
        const auto start = begin + static_cast<std::size_t>(option.start);
        const auto length = static_cast<std::size_t>(option.end - option.start + 1);
        const auto at = m_record_of.find(pair_key({&ids[start], length}, option.ids));
        double other = weights[kWords] * static_cast<double>(option.ids.size());
        if (at == m_record_of.end()) {  // an unknown word
          other -= static_cast<double>(m_folder.decoder.unknown_weight);
        } else {
          features[kPhrases] += 1;
          other += weights[kPhrases];
          const TrainedPhrases::record_t& record = m_phrases.records()[at->second];
          for (std::size_t i = 0; i < translation_features; ++i) {
            const auto score = static_cast<double>(record.log_probabilities[i]);
            features[kTranslation + i] += score;
            other += weights[kTranslation + i] * score;
          }
        }
        language += static_cast<double>(option.score) - other;
      }
      features[kLanguage] = weights[kLanguage] == 0 ? 0 : language / weights[kLanguage];
      chunk.push_back({derivation.text, {features.begin(), features.end()}});
    }
    if (chunk.empty()) continue;
    if (whole.empty()) {
      whole = std::move(chunk);
      continue;
    }
    const std::size_t entries = std::max(whole.size(), chunk.size());
    whole.resize(entries, whole.back());
    for (std::size_t k = 0; k < entries; ++k) {
      const scored_text_t& part = chunk[std::min(k, chunk.size() - 1)];
      whole[k].text += ' ' + part.text;
      for (std::size_t i = 0; i < kFeatures; ++i) whole[k].features[i] += part.features[i];
    }
  }

  std::vector<TuneCandidate> result;
  const auto kept = removed.words();
  for (scored_text_t& entry : whole) {
    std::vector<common::align_t> links;
    removed.words() = kept;
    engine.AppendPunct(words, removed, entry.text, links);
    words.words().resize(ids.size());
    ProcessStr output(false, std::move(entry.text));
    engine.Postprocess(output);
    TuneCandidate candidate{std::move(entry.features), m_scorer.sentence(line, output.text())};
    if (std::find(result.begin(), result.end(), candidate) == result.end()) {
      result.push_back(std::move(candidate));
    }
  }
  return result;
}

}  // namespace koralite::toolkit
