// Quotes of phrase pairs: a pair whose sides disagree in quotes ("the" for an opening quote) leaves
// sentences with one quote of two. Free function without state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace koralite::toolkit {

// How many of the words are quotes.
template <class Words>
std::size_t quotes_among(const Words& words) {
  constexpr std::string_view kQuotes[] = {"\"", "“", "”", "「", "」", "«", "»"};
  return static_cast<std::size_t>(
      std::count_if(std::begin(words), std::end(words), [&](std::string_view word) {
        return std::find(std::begin(kQuotes), std::end(kQuotes), word) != std::end(kQuotes);
      }));
}

// Whether both sides hold an even number of quotes, or both an odd one: what quotes a sentence has
// then come out in pairs if they went in so.
template <class Source, class Target>
bool quotes_agree(const Source& source, const Target& target) {
  return quotes_among(source) % 2 == quotes_among(target) % 2;
}

}  // namespace koralite::toolkit
