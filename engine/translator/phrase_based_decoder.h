// The translator of every handle: decoder parameters, models and search of one
// direction, with sentence-final punctuation taken off before the search and put
// back after it.
//
// Owns parameters, models and decoder; borrows the handle's Processor, which
// must outlive it. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "decoder/decoder.h"
#include "decoder/parameter.h"
#include "decoder/shared_member.h"
#include "textProcess/processor.h"
#include "translator/abstract_translator.h"

namespace koralite::translator {

class PhraseBasedDecoder : public AbstractTranslator {
 public:
  // Reads the parameter file and loads the models that it names. Throws their
  // errors as std::runtime_error.
  PhraseBasedDecoder(const common::FilePath& model_folder, const common::FilePath& parameter_path,
                     textProcess::Processor& processor, bool debug);
  ~PhraseBasedDecoder() override;

  bool Translate(textProcess::ProcessWordSeq& words, std::string& output,
                 std::string& log) override;
  bool Translate(textProcess::ProcessWordSeq& words, std::string& output,
                 std::vector<common::align_t>& alignment, std::string& log) override;
  // At most n translations, best first, with their scores as text. Punctuation
  // stays with the words here.
  virtual bool Translate(unsigned n, textProcess::ProcessWordSeq& words,
                         std::vector<std::string>& outputs, std::vector<std::string>& scores,
                         std::string& log);

  // The same with the scores themselves.
  bool Translate(unsigned n, textProcess::ProcessWordSeq& words, std::vector<std::string>& outputs,
                 std::vector<float>& totals, std::string& log);

  // The width of the search, at first what the parameter file says; what is set holds from the next
  // sentence on. Throws std::runtime_error, and changes nothing, for limits that are not valid.
  decoder::search_limits_t limits() const { return parameter_.limits(); }
  void set_limits(const decoder::search_limits_t& limits);

  // For tools that look inside.
  decoder::Decoder& search() { return *decoder_; }
  decoder::SharedMember& models() { return shared_; }
  bool debug() const { return debug_; }

 private:
  // Takes the sentence-final marks off, searches, and puts them back.
  template <class Search>
  void translate(textProcess::ProcessWordSeq& words, std::string& output,
                 std::vector<common::align_t>& alignment, Search&& search);

  bool debug_;
  textProcess::Processor& processor_;
  decoder::Parameter parameter_;
  decoder::SharedMember shared_;
  std::unique_ptr<decoder::Decoder> decoder_;  // created last, destroyed first
};

}  // namespace koralite::translator
