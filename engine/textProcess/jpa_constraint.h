// The ordering constraint of Japanese sources, which use the same marks as
// Chinese ones.
#pragma once

#include "textProcess/chs_constraint.h"

namespace koralite::textProcess {

class JpaConstraint : public ChsConstraint {
 public:
  JpaConstraint() : ChsConstraint("JpaConstraint") {}
};

}  // namespace koralite::textProcess
