// Pieces of text that all pictures of a road share. Free functions.
#pragma once

#include <string>

#include "toolkit/explain/road.h"

namespace koralite::toolkit {

std::string score_text(float value);             // three digits behind the point
std::string word_text(const road_word_t& word);  // WORD=>TRANSLATION/TAG
std::string words_between(const road_part_t& part, int start, int end);  // inclusive

}  // namespace koralite::toolkit
