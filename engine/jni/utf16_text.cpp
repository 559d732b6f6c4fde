#include "jni/utf16_text.h"

#include <algorithm>
#include <cstddef>

#include "jni/modified_utf8.h"

namespace koralite::jni {

std::string from_utf16(std::u16string_view text, unit_map_t* units) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t start = i;
    std::uint32_t c = text[i++];
    if (c >= 0xD800U && c <= 0xDFFFU) {
      const bool pair = c <= 0xDBFFU && i < text.size() && text[i] >= 0xDC00U && text[i] <= 0xDFFFU;
      c = pair ? 0x10000U + ((c - 0xD800U) << 10U) + (text[i++] - 0xDC00U) : 0xFFFDU;
    }
    put_character(out, c);
    if (units != nullptr) {
      units->resize(out.size(), static_cast<std::int32_t>(start));
    }
  }
  if (units != nullptr) {
    units->push_back(static_cast<std::int32_t>(text.size()));
  }
  return out;
}

std::u16string to_utf16(std::string_view text, unit_map_t* units) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t start = out.size();
    const std::uint32_t c = next_character(text, i);
    if (c < 0x10000U) {
      out += static_cast<char16_t>(c);
    } else {
      out += static_cast<char16_t>(0xD800U + ((c - 0x10000U) >> 10U));
      out += static_cast<char16_t>(0xDC00U + ((c - 0x10000U) & 0x3FFU));
    }
    if (units != nullptr) {
      units->resize(i, static_cast<std::int32_t>(start));
    }
  }
  if (units != nullptr) {
    units->push_back(static_cast<std::int32_t>(out.size()));
  }
  return out;
}

namespace {

// Where the character of byte `at` ends, in units.
std::int32_t end_of(const unit_map_t& units, std::size_t at) {
  return *std::upper_bound(units.begin() + static_cast<std::ptrdiff_t>(at), units.end() - 1,
                           units[at]);
}

void put_range(std::vector<std::int32_t>& out, const unit_map_t& units, std::int32_t first,
               std::int32_t last) {
  const auto end = static_cast<std::int32_t>(units.size()) - 1;
  const auto from = static_cast<std::size_t>(std::clamp(first, 0, end));
  const auto to = static_cast<std::size_t>(std::clamp(last, -1, end - 1) + 1);
  out.push_back(units[from]);
  out.push_back(to <= from ? units[from] : end_of(units, to - 1));
}

}  // namespace

std::vector<std::int32_t> links_in_units(const std::int32_t* links, std::size_t count,
                                         const unit_map_t& source, const unit_map_t& target) {
  std::vector<std::int32_t> out;
  out.reserve(4 * count);
  for (std::size_t i = 0; i < count; ++i, links += 4) {
    put_range(out, source, links[0], links[1]);
    put_range(out, target, links[2], links[3]);
  }
  return out;
}

}  // namespace koralite::jni
