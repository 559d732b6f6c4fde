// The discounts of modified Kneser-Ney smoothing, which language model and reordering counts share.
// A free function without state.
//
// Chen and Goodman, "An empirical study of smoothing techniques for language modeling" (1999),
// section 3.2: with n_k the number of items seen k times and Y = n1 / (n1 + 2 n2),
// D_k = k - (k + 1) Y n_{k+1} / n_k for k = 1, 2 and 3 or more.
#pragma once

#include <array>
#include <cstdint>

namespace koralite::toolkit {

// The discounts of items seen once, twice, and three times or more, from the numbers of items seen
// 1, 2, 3 and 4 times. Small texts leave them undefined or out of range: then 0.5, 1 and 1.5.
std::array<double, 3> modified_discounts(const std::array<std::uint64_t, 4>& seen);

}  // namespace koralite::toolkit
