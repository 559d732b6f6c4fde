// Makes each multi-byte character a word of its own, without a dictionary; runs
// of ASCII stay together. Without state.
#pragma once

#include <memory>
#include <string>

#include "textProcess/segment_str_processor.h"

namespace koralite::textProcess {

class SingleWordSegStrProcessor : public SegmentStrProcessor {
 public:
  SingleWordSegStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior);

  // Fails only for an empty text with positions.
  int OnProcess(ProcessStr& str) override;

  // `text` with a space after each multi-byte character, spaces then squeezed
  // and cut off at both ends.
  static std::string word_split(const std::string& text);
};

}  // namespace koralite::textProcess
