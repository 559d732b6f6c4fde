// What the tests of the string steps share: running a step on both paths, and
// the list of all steps.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "textProcess/abstract_string_processor.h"
#include "textProcess/process_str.h"

namespace koralite::textProcess {

struct TextCase {
  std::string_view in;
  std::string_view out;
};

inline ProcessStr run_plain(AbstractStringProcessor& step, std::string_view in) {
  ProcessStr str(false, std::string(in));
  EXPECT_NE(step.Process(str), 0) << step.name();
  return str;
}

// Each byte of the input has its own index as its position.
inline ProcessStr run_placed(AbstractStringProcessor& step, std::string_view in) {
  ProcessStr str(true, std::string(in));
  str.set_identity();
  EXPECT_NE(step.Process(str), 0) << step.name();
  return str;
}

inline void expect_texts(AbstractStringProcessor& step, const std::vector<TextCase>& cases) {
  for (const TextCase& c : cases) {
    EXPECT_EQ(run_plain(step, c.in).text(), c.out) << step.name() << " of [" << c.in << "]";
    EXPECT_EQ(run_placed(step, c.in).text(), c.out) << step.name() << " of [" << c.in << "]";
  }
}

struct PlaceCase {
  std::string_view in;
  std::string_view out;
  std::vector<std::int32_t> positions;
};

inline void expect_places(AbstractStringProcessor& step, const std::vector<PlaceCase>& cases) {
  for (const PlaceCase& c : cases) {
    const ProcessStr str = run_placed(step, c.in);
    EXPECT_EQ(str.text(), c.out) << step.name() << " of [" << c.in << "]";
    EXPECT_EQ(str.positions(), c.positions) << step.name() << " of [" << c.in << "]";
  }
}

}  // namespace koralite::textProcess
