// Marks words of ASCII with a letter or digit to be passed through: their tag
// becomes "ASC" and their translation is their own text. Without state.
#pragma once

#include <memory>

#include "textProcess/abstract_step.h"

namespace koralite::textProcess {

class RecAsciiWsProcessor : public AbstractWsProcessor {
 public:
  RecAsciiWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior);

  int OnProcess(ProcessWordSeq& words) override;  // always succeeds
};

}  // namespace koralite::textProcess
