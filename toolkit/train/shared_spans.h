// The protected spans that both sides of a sentence pair hold, replaced by stand-ins, so
// that training sees them as the engine will: as one word with a tag.
//
// Free function; the recognisers are only read.
#pragma once

#include <string>

#include "document/span_recognizer.h"
#include "document/stand_ins.h"

namespace koralite::toolkit {

struct shared_spans_t {
  std::string source;
  std::string target;
  document::StandIns stand_ins;  // the same word on both sides for the same bytes
};

// Spans that one side holds more often than the other stay as they are.
shared_spans_t share_spans(const document::SpanRecognizer& source_spans,
                           const document::SpanRecognizer& target_spans, const std::string& source,
                           const std::string& target);

}  // namespace koralite::toolkit
