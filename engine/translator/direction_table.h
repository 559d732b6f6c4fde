// Which languages a direction code stands for. Constant, safe from any thread.
#pragma once

#include <cstdint>

#include "textProcess/lang_type.h"

namespace koralite::translator {

inline constexpr std::int32_t kDirectionCount = 34;

struct language_pair_t {
  textProcess::LangType source;
  textProcess::LangType target;
};

// The languages of a code 0 to 33; none on both sides for any other.
language_pair_t languages_of(std::int32_t direction);

}  // namespace koralite::translator
