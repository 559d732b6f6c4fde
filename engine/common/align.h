// One alignment link between a source range and a target range. Both ranges are
// inclusive; whether they count words or bytes is said by whoever hands it out.
#pragma once

#include <cstdint>

namespace koralite::common {

struct align_t {
  std::int32_t source_first = 0;
  std::int32_t source_last = 0;
  std::int32_t target_first = 0;
  std::int32_t target_last = 0;

  friend bool operator==(const align_t&, const align_t&) = default;
};

}  // namespace koralite::common
