// The source half of a language pipeline: turns a sentence into the words that
// the decoder reads. A chain of string steps, one step from string to words, and
// a chain of word steps, built once from the engine's configuration.
//
// Owns its steps, their resources, the constraint and the unknown-word
// translator. Serves one thread at a time; two pipelines share nothing. What a
// sentence's words point to lives until the next sentence.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "common/string_pool.h"
#include "decoder/constraint.h"
#include "decoder/unk_translator.h"
#include "numtrans/rule_translator.h"
#include "textProcess/abstract_processor.h"
#include "textProcess/abstract_step.h"
#include "textProcess/lang_type.h"
#include "textProcess/ne_dict.h"
#include "textProcess/str2word.h"

namespace koralite::decoder {
class Vocab;
}

namespace koralite::textProcess {

class TokenizeHyphenWsProcessor;

class AbstractPreprocessor : public AbstractProcessor {
 public:
  // Run the three stages. Throw std::runtime_error "Preprocess string error\n",
  // "Preprocess Str2WordSeq error\n" or "Preprocess WordSeq error\n" when one fails.
  void Preprocess(ProcessStr& str, ProcessWordSeq& words);
  // The string chain alone; "Preprocess error: TEXT\n" when it fails.
  void Preprocess(ProcessStr& str);

  decoder::Constraint* GetConstraint() { return constraint_.get(); }
  const decoder::UnkTranslator* GetUnkTranslator() const { return unk_translator_.get(); }
  const std::map<std::string, std::string>& truncate_map() const { return truncate_map_; }
  bool debug() const { return debug_; }

  // The vocabulary that decides which hyphenated words are split; the pipelines
  // are built before the models. Until it is set (or when null) none is. It must
  // outlive the pipeline or be set to null.
  void SetSourceVocab(const decoder::Vocab* vocab);

  // The last step of each chain and the step to words between them, for inspection and for running
  // them one by one.
  AbstractStringProcessor* string_chain() { return string_head_.get(); }
  const AbstractStringProcessor* string_chain() const { return string_head_.get(); }
  Str2Word& str2word() { return *str2word_; }
  AbstractWsProcessor* word_chain() { return ws_head_.get(); }
  const AbstractWsProcessor* word_chain() const { return ws_head_.get(); }

 protected:
  // Builds everything by the five operations below, in their order, for the
  // language of the other side. Memory exhaustion is reported as std::runtime_error
  // "Cannot allocate for preprocess"; other errors keep their message.
  void Organize(LangType source, LangType target, const common::EngineConfiguration& configuration,
                const common::FilePath& model_folder);

  virtual void OrganizeStringProcessor(LangType other, const Lines& configuration,
                                       const common::FilePath& model_folder) = 0;
  virtual void OrganizeStr2Word(LangType other, const Lines& configuration,
                                const common::FilePath& model_folder) = 0;
  virtual void OrganizeWsProcessor(LangType other, const Lines& configuration,
                                   const common::FilePath& model_folder) = 0;
  virtual void OrganizeConstraint(LangType other, const Lines& configuration,
                                  const common::FilePath& model_folder) = 0;
  // The base form builds one that copies the word.
  virtual void OrganizeUnkTrans(LangType other, const Lines& configuration,
                                const common::FilePath& model_folder);

  // Adds a step after the last one; gives it back for further setting up.
  template <class Step, class... Args>
  Step& add_string_step(Args&&... args) {
    auto step = std::make_unique<Step>(0U, std::move(string_head_), std::forward<Args>(args)...);
    Step& added = *step;
    string_head_ = std::move(step);
    return added;
  }
  template <class Step, class... Args>
  Step& add_word_step(Args&&... args) {
    auto step = std::make_unique<Step>(0U, std::move(ws_head_), std::forward<Args>(args)...);
    Step& added = *step;
    ws_head_ = std::move(step);
    return added;
  }

  // The steps that end every string chain: TAB to space, spaces squeezed, the
  // decoder's reserved bytes escaped.
  void add_final_string_steps();
  // The word steps of the pipelines without person names.
  void add_general_word_steps();
  // The step to words: the dictionary of "[ne]" if there is one, the given rules
  // or none, and what stands between the words of a looked-up span.
  void build_str2word(const Lines& configuration, const common::FilePath& model_folder,
                      std::unique_ptr<numtrans::RuleTranslator> rules, char join);

  // Borrowers come after what they borrow.
  common::StringPool pool_;  // strings of the current sentence
  std::unique_ptr<NeDict> dictionary_;
  std::unique_ptr<numtrans::RuleTranslator> rules_;
  std::unique_ptr<AbstractStringProcessor> string_head_;
  std::unique_ptr<Str2Word> str2word_;
  std::unique_ptr<AbstractWsProcessor> ws_head_;
  std::unique_ptr<decoder::Constraint> constraint_;
  std::unique_ptr<decoder::UnkTranslator> unk_translator_;

  AbstractPreprocessor();

 private:
  std::map<std::string, std::string> truncate_map_;
  TokenizeHyphenWsProcessor* hyphens_ = nullptr;  // a step of the word chain, or null
  bool debug_ = false;
};

}  // namespace koralite::textProcess
