// Sentence boundaries of English and Chinese text, and English case. Bytes in,
// bytes out, in linear time on any input. Free functions without state: safe on
// any thread. The output may be the input's own object.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace koralite::common {

// Copies the text with a line feed before each new sentence; never at the very end. Closing quotes,
// brackets and blanks stay with the sentence before. The longer forms carry one source position per
// byte along (a line feed takes that of the byte after it) and return false, with empty output,
// when the positions do not number the bytes.
void text_split_sent_eng(const std::string& in, std::string& out);
bool text_split_sent_eng(const std::string& in, std::string& out,
                         const std::vector<std::int32_t>& in_positions,
                         std::vector<std::int32_t>& out_positions);
void text_split_sent_chs(const std::string& in, std::string& out);
bool text_split_sent_chs(const std::string& in, std::string& out,
                         const std::vector<std::int32_t>& in_positions,
                         std::vector<std::int32_t>& out_positions);

// A-Z to a-z.
void text_lowercase_eng(const std::string& in, std::string& out);
// Makes the first letter of each sentence upper case. Expects tokenized text: a full stop ends a
// sentence only where a blank or another full stop stands before it.
void text_uppercase_eng(const std::string& in, std::string& out);

}  // namespace koralite::common
