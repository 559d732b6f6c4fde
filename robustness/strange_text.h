// Texts that a translator meets in the worst case, each kind in any size: no
// spaces, one mark over and over, nests, numbers without end, bytes that are no
// text. The same arguments give the same bytes. Free functions without state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kora_proof {

// Names of the kinds, in the order of tables.
const std::vector<std::string>& strange_kinds();

// About `size` bytes of a kind. `language` is that of the source: its ordinary words
// stand where a kind is made of words.
std::string strange_text(std::string_view kind, std::string_view language, std::size_t size);

// `count` ordinary sentences of 4 to 15 words, numbers among them.
std::vector<std::string> ordinary_sentences(std::string_view language, std::size_t count);

}  // namespace kora_proof
