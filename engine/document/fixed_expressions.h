// Expressions of numbers that the text steps cut apart or the search puts in the wrong
// order, with their translations: times of day, rooms, sums of money with long numbers.
// Between English and Chinese; other pairs have none. Free functions, linear time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "textProcess/lang_type.h"

namespace koralite::document {

struct expression_t {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string translation;
};

// In order, not overlapping.
std::vector<expression_t> find_expressions(std::string_view text, textProcess::LangType source,
                                           textProcess::LangType target);

}  // namespace koralite::document
