// A trained phrase table in memory, by word ids, ready to be packed under any
// weights: the vocabularies of both sides are made from it, in order of frequency
// and within the limits of the packed formats. Owns all; reading is safe from any
// number of threads.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "decoder/lang_model.h"
#include "toolkit/lm/lang_model_builder.h"
#include "toolkit/lm/ngram_model.h"
#include "toolkit/pack/phrase_table_builder.h"
#include "toolkit/phrases/phrase_file.h"
#include "toolkit/resource/vocab_file.h"

namespace koralite::toolkit {

class TrainedPhrases {
 public:
  struct record_t {
    std::uint32_t words = 0;  // place of the ids, source before target
    std::uint8_t source_count = 0;
    std::uint8_t target_count = 0;
    std::array<float, kTranslationFeatures> log_probabilities{};
    std::array<std::uint16_t, 6> orientations{};
  };

  struct report_t {
    std::uint64_t lines = 0;
    std::uint64_t lost = 0;               // hold a span whose translation the text did not have
    std::uint64_t odd_tags = 0;           // tag words that do not belong together
    std::uint64_t unbalanced_quotes = 0;  // quotes that come in no pair on one side
    std::uint64_t rare_words = 0;         // hold a word beyond the vocabulary's limit
    std::size_t source_words = 0;
    std::size_t target_words = 0;
  };

  // `phrases` as format_phrase wrote it; the texts (words between blanks) give the frequencies.
  // Pairs whose sides disagree in quotes are left out when told to.
  TrainedPhrases(const std::string& phrases, std::span<const std::string> source_text,
                 std::span<const std::string> target_text, bool drops_unbalanced_quotes = true);

  const VocabBuilder& source_vocab() const { return source_vocab_; }
  const VocabBuilder& target_vocab() const { return target_vocab_; }
  std::span<const record_t> records() const { return records_; }
  std::span<const std::int32_t> source(const record_t& record) const {
    return std::span<const std::int32_t>(words_).subspan(record.words, record.source_count);
  }
  std::span<const std::int32_t> target(const record_t& record) const {
    return std::span<const std::int32_t>(words_).subspan(record.words + record.source_count,
                                                         record.target_count);
  }
  const report_t& report() const { return report_; }

 private:
  VocabBuilder source_vocab_;
  VocabBuilder target_vocab_;
  std::vector<std::int32_t> words_;
  std::vector<record_t> records_;
  report_t report_;
};

// Packs a language model for a target vocabulary; n-grams with other words are left out.
lang_model_report_t pack_lang_model(const NgramModel& model, const VocabBuilder& target,
                                    const std::string& path);

// Packs the records that `keep` accepts (all, if it is empty) with their translation features
// folded into one score by `weights`.
phrase_table_report_t pack_phrases(
    const TrainedPhrases& phrases, std::span<const double> weights,
    const phrase_table_options_t& options, const std::string& path,
    const std::function<bool(const TrainedPhrases::record_t&)>& keep = {});

}  // namespace koralite::toolkit
