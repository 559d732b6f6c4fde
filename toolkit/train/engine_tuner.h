// Lets the tuner ask the engine itself for n-best lists: packs the phrases that a
// tuning set can use under the weights in question, translates the set, and tells
// of every translation its features and its BLEU counts.
//
// Owns its model folder and handles; borrows the phrases. Runs its own threads; the
// result does not depend on how many.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "toolkit/eval/bleu.h"
#include "toolkit/model/model_folder.h"
#include "toolkit/train/trained_phrases.h"
#include "toolkit/train/tuning.h"

namespace koralite::toolkit {

// The weights, in the order of the feature vectors.
enum Feature : std::size_t {
  kDistortion,
  kReordering,
  kLanguage,
  kWords,
  kPhrases,
  kTranslation,  // and the other translation features behind it
  kFeatures = kTranslation + translation_features
};
inline constexpr std::array<std::string_view, kFeatures> feature_names = {
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

class EngineTuner final : public NbestProvider {
 public:
  // `folder` holds everything but the phrase table and the decoder parameter file, which are
  // written into it. `references` are one or more translations of the lines of `source`.
  EngineTuner(model_folder_t folder, const TrainedPhrases& phrases,
              std::span<const std::string> source,
              std::span<const std::vector<std::string>> references,
              const engine_tuner_options_t& options);
  ~EngineTuner() override;

  NbestLists decode(std::span<const double> weights) override;

 private:
  struct handle_t;

  void find_usable_phrases();
  void pack(std::span<const double> weights);
  std::vector<TuneCandidate> candidates(handle_t& handle, std::size_t line,
                                        std::span<const double> weights) const;

  model_folder_t m_folder;
  const TrainedPhrases& m_phrases;
  std::vector<std::string> m_source;
  BleuScorer m_scorer;
  engine_tuner_options_t m_options;
  std::vector<bool> m_usable;                                // by record
  std::unordered_map<std::string, std::size_t> m_record_of;  // usable records by their words
};

}  // namespace koralite::toolkit
