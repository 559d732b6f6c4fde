#include "textProcess/preprocessors.h"

#include <stdexcept>
#include <utility>

#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/chs_constraint.h"
#include "textProcess/convert_ne_tag_ws_processor.h"
#include "textProcess/eng_constraint.h"
#include "textProcess/jpa_constraint.h"
#include "textProcess/norm_str_processors.h"
#include "textProcess/rec_ascii_ws_processor.h"
#include "textProcess/rec_name_ws_processor.h"
#include "textProcess/single_word_seg_str_processor.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "textProcess/word_segment_str_processor.h"

namespace koralite::textProcess {

using Configuration = common::EngineConfiguration;
namespace {

constexpr unsigned kAskedPiece = 10240;  // bytes; the segmenters cap it to what they can take

constexpr char kNoJoin = '\0';

// Whether the words of a language are written with blanks between them.
bool is_written_with_blanks(LangType language) {
  return language == LangType::kEnglish || language == LangType::kKorean ||
         language == LangType::kArabic || language == LangType::kRussian;
}

bool has_chinese_marks(LangType language) {
  return language == LangType::kJapanese || language == LangType::kWenYan ||
         language == LangType::kYue;
}

}  // namespace

EngPreprocessor::EngPreprocessor(LangType target, const common::EngineConfiguration& configuration,
                                 const common::FilePath& model_folder) {
  Organize(LangType::kEnglish, target, configuration, model_folder);
}

void EngPreprocessor::OrganizeStringProcessor(LangType, const Lines&, const common::FilePath&) {
  add_string_step<CleanStrProcessor>();
  add_string_step<NormPuncEngStrProcessor>();
  add_string_step<EraseCommaStrProcessor>();
  add_string_step<InsertBlankEngStrProcessor>();
  add_string_step<TokenizeEngStrProcessor>();
  add_string_step<LowercaseEngStrProcessor>();
  add_final_string_steps();
}

void EngPreprocessor::OrganizeStr2Word(LangType, const Lines& configuration,
                                       const common::FilePath& model_folder) {
  std::unique_ptr<numtrans::RuleTranslator> rules;
  const common::FilePath path = section_path(configuration, Configuration::kRules, model_folder);
  if (!path.empty()) {
    rules = std::make_unique<numtrans::EcNumTranslator>(path);
  }
  build_str2word(configuration, model_folder, std::move(rules), ' ');
}

void EngPreprocessor::OrganizeWsProcessor(LangType, const Lines&, const common::FilePath&) {
  add_general_word_steps();
}

void EngPreprocessor::OrganizeConstraint(LangType, const Lines&, const common::FilePath&) {
  constraint_ = std::make_unique<EngConstraint>();
}

SimpChsPreprocessor::SimpChsPreprocessor(LangType target,
                                         const common::EngineConfiguration& configuration,
                                         const common::FilePath& model_folder,
                                         const LexicutApi& segmenter)
    : segmenter_(segmenter) {
  Organize(LangType::kChinese, target, configuration, model_folder);
}

void SimpChsPreprocessor::OrganizeStringProcessor(LangType, const Lines& configuration,
                                                  const common::FilePath& model_folder) {
  const auto path = [&](std::string_view section) {
    return section_path(configuration, section, model_folder);
  };
  const common::FilePath dictionary = path(Configuration::kSegment);
  if (dictionary.empty()) {
    throw std::runtime_error("can't find segment dictionary configure file");
  }

  add_string_step<CleanStrProcessor>();
  add_string_step<Sbc2DbcStrProcessor>();
  add_string_step<NormPuncChsStrProcessor>();
  add_string_step<EraseCommaStrProcessor>();
  add_string_step<ChsSegmentStrProcessor>(dictionary, path(Configuration::kSegmentNames),
                                          path(Configuration::kAmbiguousPaths),
                                          path(Configuration::kAntiNames), kAskedPiece, segmenter_)
      .SetNameBuffer(&names_);
  add_final_string_steps();
}

void SimpChsPreprocessor::OrganizeStr2Word(LangType, const Lines& configuration,
                                           const common::FilePath& model_folder) {
  std::unique_ptr<numtrans::RuleTranslator> rules;
  const common::FilePath path = section_path(configuration, Configuration::kRules, model_folder);
  if (!path.empty()) {
    rules = std::make_unique<numtrans::CeNumTranslator>(path);
  }
  build_str2word(configuration, model_folder, std::move(rules), kNoJoin);
}

void SimpChsPreprocessor::OrganizeWsProcessor(LangType, const Lines& configuration,
                                              const common::FilePath& model_folder) {
  add_word_step<RecAsciiWsProcessor>();
  const common::FilePath path = section_path(configuration, Configuration::kPinyin, model_folder);
  if (!path.empty()) {
    pinyin_ = std::make_unique<PinyinConverter>(path);
    name_converter_ = std::make_unique<NameConverter>(*pinyin_);
  }
  add_word_step<RecNameWsProcessor>(name_converter_.get(), pool_).SetNameBuffer(&names_);
  add_word_step<ConvertNeTagWsProcessor>(pool_);
}

void SimpChsPreprocessor::OrganizeConstraint(LangType, const Lines&, const common::FilePath&) {
  constraint_ = std::make_unique<ChsConstraint>();
}

void SimpChsPreprocessor::OrganizeUnkTrans(LangType other, const Lines& configuration,
                                           const common::FilePath& model_folder) {
  if (pinyin_) {
    unk_translator_ = std::make_unique<PinyinTranslator>(*pinyin_);
  } else {
    AbstractPreprocessor::OrganizeUnkTrans(other, configuration, model_folder);
  }
}

GeneralPreprocessor::GeneralPreprocessor(LangType source, LangType target,
                                         const common::EngineConfiguration& configuration,
                                         const common::FilePath& model_folder,
                                         const LexicutApi& segmenter)
    : source_(source), segmenter_(segmenter) {
  Organize(source, target, configuration, model_folder);
}

void GeneralPreprocessor::OrganizeStringProcessor(LangType, const Lines& configuration,
                                                  const common::FilePath& model_folder) {
  const auto path = [&](std::string_view section) {
    return section_path(configuration, section, model_folder);
  };
  const common::FilePath dictionary = path(Configuration::kSegment);
  const std::string split = section_value(configuration, Configuration::kSingleWordSplit);
  if (dictionary.empty() && split.empty()) {
    throw std::runtime_error("can't find segment dictionary configure file, worddict is null");
  }

  add_string_step<CleanStrProcessor>();
  add_string_step<Sbc2DbcStrProcessor>();
  if (!dictionary.empty()) {
    add_string_step<GeneralSegmentStrProcessor>(
        dictionary, path(Configuration::kSegmentNames), path(Configuration::kAmbiguousPaths),
        path(Configuration::kAntiNames), kAskedPiece, segmenter_);
  }
  if (split == "1") {
    add_string_step<SingleWordSegStrProcessor>();
  }
  add_final_string_steps();
}

void GeneralPreprocessor::OrganizeStr2Word(LangType, const Lines& configuration,
                                           const common::FilePath& model_folder) {
  build_str2word(configuration, model_folder, nullptr,
                 is_written_with_blanks(source_) ? ' ' : kNoJoin);
}

void GeneralPreprocessor::OrganizeWsProcessor(LangType, const Lines&, const common::FilePath&) {
  add_general_word_steps();
}

void GeneralPreprocessor::OrganizeConstraint(LangType, const Lines&, const common::FilePath&) {
  if (has_chinese_marks(source_)) {
    constraint_ = std::make_unique<JpaConstraint>();
  } else {
    constraint_ = std::make_unique<EngConstraint>();
  }
}

}  // namespace koralite::textProcess
