#include "textProcess/abstract_preprocessor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <utility>

#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/convert_ne_tag_ws_processor.h"
#include "textProcess/punct_processors.h"
#include "textProcess/tokenize_hyphen_ws_processor.h"

namespace koralite::textProcess {
namespace {

constexpr std::size_t kPoolBlock = 102400;  // bytes

// A TAB separates words like a blank, from the step "text_replace" on.
constexpr char kReplacedByte = '\t';
constexpr char kReplacementByte = ' ';

// The pieces of a cut word are placed by their offset in the processed text, which may hold more
// bytes than the source (escapes): no word may begin behind the next one or behind the text.
void keep_in_order(ProcessWordSeq::Positions& words, const ProcessStr::Positions& bytes) {
  if (words.empty() || bytes.empty()) {
    return;
  }
  std::int32_t limit = *std::max_element(bytes.begin(), bytes.end());
  for (std::size_t i = words.size(); i-- > 0;) {
    words[i] = std::min(words[i], limit);
    limit = words[i];
  }
}

}  // namespace

AbstractPreprocessor::AbstractPreprocessor() : pool_(kPoolBlock) {}

void AbstractPreprocessor::Organize(LangType source, LangType target,
                                    const common::EngineConfiguration& configuration,
                                    const common::FilePath& model_folder) {
  try {
    const Lines& lines = configuration.lines();
    debug_ = GetDebLevel(lines);
    PunctTruncateProcessor::GetTruncateMap(source, target, truncate_map_);
    OrganizeStringProcessor(target, lines, model_folder);
    OrganizeStr2Word(target, lines, model_folder);
    OrganizeWsProcessor(target, lines, model_folder);
    OrganizeConstraint(target, lines, model_folder);
    OrganizeUnkTrans(target, lines, model_folder);
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("Cannot allocate for preprocess");
  }
}

void AbstractPreprocessor::OrganizeUnkTrans(LangType, const Lines&, const common::FilePath&) {
  unk_translator_ = std::make_unique<decoder::UnkTranslator>();
}

void AbstractPreprocessor::add_final_string_steps() {
  add_string_step<ReplaceCharStrProcessor>(kReplacedByte, kReplacementByte);
  add_string_step<UniqueBlankStrProcessor>();
  add_string_step<ReplaceSpecCharStrProcessor>();
}

void AbstractPreprocessor::add_general_word_steps() {
  add_word_step<ConvertNeTagWsProcessor>(pool_);
  hyphens_ = &add_word_step<TokenizeHyphenWsProcessor>(nullptr);
}

void AbstractPreprocessor::build_str2word(const Lines& configuration,
                                          const common::FilePath& model_folder,
                                          std::unique_ptr<numtrans::RuleTranslator> rules,
                                          char join) {
  const common::FilePath path =
      section_path(configuration, common::EngineConfiguration::kEntities, model_folder);
  if (!path.empty()) {
    dictionary_ = std::make_unique<NeDict>(path);
  }
  rules_ = std::move(rules);
  str2word_ = std::make_unique<Str2Word>(dictionary_.get(), rules_.get(), pool_, join);
}

void AbstractPreprocessor::SetSourceVocab(const decoder::Vocab* vocab) {
  if (hyphens_ != nullptr) {
    hyphens_->SetVocab(vocab);
  }
}

void AbstractPreprocessor::Preprocess(ProcessStr& str, ProcessWordSeq& words) {
  if (string_head_->Process(str) == 0) {
    throw std::runtime_error("Preprocess string error\n");
  }
  if (str2word_->DoProcess(str, words) == 0) {
    throw std::runtime_error("Preprocess Str2WordSeq error\n");
  }
  if (ws_head_->Process(words) == 0) {
    throw std::runtime_error("Preprocess WordSeq error\n");
  }
  if (words.has_positions()) {
    keep_in_order(words.positions(), str.positions());
  }
}

void AbstractPreprocessor::Preprocess(ProcessStr& str) {
  if (string_head_->Process(str) == 0) {
    throw std::runtime_error("Preprocess error: " + str.text() + "\n");
  }
}

}  // namespace koralite::textProcess
