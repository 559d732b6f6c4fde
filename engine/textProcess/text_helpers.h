// The byte classes and word helpers of the common room, under the names that the
// text steps use.
#pragma once

#include "common/text_abbrev.h"
#include "common/text_class.h"

namespace koralite::textProcess {

using common::text_get_prefix;
using common::text_get_suffix;
using common::text_is_abbrev_eng;
using common::text_is_digit;
using common::text_is_digit_or_letter;
using common::text_is_letter;
using common::text_is_non_ascii;
using common::text_is_word_byte;

}  // namespace koralite::textProcess
