#include "common/align.h"

#include <gtest/gtest.h>

#include <type_traits>

// Callers of the C face receive links as flat arrays of four 32-bit numbers.
TEST(Align, IsFourPackedIntegers) {
  using koralite::common::align_t;
  static_assert(std::is_trivially_copyable_v<align_t>);
  EXPECT_EQ(sizeof(align_t), 4 * sizeof(std::int32_t));
}
