// Values as text, the same in every locale. Free functions without state.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace koralite::toolkit {

// A number with so many digits after the point.
std::string fixed(double value, int digits);

// All words with `between` between them.
std::string join(std::span<const std::string> words, std::string_view between);

// A text between HTML tags or in a quoted attribute.
std::string escape_html(std::string_view text);

}  // namespace koralite::toolkit
