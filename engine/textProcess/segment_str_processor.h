// Base of the steps that put spaces between words: what they share is finding
// the source positions again once the spaces are in. Without state.
#pragma once

#include <memory>
#include <string>

#include "textProcess/abstract_step.h"

namespace koralite::textProcess {

class SegmentStrProcessor : public AbstractStringProcessor {
 public:
  using AbstractStringProcessor::AbstractStringProcessor;

  // Fills the positions of `target`, the text of `source` with spaces put in or
  // taken out: each byte that is no space keeps the position it has in `source`,
  // a space takes the one before it (at the start that of the first byte).
  // False, with `target` left alone, when either keeps no positions, those of
  // `source` do not number its bytes, `source` is empty, or the texts differ in
  // more than spaces.
  static bool text_align_string(const ProcessStr& source, ProcessStr& target);

 protected:
  // Makes `segmented` the text of `str`, positions included; 0 if they cannot be
  // found again, and `str` is then left alone.
  static int replace_text(ProcessStr& str, std::string segmented);
};

}  // namespace koralite::textProcess
