// A decoder handle: the language pipeline of a direction and the translator that
// it feeds. Translates one sentence at a time.
//
// Owns everything that was built for it and shares nothing mutable with other
// handles; serves one thread at a time. Errors are std::runtime_error and leave
// the handle usable.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/align.h"
#include "textProcess/lang_type.h"
#include "textProcess/processor.h"
#include "translator/phrase_based_decoder.h"

namespace koralite::translator {

class TransImpl : public textProcess::Processor {
 public:
  // Builds the pipeline from the configuration file and loads the models that
  // the parameter file (in the model folder) names.
  TransImpl(textProcess::LangType source, textProcess::LangType target,
            const common::EngineConfiguration& configuration, const common::FilePath& model_folder,
            const std::string& parameter_file);
  ~TransImpl() override;

  // The best translation of one sentence: text to words (Preprocess), words to a translation with
  // the sentence's marks at the end taken off and put back (PhraseBasedDecoder), and that as people
  // write it (Postprocess).
  void Translate(const std::string& source, std::string& output);
  // At most n translations, best first; after each " ||| " and its score.
  void Translate(unsigned n, const std::string& source, std::vector<std::string>& outputs);
  // The best translation and its alignment, in bytes on both sides. The links tile
  // the output; where that cannot be had there is one link over the whole.
  void Translate(const std::string& source, std::string& output,
                 std::vector<common::align_t>& alignment);

  // For tests: preprocesses only and prints the words, for each the word, its translation and its
  // tag, each followed by "&", the last two as "#N#" where absent.
  void Preprocess4Test(const std::string& source, std::string& output);

  void DoPreprocess(textProcess::ProcessStr& str, textProcess::ProcessWordSeq& words);
  void DoPostprocess(textProcess::ProcessStr& str);

  // The trace of the last translation; empty unless the parameters ask for it.
  std::string GetLog() const { return log_; }

  textProcess::LangType source_type() const { return source_type_; }
  PhraseBasedDecoder& translator() { return *translator_; }

 private:
  // What the search wrote, as people write it.
  std::string postprocessed(std::string decoded);

  std::string log_;
  bool debug_ = false;
  textProcess::LangType source_type_;
  std::unique_ptr<PhraseBasedDecoder> translator_;
};

}  // namespace koralite::translator
