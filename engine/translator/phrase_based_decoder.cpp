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

template <class Search>
void PhraseBasedDecoder::translate(textProcess::ProcessWordSeq& words, std::string& output,
                                   std::vector<common::align_t>& alignment, Search&& search) {
  textProcess::ProcessWordSeq marks(words.has_positions());
  processor_.TruncatePunct(words, marks);
  search();
  processor_.AppendPunct(words, marks, output, alignment);
}

bool PhraseBasedDecoder::Translate(textProcess::ProcessWordSeq& words, std::string& output,
                                   std::string& log) {
  std::vector<common::align_t> scratch;
  translate(words, output, scratch, [&] { decoder_->translate(words.words(), output, &log); });
  return true;
}

bool PhraseBasedDecoder::Translate(textProcess::ProcessWordSeq& words, std::string& output,
                                   std::vector<common::align_t>& alignment, std::string& log) {
  translate(words, output, alignment,
            [&] { decoder_->translate(words.words(), output, alignment, &log); });
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
