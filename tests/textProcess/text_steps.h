// What the tests of the string steps share: running a step on both paths, and
// checking it against a section of steps.txt.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/cases.h"
#include "textProcess/abstract_step.h"
#include "textProcess/process_str.h"

namespace koralite::textProcess {

// With positions, each byte of the input has its own index as its position.
inline ProcessStr run_step(AbstractStringProcessor& step, std::string_view in, bool placed) {
  ProcessStr str(placed, std::string(in));
  str.set_identity();
  EXPECT_NE(step.Process(str), 0) << step.name();
  return str;
}

inline void expect_cases(AbstractStringProcessor& step, const std::string& section) {
  kora_test::for_cases("steps.txt", section, [&](const kora_test::Case& c) {
    EXPECT_EQ(run_step(step, c[0], false).text(), c[1]);
    const ProcessStr placed = run_step(step, c[0], true);
    EXPECT_EQ(placed.text(), c[1]);
    if (c.cells.size() > 2) {
      EXPECT_EQ(placed.positions(), c.numbers(2));
    }
  });
}

}  // namespace koralite::textProcess
