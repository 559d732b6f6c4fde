// Pieces of text that all pictures of a derivation share. Free functions.
#pragma once

#include <string>

#include "toolkit/explain/derivation.h"

namespace koralite::toolkit {

std::string score_text(float value);                   // three digits after the point
std::string word_text(const derivation_word_t& word);  // WORD=>TRANSLATION/TAG
std::string words_between(const derivation_part_t& part, int start, int end);  // inclusive

}  // namespace koralite::toolkit
