// The bytes of a pinyin file, written from its format page alone; the characters must
// have three bytes each.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace koralite::tests {

// Characters and their readings: "三 san 中 zhong".
inline std::string pinyin_bytes(const std::string& text) {
  std::map<std::string, std::string> readings;
  std::istringstream in(text);
  for (std::string character; in >> character;) {
    in >> readings[character];
  }
  std::vector<std::string> slots;
  std::size_t longest = 1;
  for (const auto& [character, pinyin] : readings) {
    if (std::find(slots.begin(), slots.end(), pinyin) == slots.end()) {
      slots.push_back(pinyin);
    }
    longest = std::max(longest, pinyin.size());
  }
  std::string bytes;
  bytes += kora_test::le(readings.size(), 4);
  for (const auto& [character, pinyin] : readings) {
    bytes += character;
    const auto slot = std::find(slots.begin(), slots.end(), pinyin) - slots.begin();
    bytes += kora_test::le(static_cast<std::uint64_t>(slot), 2);
  }
  bytes += kora_test::le(slots.size(), 4);
  bytes += kora_test::le(longest, 4);
  for (std::string slot : slots) {
    slot.resize(longest + 1, '\0');
    bytes += slot;
  }
  return bytes;
}

}  // namespace koralite::tests
