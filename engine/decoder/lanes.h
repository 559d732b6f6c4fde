// Four floats at a time, by the vector types that g++ and clang share. Each lane
// is computed exactly like a single float.
#pragma once

#include <cstdint>
#include <cstring>

namespace koralite::decoder {

using lanes_t __attribute__((vector_size(16))) = float;
using lane_mask_t __attribute__((vector_size(16))) = std::int32_t;  // all bits of a lane, or none

inline lanes_t load_lanes(const float* from) {
  lanes_t lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

// The lanes of `yes` whose bits are set, those of `no` for the others.
inline lanes_t select_lanes(unsigned bits, lanes_t yes, lanes_t no) {
  const auto lane = [bits](unsigned k) { return -static_cast<std::int32_t>(bits >> k & 1U); };
  const lane_mask_t mask = {lane(0), lane(1), lane(2), lane(3)};
  return (lanes_t)(((lane_mask_t)yes & mask) | ((lane_mask_t)no & ~mask));
}

inline bool all_lanes(lane_mask_t mask) {
  std::uint64_t halves[2];
  std::memcpy(halves, &mask, sizeof halves);
  return (halves[0] & halves[1]) == ~std::uint64_t{0};
}

}  // namespace koralite::decoder
