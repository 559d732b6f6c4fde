// The ordering constraint of sources with ASCII punctuation. The straight double
// quote opens and closes in turn.
#pragma once

#include <span>

#include "textProcess/mark_constraint.h"

namespace koralite::textProcess {

class EngConstraint : public MarkConstraint {
 public:
  EngConstraint();

 protected:
  int code_at(std::span<const unsigned char> classes, int p) const override;
};

}  // namespace koralite::textProcess
