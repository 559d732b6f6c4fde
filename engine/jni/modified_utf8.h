// Java's "modified" UTF-8 and UTF-8, both ways. In the modified form U+0000 is
// C0 80 and a character beyond U+FFFF is two surrogates of three bytes each, so a
// C string of it can hold any Java string. Free functions without state: safe on
// any thread; linear time on any bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace koralite::jni {

// UTF-8 of what Java gave. Surrogate pairs become one character of four bytes, a
// lone surrogate U+FFFD, C0 80 the zero byte.
std::string from_modified_utf8(std::string_view text);

// What Java accepts for any bytes: valid UTF-8 is carried over, and each maximal
// piece that is none becomes U+FFFD, as the Unicode standard recommends (table 3-7).
std::string to_modified_utf8(std::string_view text);

// One character of UTF-8 from `i` on, U+FFFD for what is none; moves `i` after it, or after the
// longest beginning of one.
std::uint32_t next_character(std::string_view text, std::size_t& i);

// Appends the bytes of a character; a surrogate is written as three.
void put_character(std::string& out, std::uint32_t c);

}  // namespace koralite::jni
