#include "toolkit/lm/discounts.h"

#include <cstddef>

namespace koralite::toolkit {

std::array<double, 3> modified_discounts(const std::array<std::uint64_t, 4>& seen) {
  constexpr std::array<double, 3> kUsual{0.5, 1.0, 1.5};
  std::array<double, 3> discounts = kUsual;
  if (seen[0] == 0 || seen[1] == 0 || seen[2] == 0 || seen[3] == 0) {
    return discounts;
  }
  const double y = static_cast<double>(seen[0]) / static_cast<double>(seen[0] + 2 * seen[1]);
  for (std::size_t k = 0; k < 3; ++k) {
    const double value = static_cast<double>(k + 1) - static_cast<double>(k + 2) * y *
                                                          static_cast<double>(seen[k + 1]) /
                                                          static_cast<double>(seen[k]);
    if (value > 0 && value < static_cast<double>(k + 1)) {
      discounts[k] = value;
    }
  }
  return discounts;
}

}  // namespace koralite::toolkit
