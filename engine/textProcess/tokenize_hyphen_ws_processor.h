// Splits hyphenated words that the source vocabulary does not know, so that the
// decoder meets words it may have seen.
#pragma once

#include <memory>
#include <utility>

#include "decoder/vocab.h"
#include "textProcess/abstract_step.h"

namespace koralite::textProcess {

class TokenizeHyphenWsProcessor final : public AbstractWsProcessor {
 public:
  // The vocabulary is borrowed; while it is null nothing is split.
  TokenizeHyphenWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior,
                            const decoder::Vocab* vocab)
      : AbstractWsProcessor(id, std::move(prior), "tokenize_hyphen"), vocab_(vocab) {}

  // For chains that are built before the vocabulary is loaded.
  void SetVocab(const decoder::Vocab* vocab) { vocab_ = vocab; }

  // Cuts words in place: a hyphen between letters becomes a zero byte in the word's own text. Words
  // with a tag stay whole. A piece's position is the word's plus the piece's offset in it.
  int OnProcess(ProcessWordSeq& words) override;

 private:
  const decoder::Vocab* vocab_;
};

}  // namespace koralite::textProcess
