// The bits of a value as another type of the same size: std::bit_cast where the
// standard library has it.
#pragma once

#include <bit>
#include <cstring>
#include <type_traits>

namespace koralite::common {

template <class To, class From>
To bits_as(const From& from) noexcept {
  static_assert(sizeof(To) == sizeof(From) && std::is_trivially_copyable_v<To> &&
                std::is_trivially_copyable_v<From>);
#if defined(__cpp_lib_bit_cast)
  return std::bit_cast<To>(from);
#else
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
#endif
}

}  // namespace koralite::common
