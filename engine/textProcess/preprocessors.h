// The preprocessors of the source languages: which steps each runs, in the order
// of the Organize functions (docs/pipelines.md shows them side by side).
//
// Ownership and threads as in AbstractPreprocessor. Constructors take the
// configuration file's path and the model folder; they throw std::runtime_error
// for a configuration that cannot be read or a resource that cannot be loaded.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "textProcess/abstract_preprocessor.h"
#include "textProcess/lexicut_api.h"
#include "textProcess/name_converter.h"
#include "textProcess/pinyin_converter.h"

namespace koralite::textProcess {

class EngPreprocessor final : public AbstractPreprocessor {
 public:
  EngPreprocessor(LangType target, const common::EngineConfiguration& configuration,
                  const common::FilePath& model_folder);

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
  void OrganizeStr2Word(LangType other, const Lines& configuration,
                        const common::FilePath& model_folder) override;
  void OrganizeWsProcessor(LangType other, const Lines& configuration,
                           const common::FilePath& model_folder) override;
  void OrganizeConstraint(LangType other, const Lines& configuration,
                          const common::FilePath& model_folder) override;
};

class SimpChsPreprocessor final : public AbstractPreprocessor {
 public:
  // "can't find segment dictionary configure file" without "[segment]".
  SimpChsPreprocessor(LangType target, const common::EngineConfiguration& configuration,
                      const common::FilePath& model_folder,
                      const LexicutApi& segmenter = linked_lexicut());

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
  void OrganizeStr2Word(LangType other, const Lines& configuration,
                        const common::FilePath& model_folder) override;
  void OrganizeWsProcessor(LangType other, const Lines& configuration,
                           const common::FilePath& model_folder) override;
  void OrganizeConstraint(LangType other, const Lines& configuration,
                          const common::FilePath& model_folder) override;
  void OrganizeUnkTrans(LangType other, const Lines& configuration,
                        const common::FilePath& model_folder) override;

 private:
  LexicutApi segmenter_;
  std::set<std::string> names_;  // persons in the current sentence
  std::unique_ptr<PinyinConverter> pinyin_;
  std::unique_ptr<NameConverter> name_converter_;
};

class GeneralPreprocessor final : public AbstractPreprocessor {
 public:
  // "can't find segment dictionary configure file, worddict is null" with neither
  // "[segment]" nor "[single-word-split]".
  GeneralPreprocessor(LangType source, LangType target,
                      const common::EngineConfiguration& configuration,
                      const common::FilePath& model_folder,
                      const LexicutApi& segmenter = linked_lexicut());

 protected:
  void OrganizeStringProcessor(LangType other, const Lines& configuration,
                               const common::FilePath& model_folder) override;
  void OrganizeStr2Word(LangType other, const Lines& configuration,
                        const common::FilePath& model_folder) override;
  void OrganizeWsProcessor(LangType other, const Lines& configuration,
                           const common::FilePath& model_folder) override;
  void OrganizeConstraint(LangType other, const Lines& configuration,
                          const common::FilePath& model_folder) override;

 private:
  LangType source_;
  LexicutApi segmenter_;
};

}  // namespace koralite::textProcess
