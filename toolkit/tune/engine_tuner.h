// Lets the tuner ask the engine itself for n-best lists: translates the tuning set
// under the weights in question, and tells of every translation its features and
// its BLEU counts. One kind tunes while a model is trained, the other a finished
// model folder. Each runs its own threads; the result does not depend on how many.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "decoder/explanation.h"
#include "toolkit/eval/bleu.h"
#include "toolkit/folder/model_folder.h"
#include "toolkit/pack/trained_phrases.h"
#include "toolkit/tune/tuning.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

// The weights, in the order of the feature vectors.
enum Feature : std::size_t {
  kDistortion,
  kReordering,
  kLanguage,
  kWords,
  kPhrases,
  kTranslation,  // and the other translation features after it
  kFeatures = kTranslation + kTranslationFeatures
};
inline constexpr std::array<std::string_view, kFeatures> kFeatureNames = {
    "distortion", "reordering",    "language", "words",        "phrases",
    "p(t|s)",     "lexical (t|s)", "p(s|t)",   "lexical (s|t)"};

// Puts weights into decoder parameters; the translation features are folded into the phrase table.
void set_weights(std::span<const double> weights, decoder::Parameter& parameter);

// The weights to begin with.
std::vector<double> default_weights();

struct engine_tuner_options_t {
  unsigned nbest = 100;
  unsigned threads = 0;
  Tokenizer tokenizer = Tokenizer::k13a;
};

// What all tuning through the engine shares: translating the set and scoring the translations.
class EngineTuner : public NbestProvider {
 public:
  ~EngineTuner() override;

  NbestLists decode(std::span<const double> weights) override;

 protected:
  // `references` are one or more translations of the lines of `source`.
  EngineTuner(model_folder_t folder, std::span<const std::string> source,
              std::span<const std::vector<std::string>> references,
              const engine_tuner_options_t& options);

  // Brings the folder's files into the state that the weights ask for.
  virtual void prepare(std::span<const double> weights) = 0;
  // The features of one translation of a chunk of words, as many as there are weights.
  virtual std::vector<double> features(const decoder::derivation_t& derivation,
                                       const decoder::explanation_t& explanation,
                                       std::span<const common::word_node_t> words,
                                       translator::TransImpl& engine,
                                       std::span<const double> weights) const = 0;

  model_folder_t folder_;
  std::vector<std::string> source_;

 private:
  std::vector<TuneCandidate> candidates(translator::TransImpl& engine, std::size_t line,
                                        std::span<const double> weights) const;

  BleuScorer scorer_;
  engine_tuner_options_t options_;
};

// Tunes while training: packs the phrases that the set can use anew for each set of weights, with
// all translation features. Borrows the phrases. The folder holds everything but the phrase table
// and the decoder parameter file, which are written into it.
class TrainingTuner final : public EngineTuner {
 public:
  TrainingTuner(model_folder_t folder, const TrainedPhrases& phrases,
                std::span<const std::string> source,
                std::span<const std::vector<std::string>> references,
                const engine_tuner_options_t& options);

 protected:
  void prepare(std::span<const double> weights) override;
  std::vector<double> features(const decoder::derivation_t& derivation,
                               const decoder::explanation_t& explanation,
                               std::span<const common::word_node_t> words,
                               translator::TransImpl& engine,
                               std::span<const double> weights) const override;

 private:
  void find_usable_phrases();
  std::int32_t source_id(const common::word_node_t& node) const;

  const TrainedPhrases& phrases_;
  std::vector<bool> usable_;                                // by record
  std::unordered_map<std::string, std::size_t> record_of_;  // usable records by their words
};

// Tunes a finished folder: its phrase table stays, so there is one translation feature, and
// kTranslation + 1 weights. Only the decoder parameter file is written.
class FolderTuner final : public EngineTuner {
 public:
  FolderTuner(model_folder_t folder, std::span<const std::string> source,
              std::span<const std::vector<std::string>> references,
              const engine_tuner_options_t& options)
      : EngineTuner(std::move(folder), source, references, options) {}

  // The weights that a folder has now.
  static std::vector<double> weights_of(const decoder::Parameter& parameter);
  static void set(std::span<const double> weights, decoder::Parameter& parameter);

 protected:
  void prepare(std::span<const double> weights) override;
  std::vector<double> features(const decoder::derivation_t& derivation,
                               const decoder::explanation_t& explanation,
                               std::span<const common::word_node_t> words,
                               translator::TransImpl& engine,
                               std::span<const double> weights) const override;
};

}  // namespace koralite::toolkit
