// Tells text from what is none: files in UTF-16, Latin-1 or GB18030 that would be
// translated into rubbish. Free functions without state.
#pragma once

#include <string>
#include <string_view>

namespace koralite::document {

// The name, as iconv knows it, of the encoding that a text is in if it is not UTF-8:
// "UTF-16", "UTF-16LE", "UTF-16BE", "UTF-32", "GB18030" or "ISO-8859-1" (for any other).
// Empty for UTF-8. Looks at the first 64 KiB.
std::string find_encoding(std::string_view text);

// The command that makes UTF-8 of a file in that encoding.
std::string conversion_advice(std::string_view encoding, std::string_view path);

}  // namespace koralite::document
