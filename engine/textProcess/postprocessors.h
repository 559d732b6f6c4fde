// The target half of a language pipeline: one chain of string steps that turns
// the decoder's output into running text, and the marks that the punctuation
// steps need. One class per kind of target (docs/pipelines.md).
//
// Owns its steps; running them changes nothing in it. Constructors take the
// configuration file's path and the model folder; they throw std::runtime_error
// for a configuration that cannot be read or a resource that cannot be loaded.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>

#include "textProcess/abstract_processor.h"
#include "textProcess/abstract_step.h"
#include "textProcess/lang_type.h"

namespace koralite::textProcess {

class AbstractPostprocessor : public AbstractProcessor {
 public:
  // Runs the chain; throws std::runtime_error "Postprocess error\n" when it fails.
  void Postprocess(ProcessStr& str);

  const std::set<std::string>& punct_set() const { return punct_set_; }
  bool debug() const { return debug_; }
  // The last step of the chain, for inspection and for running its steps one by one.
  AbstractStringProcessor* string_chain() { return string_head_.get(); }
  const AbstractStringProcessor* string_chain() const { return string_head_.get(); }

 protected:
  // Memory exhaustion is reported as std::runtime_error "Cannot allocate for
  // postprocess"; other errors keep their message.
  void Organize(LangType source, LangType target, const common::EngineConfiguration& configuration,
                const common::FilePath& model_folder);

  virtual void OrganizeStringProcessor(LangType other, const Lines& configuration,
                                       const common::FilePath& model_folder) = 0;

  template <class Step, class... Args>
  void add_string_step(Args&&... args) {
    string_head_ = std::make_unique<Step>(0U, std::move(string_head_), std::forward<Args>(args)...);
  }

 private:
  std::set<std::string> punct_set_;
  std::unique_ptr<AbstractStringProcessor> string_head_;
  bool debug_ = false;
};

// English, and Korean, which is written the same way.
class EngPostprocessor final : public AbstractPostprocessor {
 public:
  EngPostprocessor(LangType source, const common::EngineConfiguration& configuration,
                   const common::FilePath& model_folder);

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
};

class SimpChsPostprocessor final : public AbstractPostprocessor {
 public:
  SimpChsPostprocessor(LangType source, const common::EngineConfiguration& configuration,
                       const common::FilePath& model_folder);

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
};

class GeneralPostprocessor final : public AbstractPostprocessor {
 public:
  GeneralPostprocessor(LangType source, LangType target,
                       const common::EngineConfiguration& configuration,
                       const common::FilePath& model_folder);

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
};

}  // namespace koralite::textProcess
