#include "toolkit/io/text_form.h"

#include <array>
#include <charconv>

namespace koralite::toolkit {

std::string fixed(double value, int digits) {
  std::array<char, 400> buffer{};  // the largest number has 309 digits before the point
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                    std::chars_format::fixed, digits);
  return {buffer.data(), result.ptr};
}

std::string join(std::span<const std::string> words, std::string_view between) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    text.append(i == 0 ? "" : between).append(words[i]);
  }
  return text;
}

std::string escape_html(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

}  // namespace koralite::toolkit
