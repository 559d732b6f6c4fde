#include "translator/phrase_based_decoder.h"

#include <stdexcept>

namespace koralite::translator {

PhraseBasedDecoder::PhraseBasedDecoder(const common::FilePath& model_folder,
                                       const common::FilePath& parameter_path,
                                       textProcess::Processor& processor, bool debug)
    : debug_(debug),
      processor_(processor),
      parameter_(parameter_path),
      shared_(&parameter_, model_folder),
      decoder_(std::make_unique<decoder::Decoder>(shared_, processor.GetConstraint(),
                                                  processor.GetUnkTranslator())) {
  processor_.SetSourceVocab(shared_.source_vocab.get());
}

PhraseBasedDecoder::~PhraseBasedDecoder() {
  processor_.SetSourceVocab(nullptr);
}

bool PhraseBasedDecoder::Translate(textProcess::ProcessWordSeq& words, std::string& output,
                                   std::string& log) {
  textProcess::ProcessWordSeq removed(words.has_positions());
  processor_.TruncatePunct(words, removed);
  decoder_->translate(words.words(), output, &log);
  std::vector<common::align_t> scratch;
  processor_.AppendPunct(words, removed, output, scratch);
  return true;
}

bool PhraseBasedDecoder::Translate(textProcess::ProcessWordSeq& words, std::string& output,
                                   std::vector<common::align_t>& alignment, std::string& log) {
  textProcess::ProcessWordSeq removed(words.has_positions());
  processor_.TruncatePunct(words, removed);
  decoder_->translate(words.words(), output, alignment, &log);
  processor_.AppendPunct(words, removed, output, alignment);
  return true;
}

bool PhraseBasedDecoder::Translate(unsigned n, textProcess::ProcessWordSeq& words,
                                   std::vector<std::string>& outputs,
                                   std::vector<std::string>& scores, std::string& log) {
  decoder_->translate(n, words.words(), outputs, scores, &log);
  return true;
}

bool PhraseBasedDecoder::Translate(unsigned n, textProcess::ProcessWordSeq& words,
                                   std::vector<std::string>& outputs, std::vector<float>& totals,
                                   std::string& log) {
  decoder_->translate(n, words.words(), outputs, totals, &log);
  return true;
}

void PhraseBasedDecoder::set_limits(const decoder::search_limits_t& limits) {
  if (!limits.valid()) {
    throw std::runtime_error("invalid limits of the search");
  }
  parameter_.set_limits(limits);
}

}  // namespace koralite::translator
