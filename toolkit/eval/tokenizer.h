// How a line is cut into words before it is scored. The rules are those that
// published scores are made with, so that figures can be compared: "13a" for
// languages with spaces, "zh" for Chinese (each Chinese sign by itself, the rest
// as 13a), "char" (each sign by itself) and "none" (at spaces).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

enum class Tokenizer { kNone, k13a, kZh, kChar };

// The name that stands in signatures: "none", "13a", "zh" or "char".
std::string_view name_of(Tokenizer tokenizer);
// Throws std::runtime_error for another name.
Tokenizer tokenizer_by_name(std::string_view name);
// "zh" for Chinese and its like, "char" for Japanese and Thai, else "13a".
Tokenizer tokenizer_for_language(std::string_view language);

// Words of a UTF-8 line. Bytes that are no UTF-8 count as U+FFFD.
std::vector<std::string> tokenize(std::string_view line, Tokenizer tokenizer);

// Code points of a UTF-8 text, and its lower-case form by Unicode's rules.
std::u32string code_points(std::string_view text);
std::string lower_case(std::string_view text);
// White space in the sense of Unicode.
bool is_space(char32_t c);

}  // namespace koralite::toolkit
