// Turns byte links of an alignment into pairs of word numbers, the notation
// "i-j" of word alignments. Free functions.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/align.h"

namespace koralite::toolkit {

// First and last byte of each word. Words stand apart by spaces; each character
// outside ASCII is a word of its own when `by_character` is set.
std::vector<std::pair<std::size_t, std::size_t>> word_ranges(std::string_view text,
                                                             bool by_character);

// "0-0 1-2 ...", ascending, each pair once: every source word that a link
// touches with every target word that it touches.
std::string format_word_links(std::span<const common::align_t> links, std::string_view source,
                              bool source_by_character, std::string_view target,
                              bool target_by_character);

// "first:last-first:last ...": the links themselves, in bytes.
std::string format_byte_links(std::span<const common::align_t> links);

}  // namespace koralite::toolkit
