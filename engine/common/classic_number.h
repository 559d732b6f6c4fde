// Floating-point text for standard libraries whose from_chars and to_chars know
// integers alone: the same bytes in every locale. Free functions without state.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>

namespace koralite::common {

// The value of a number's text; false when no double holds it.
inline bool classic_parse(const std::string& text, double& value) {
#if defined(__EMSCRIPTEN__)
  // Its C library has the classic locale alone, and streams would double the module.
  value = std::strtod(text.c_str(), nullptr);
  return !std::isinf(value);
#else
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  return static_cast<bool>(stream >> value);
#endif
}

// The value as "%.DIGITSg" writes it.
inline std::string classic_text(double value, int digits = 6) {
#if defined(__EMSCRIPTEN__)
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%.*g", digits, value);
  return {text, static_cast<std::size_t>(size)};
#else
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.precision(digits);
  stream << value;
  return stream.str();
#endif
}

}  // namespace koralite::common
