// Checks of the models of a folder. Each walks its whole file and reports every position that the
// format does not allow. Free functions without state.
#pragma once

#include <optional>
#include <string>

#include "decoder/compressor.h"
#include "decoder/vocab.h"
#include "toolkit/check/file_report.h"

namespace koralite::toolkit {

// Loads the vocabulary too, as far as that goes.
void check_vocab(FileReport report, decoder::Vocab& vocab);

// `target` is the vocabulary whose ids the model uses.
void check_lang_model(FileReport report, const decoder::Vocab& target);

// The samples of scores; gives them when they can be read.
std::optional<decoder::Compressor> check_quantifier(FileReport report, int score_size);

// What the check of a phrase table needs of the rest of its folder.
struct phrase_models_t {
  const decoder::Vocab* source = nullptr;
  const decoder::Vocab* target = nullptr;
  const decoder::Compressor* compressor = nullptr;  // null when the samples cannot be read
  bool compact = false;
};

// The three files of the phrase table with this path.
void check_phrases(check_report_t& report, const std::string& path, const phrase_models_t& models);

}  // namespace koralite::toolkit
