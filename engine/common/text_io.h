// Reading lines and cutting them into fields, in place and without allocation
// per field. Free functions without state: safe on any thread.
#pragma once

#include <cstdio>
#include <vector>

namespace koralite::common {

// Reads a line without its line feed into `buffer`. Returns `buffer`, or null at the end of the
// stream. Throws std::runtime_error "input line length overflow in kora_fgets()" when the line does
// not fit or begins with a zero byte.
char* kora_fgets(char* buffer, int size, std::FILE* stream);

// Cuts `text` at each separator (which becomes a zero byte) and stores the starts of the non-empty
// fields, `max_fields` at most; what follows the last allowed field is not touched. Returns how
// many were stored; none when `max_fields` is 0 or less.
int split_string(char* text, const char** fields, int max_fields, char separator);

// The same without a limit; `fields` is emptied first.
void split_string(char* text, std::vector<char*>& fields, char separator);
// Cuts at a separator string; a null or empty one stores nothing.
void split_string(char* text, std::vector<char*>& fields, const char* separator);

}  // namespace koralite::common
