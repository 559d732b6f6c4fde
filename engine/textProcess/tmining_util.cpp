#include "textProcess/tmining_util.h"

#include <bit>
#include <cstddef>

namespace koralite::textProcess {

int TMiningUtil::get_utf8_encoding(const char* text, unsigned length, unsigned pos,
                                   unsigned& code) {
  if (pos >= length) {
    return 0;
  }
  const auto lead = static_cast<unsigned char>(text[pos]);
  if (lead < 0x80U) {
    code = lead;
    return 1;
  }
  const int size = std::countl_one(lead);  // 1 is a continuation byte, 7 and 8 lead nothing
  if (size < 2 || size > 6 || static_cast<unsigned>(size) > length - pos) {
    return -1;
  }
  unsigned value = lead & (0x7FU >> size);
  for (unsigned i = 1; i < static_cast<unsigned>(size); ++i) {
    const auto byte = static_cast<unsigned char>(text[pos + i]);
    if ((byte & 0xC0U) != 0x80U) {
      return -1;
    }
    value = value << 6U | (byte & 0x3FU);
  }
  code = value;
  return size;
}

void TMiningUtil::split_utf8(const std::string& text, std::vector<std::string>& characters) {
  characters.clear();
  characters.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const int size = text_get_utf8_char_len(std::string_view(text).substr(at));
    const std::size_t take = size < 1 ? 1 : static_cast<std::size_t>(size);
    characters.emplace_back(text, at, take);
    at += take;
  }
}

int text_get_utf8_char_len(std::string_view text) {
  constexpr std::size_t kLongest = 6;  // no character needs more to be judged
  unsigned code = 0;
  const auto length = static_cast<unsigned>(text.size() < kLongest ? text.size() : kLongest);
  return TMiningUtil::get_utf8_encoding(text.data(), length, 0, code);
}

}  // namespace koralite::textProcess
