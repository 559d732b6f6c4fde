// Cuts a sentence that is longer than the search takes at once where clauses end.
// Free functions without state.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace koralite::document {

// Where the pieces of a sentence begin, the first one (0) included; none has more than
// `longest` words. Pieces end after semicolons, colons, dashes, closing brackets and
// quotes, commas (best before a conjunction), have about equal lengths, and do not end
// inside quotes or brackets unless these are longer than a piece. Linear in the number
// of words.
std::vector<std::size_t> cut_into_clauses(const std::vector<std::string_view>& words,
                                          std::size_t longest);

}  // namespace koralite::document
