// Reads UTF-8 character by character, in the wide sense that the text steps
// share: lengths up to six, overlong forms and surrogates pass, continuation
// bytes are checked. Free functions without state, safe on any thread; no call
// reads past the length it is given.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace koralite::textProcess {

class TMiningUtil {
 public:
  // The byte length (1 to 6) of the character at `pos`, whose code point goes to
  // `code`. 0 at or past the end, -1 where no whole character begins; `code` is
  // then left alone.
  static int get_utf8_encoding(const char* text, unsigned length, unsigned pos, unsigned& code);

  // The text as one string per character; a byte that begins none stands alone.
  static void split_utf8(const std::string& text, std::vector<std::string>& characters);
};

// The byte length of the character that `text` begins with: as above, so 0 for
// an empty text and -1 for a broken one.
int text_get_utf8_char_len(std::string_view text);

}  // namespace koralite::textProcess
