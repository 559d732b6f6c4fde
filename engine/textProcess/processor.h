// The language pipeline of a translation direction: a preprocessor chosen by the
// source language and a postprocessor chosen by the target language.
//
// Owns both. Built once per decoder handle and unchanged by running; one thread
// at a time. Errors are std::runtime_error.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/align.h"
#include "textProcess/abstract_preprocessor.h"
#include "textProcess/lang_type.h"
#include "textProcess/lexicut_api.h"
#include "textProcess/postprocessors.h"

namespace koralite::textProcess {

// Whether a Processor can be made for texts in this language on the target side.
bool has_postprocessor(LangType target);

class Processor {
 public:
  // Reads the configuration file and loads what it names from the model folder.
  // Throws "Invalid source language type!" or "Invalid target language type!" for
  // a language without a pipeline on that side, and the errors of the pipelines.
  // `segmenter` is the library that cuts sources without spaces into words.
  Processor(LangType source, LangType target, const common::EngineConfiguration& configuration,
            const common::FilePath& model_folder, const LexicutApi& segmenter = linked_lexicut());
  Processor(const Processor&) = delete;
  Processor& operator=(const Processor&) = delete;
  virtual ~Processor();

  void Preprocess(ProcessStr& str, ProcessWordSeq& words) { preprocessor_->Preprocess(str, words); }
  void Preprocess(ProcessStr& str) { preprocessor_->Preprocess(str); }
  void Postprocess(ProcessStr& str) { postprocessor_->Postprocess(str); }

  // Take sentence-final marks off the words, and put them back in the target's
  // form after the output, each with a link; see punct_processors.h.
  void TruncatePunct(ProcessWordSeq& words, ProcessWordSeq& removed) const;
  void AppendPunct(ProcessWordSeq& words, ProcessWordSeq& removed, std::string& output,
                   std::vector<common::align_t>& alignment) const;

  decoder::Constraint* GetConstraint() { return preprocessor_->GetConstraint(); }
  const decoder::UnkTranslator* GetUnkTranslator() const {
    return preprocessor_->GetUnkTranslator();
  }
  // See AbstractPreprocessor::SetSourceVocab.
  void SetSourceVocab(const decoder::Vocab* vocab) { preprocessor_->SetSourceVocab(vocab); }

  AbstractPreprocessor& preprocessor() { return *preprocessor_; }
  AbstractPostprocessor& postprocessor() { return *postprocessor_; }
  const AbstractPreprocessor& preprocessor() const { return *preprocessor_; }
  const AbstractPostprocessor& postprocessor() const { return *postprocessor_; }

 private:
  std::unique_ptr<AbstractPostprocessor> postprocessor_;
  std::unique_ptr<AbstractPreprocessor> preprocessor_;  // built first, destroyed first
};

}  // namespace koralite::textProcess
