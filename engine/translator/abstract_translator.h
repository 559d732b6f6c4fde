// What turns the words of a sentence into a translation. The base supports
// nothing; a translator overrides what it can do. One thread at a time.
#pragma once

#include <string>
#include <vector>

#include "common/align.h"
#include "textProcess/process_word_seq.h"

namespace koralite::translator {

class AbstractTranslator {
 public:
  virtual ~AbstractTranslator() = default;

  // Translate the words into `output`, and trace into `log` when asked to. The
  // second gives links from words to bytes of the output too. True on success.
  // Both throw std::runtime_error "Not support this type of translate!" here.
  virtual bool Translate(textProcess::ProcessWordSeq& words, std::string& output, std::string& log);
  virtual bool Translate(textProcess::ProcessWordSeq& words, std::string& output,
                         std::vector<common::align_t>& alignment, std::string& log);
};

}  // namespace koralite::translator
