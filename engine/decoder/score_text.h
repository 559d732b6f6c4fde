// Scores as text, independent of the locale: six significant digits, as "%g"
// prints them in the "C" locale.
#pragma once

#include <string>

namespace koralite::decoder {

std::string score_text(float score);

}  // namespace koralite::decoder
