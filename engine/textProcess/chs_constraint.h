// The ordering constraint of sources with Chinese punctuation. Quotation marks
// are paired by their own shape.
#pragma once

#include <span>

#include "textProcess/mark_constraint.h"

namespace koralite::textProcess {

class ChsConstraint : public MarkConstraint {
 public:
  ChsConstraint() : ChsConstraint("ChsConstraint") {}

 protected:
  explicit ChsConstraint(const char* name);
  int code_at(std::span<const unsigned char> classes, int p) const override;
};

}  // namespace koralite::textProcess
