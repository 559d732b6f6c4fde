// UTF-16, in which Java counts, and UTF-8, in which the engine counts, both ways with a map of
// indices. Free functions without state: safe on any thread; linear time on any input.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::jni {

// units[i] is the UTF-16 index of the character that byte i of the UTF-8 belongs to; one more at
// the end is the length in units.
using unit_map_t = std::vector<std::int32_t>;

// UTF-8 of a text; a lone surrogate becomes U+FFFD. Fills `units` unless it is null.
std::string from_utf16(std::u16string_view text, unit_map_t* units = nullptr);

// UTF-16 of any bytes; each maximal piece that is not UTF-8 becomes U+FFFD.
std::u16string to_utf16(std::string_view text, unit_map_t* units = nullptr);

// Links of the engine, four bytes each (first and last in the text, first and last in the output,
// inclusive; a last before its first stands for nothing), as indices of units, ends exclusive.
std::vector<std::int32_t> links_in_units(const std::int32_t* links, std::size_t count,
                                         const unit_map_t& source, const unit_map_t& target);

}  // namespace koralite::jni
