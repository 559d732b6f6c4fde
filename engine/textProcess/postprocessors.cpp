#include "textProcess/postprocessors.h"

#include <new>
#include <stdexcept>

#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/punct_processors.h"

namespace koralite::textProcess {

void AbstractPostprocessor::Organize(LangType source, LangType target,
                                     const common::EngineConfiguration& configuration,
                                     const common::FilePath& model_folder) {
  try {
    const Lines& lines = configuration.lines();
    debug_ = GetDebLevel(lines);
    PunctAppendProcessor::GetPunctSet(target, punct_set_);
    OrganizeStringProcessor(source, lines, model_folder);
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("Cannot allocate for postprocess");
  }
}

void AbstractPostprocessor::Postprocess(ProcessStr& str) {
  if (string_head_->Process(str) == 0) {
    throw std::runtime_error("Postprocess error\n");
  }
}

EngPostprocessor::EngPostprocessor(LangType source,
                                   const common::EngineConfiguration& configuration,
                                   const common::FilePath& model_folder) {
  Organize(source, LangType::kEnglish, configuration, model_folder);
}

void EngPostprocessor::OrganizeStringProcessor(LangType, const Lines& configuration,
                                               const common::FilePath& model_folder) {
  // Without a model the recaser still capitalises sentence starts.
  add_string_step<EngRecaseStrProcessor>(
      section_path(configuration, common::EngineConfiguration::kRecase, model_folder));
  add_string_step<DetokenizeEngStrProcessor>();
  add_string_step<RestoreSpecCharStrProcessor>();
}

SimpChsPostprocessor::SimpChsPostprocessor(LangType source,
                                           const common::EngineConfiguration& configuration,
                                           const common::FilePath& model_folder) {
  Organize(source, LangType::kChinese, configuration, model_folder);
}

void SimpChsPostprocessor::OrganizeStringProcessor(LangType, const Lines&,
                                                   const common::FilePath&) {
  add_string_step<EraseBlankChsStrProcessor>();
  add_string_step<RestoreSpecCharStrProcessor>();
}

GeneralPostprocessor::GeneralPostprocessor(LangType source, LangType target,
                                           const common::EngineConfiguration& configuration,
                                           const common::FilePath& model_folder) {
  Organize(source, target, configuration, model_folder);
}

void GeneralPostprocessor::OrganizeStringProcessor(LangType, const Lines&,
                                                   const common::FilePath&) {
  add_string_step<EraseBlankChsStrProcessor>();
  add_string_step<RestoreSpecCharStrProcessor>();
}

}  // namespace koralite::textProcess
