// The translation directions by the names that people type, such as "en-zh".
// The codes are those of the engine's own table of directions. Constant data,
// safe from any thread.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "textProcess/lang_type.h"

namespace koralite::toolkit {

struct direction_t {
  int code = 34;            // what kora_initialize takes
  std::string_view source;  // language code of the source side, such as "en"
  std::string_view target;  // language code of the target side, such as "zh"

  std::string name() const { return std::string(source) + '-' + std::string(target); }
};

// Whether the engine can translate in this direction. It knows more directions than these: texts
// in some languages it cannot cut into sentences, and in others it cannot write.
bool can_translate(const direction_t& direction);
// Why it can't, as a sentence without its full stop; empty when it can.
std::string why_not_translated(const direction_t& direction);

// All directions in order of their codes.
std::span<const direction_t> directions();

// The direction of a name like "en-zh", or none.
std::optional<direction_t> find_direction(std::string_view name);

// The direction of a code 0 to 33, or none.
std::optional<direction_t> find_direction(int code);

// The names of all directions that can be translated, space-separated, for messages and help texts.
std::string direction_names();

// Whether a language is written without spaces between its words.
bool has_no_blanks(std::string_view language);

// The codes of all languages, space-separated.
std::string language_codes();

// The engine's language type of a language code ("zh" is 1); 0 for an unknown one.
textProcess::LangType language_type(std::string_view code);

}  // namespace koralite::toolkit
