// English abbreviations, and the word around a punctuation byte. All bytewise;
// a word is a run of ASCII letters, digits and underscores. Free functions
// without state: safe on any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace koralite::common {

// The word run that ends before the byte at `pos`, and that byte: "Mr." of "Mr. X". Empty when
// `pos` is outside of the text.
void text_get_prefix(const std::string& text, unsigned pos, std::string& out);
// The byte at `pos` and the word run after it: "'t" of "don't". Empty when `pos` is outside.
void text_get_suffix(const std::string& text, unsigned pos, std::string& out);

// The same as views into the text.
std::string_view text_prefix_at(std::string_view text, std::size_t pos);
std::string_view text_suffix_at(std::string_view text, std::size_t pos);

// Whether a token with its full stop is an abbreviation: one letter and a dot, anything that ends
// in letter, dot, letter, dot, or a table word. The table is lower case and so must the token be.
bool text_is_abbrev_eng(const char* token);
bool text_is_abbrev_eng(std::string_view token);

}  // namespace koralite::common
