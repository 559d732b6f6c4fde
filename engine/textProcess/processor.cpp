#include "textProcess/processor.h"

#include <stdexcept>

#include "textProcess/preprocessors.h"
#include "textProcess/punct_processors.h"

namespace koralite::textProcess {
namespace {

std::unique_ptr<AbstractPreprocessor> make_preprocessor(
    LangType source, LangType target, const common::EngineConfiguration& configuration,
    const common::FilePath& model_folder, const LexicutApi& segmenter) {
  switch (source) {
    case LangType::kEnglish:
      return std::make_unique<EngPreprocessor>(target, configuration, model_folder);
    case LangType::kChinese:
      return std::make_unique<SimpChsPreprocessor>(target, configuration, model_folder, segmenter);
    case LangType::kJapanese:
    case LangType::kKorean:
    case LangType::kThai:
    case LangType::kArabic:
    case LangType::kRussian:
    case LangType::kWenYan:
    case LangType::kYue:
      return std::make_unique<GeneralPreprocessor>(source, target, configuration, model_folder,
                                                   segmenter);
    default:
      throw std::runtime_error("Invalid source language type!");
  }
}

std::unique_ptr<AbstractPostprocessor> make_postprocessor(
    LangType source, LangType target, const common::EngineConfiguration& configuration,
    const common::FilePath& model_folder) {
  switch (target) {
    case LangType::kEnglish:
    case LangType::kKorean:
      return std::make_unique<EngPostprocessor>(source, configuration, model_folder);
    case LangType::kChinese:
      return std::make_unique<SimpChsPostprocessor>(source, configuration, model_folder);
    case LangType::kJapanese:
    case LangType::kThai:
    case LangType::kArabic:
    case LangType::kRussian:
    case LangType::kWenYan:
    case LangType::kYue:
      return std::make_unique<GeneralPostprocessor>(source, target, configuration, model_folder);
    default:
      throw std::runtime_error("Invalid target language type!");
  }
}

}  // namespace

bool has_postprocessor(LangType target) {
  switch (target) {
    case LangType::kNone:
    case LangType::kSpanish:
    case LangType::kFrench:
    case LangType::kGerman:
    case LangType::kPortuguese:
      return false;
    default:
      return target > LangType::kNone && target <= LangType::kYue;
  }
}

Processor::Processor(LangType source, LangType target,
                     const common::EngineConfiguration& configuration,
                     const common::FilePath& model_folder, const LexicutApi& segmenter)
    : postprocessor_(nullptr),
      preprocessor_(make_preprocessor(source, target, configuration, model_folder, segmenter)) {
  postprocessor_ = make_postprocessor(source, target, configuration, model_folder);
}

Processor::~Processor() = default;

void Processor::TruncatePunct(ProcessWordSeq& words, ProcessWordSeq& removed) const {
  PunctTruncateProcessor::DoTruncatePunct(words, removed, preprocessor_->truncate_map());
}

void Processor::AppendPunct(ProcessWordSeq& words, ProcessWordSeq& removed, std::string& output,
                            std::vector<common::align_t>& alignment) const {
  PunctAppendProcessor::DoAppendPunct(words, removed, output, alignment,
                                      postprocessor_->punct_set());
}

}  // namespace koralite::textProcess
