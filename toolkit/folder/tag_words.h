// Words that stand for a span of text in training text and in packed models: "<num>#0" is the
// first number of a sentence, "<num>#1" the second. Free functions and constants without state.
#pragma once

#include <string_view>

#include "decoder/vocab.h"

namespace koralite::toolkit {

// The word that stands in training text for a source span with a fixed translation that the target
// side does not have. Phrases that hold it are of no use: the decoder will see a tag word there.
inline constexpr const char* kLostSpan = "<lost>";

// Whether a word is a tag word such as "<num>#0".
inline bool is_tag_word(std::string_view word) {
  return decoder::Vocab::is_ne(word);
}

}  // namespace koralite::toolkit
