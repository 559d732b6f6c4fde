// Errors that keep what caused them. The message of an error stays what callers compare; the cause
// is nested in it, and shown after it where a person reads. Free functions without state.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace koralite::common {

// Throws std::runtime_error with this message and a cause nested in it.
[[noreturn]] inline void throw_caused(const std::string& message, const std::string& cause) {
  try {
    throw std::runtime_error(cause);
  } catch (const std::runtime_error&) {
    std::throw_with_nested(std::runtime_error(message));
  }
}

// The message of an error and those of its causes, outermost first: "A: B: C".
inline std::string with_causes(const std::exception& error) {
  std::string text = error.what();
  try {
    std::rethrow_if_nested(error);
  } catch (const std::exception& cause) {
    text += ": " + with_causes(cause);
  } catch (...) {
    text += ": unknown failure";
  }
  return text;
}

// Runs `load`, which reads a file. Its error gets the file as its cause unless it has one already.
template <class Load>
void naming_file(const std::string& path, Load&& load) {
  try {
    load();
  } catch (const std::runtime_error& error) {
    if (dynamic_cast<const std::nested_exception*>(&error) != nullptr) {
      throw;
    }
    throw_caused(error.what(), path);
  }
}

}  // namespace koralite::common
