// Word lists for languages written without spaces, learned from running text with
// the word breaks that ICU knows. Deterministic; no state.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/segment/segment_builder.h"

namespace koralite::toolkit {

// Every word of the text with its count, in byte order; what holds no letter is left out. Throws
// std::runtime_error when ICU has no word breaks for the language.
std::vector<segment_word_t> learn_words(std::span<const std::string> lines,
                                        std::string_view language);

}  // namespace koralite::toolkit
