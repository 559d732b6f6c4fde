#include "translator/trans_impl.h"

#include <utility>

#include "translator/alignment.h"

namespace koralite::translator {

using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

TransImpl::TransImpl(textProcess::LangType source, textProcess::LangType target,
                     const common::EngineConfiguration& configuration,
                     const common::FilePath& model_folder, const std::string& parameter_file)
    : Processor(source, target, configuration, model_folder),
      debug_(common::EngineConfiguration::debug_level(configuration.lines())),
      source_type_(source) {
  translator_ = std::make_unique<PhraseBasedDecoder>(
      model_folder, model_folder.file(parameter_file), *this, debug_);
}

TransImpl::~TransImpl() = default;

std::string TransImpl::postprocessed(std::string decoded) {
  ProcessStr result(false, std::move(decoded));
  Postprocess(result);
  return std::move(result.text());
}

void TransImpl::Translate(const std::string& source, std::string& output) {
  log_.clear();
  ProcessStr str(false, source);
  ProcessWordSeq words(false);
  Preprocess(str, words);
  std::string decoded;
  translator_->Translate(words, decoded, log_);  // without the marks at the end, which it puts back
  output = postprocessed(std::move(decoded));
}

void TransImpl::Translate(unsigned n, const std::string& source,
                          std::vector<std::string>& outputs) {
  log_.clear();
  ProcessStr str(false, source);
  ProcessWordSeq words(false);
  Preprocess(str, words);
  std::vector<std::string> scores;
  translator_->Translate(n, words, outputs, scores, log_);
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    outputs[i] = postprocessed(std::move(outputs[i]));
    if (i < scores.size() && !scores[i].empty()) {
      outputs[i] += " ||| " + scores[i];
    }
  }
}

void TransImpl::Translate(const std::string& source, std::string& output,
                          std::vector<common::align_t>& alignment) {
  log_.clear();
  ProcessStr str(true, source);
  str.set_identity();
  ProcessWordSeq words(true);
  Preprocess(str, words);

  std::string decoded;
  translator_->Translate(words, decoded, alignment, log_);
  const std::size_t word_count = words.words().size();
  if (!check_alignment(static_cast<int>(word_count), static_cast<int>(decoded.size()), alignment)) {
    alignment.assign(1, whole_alignment(word_count, decoded.size()));
  }

  ProcessStr result(true, std::move(decoded));
  result.set_identity();
  Postprocess(result);
  output = result.text();
  modify_alignment(source, output, words.positions(), result.positions(), alignment);
  if (!check_alignment(source, output, alignment)) {
    alignment.assign(1, whole_alignment(source.size(), output.size()));
  }
}

void TransImpl::Preprocess4Test(const std::string& source, std::string& output) {
  ProcessStr str(false, source);
  ProcessWordSeq words(false);
  Preprocess(str, words);
  output.clear();
  const auto put = [&](const char* text) { output.append(text != nullptr ? text : "#N#") += '&'; };
  for (const common::word_node_t& node : words.words()) {
    put(node.word);
    put(node.translation);
    put(node.tag);
  }
}

void TransImpl::DoPreprocess(ProcessStr& str, ProcessWordSeq& words) {
  Preprocess(str, words);
}

void TransImpl::DoPostprocess(ProcessStr& str) {
  Postprocess(str);
}

}  // namespace koralite::translator
