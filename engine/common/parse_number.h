// Numbers from text, independent of the process's locale. Free functions without
// state: safe on any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace koralite::common {

// The leading decimal integer of a text: blanks, a sign, digits; what follows is ignored. Text
// without one gives 0. Values beyond 64 bits are clamped to them.
std::int64_t parse_leading_int64(std::string_view text);
// The same, cut to its low 32 bits.
std::int32_t parse_leading_int(std::string_view text);

// The leading decimal floating-point number: blanks, a sign, digits with at most one point, an
// exponent. No hexadecimal, no "inf" or "nan" (these give 0); one too large is infinite, one too
// small is 0.
double parse_leading_double(std::string_view text);
// The same, rounded to single precision (infinite beyond its range).
float parse_leading_float(std::string_view text);

}  // namespace koralite::common
