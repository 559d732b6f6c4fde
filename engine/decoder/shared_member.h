// The models of one decoder handle: parameters, language model, vocabularies,
// score compressor, and where the phrase table lies (each decoder opens its own
// reader of it).
//
// Owns all but the parameters, which live beside it in the driver. Handles share
// no SharedMember; the pages of mapped files are shared by the system.
#pragma once

#include <memory>

#include "common/file_path.h"
#include "decoder/compact_lm_model.h"
#include "decoder/compressor.h"
#include "decoder/parameter.h"
#include "decoder/vocab.h"

namespace koralite::decoder {

class SharedMember {
 public:
  // Loads everything that `parameter` names from `model_folder` and sets
  // TargetData::s_score_size. Throws "failed to create SharedMember" for every
  // failure.
  SharedMember(Parameter* parameter, const common::FilePath& model_folder);
  SharedMember(const SharedMember&) = delete;
  SharedMember& operator=(const SharedMember&) = delete;
  virtual ~SharedMember();

  Parameter* parameter;  // not owned
  std::unique_ptr<CompactLmModel> lang_model;
  std::unique_ptr<Vocab> source_vocab;
  std::unique_ptr<Vocab> target_vocab;
  std::unique_ptr<Compressor> compressor;  // null when the table is not compact
  common::FilePath trans_model_path;
};

}  // namespace koralite::decoder
