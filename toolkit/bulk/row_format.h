// What a row of a large file is: a line of text, a row of a table, or a JSON object, and where its
// text stands and its translation goes. Values; safe from any thread.
#pragma once

#include <cstddef>
#include <string>

namespace koralite::toolkit::bulk {

struct row_format_t {
  std::size_t column = 0;              // of a tab-separated row, from 1; 0: none
  std::string field;                   // of a JSON object; empty: none
  std::string output = "translation";  // the field that the translation gets

  // The ending of the names of files with such rows.
  const char* suffix() const;
};

// The text of a row. Throws std::runtime_error that says what the row lacks.
std::string text_of(const row_format_t& format, const std::string& row);

// The row with its translation: alone, as one more column, or as one more field before the closing
// brace; what else the row holds stays byte for byte. The row must be one that text_of() takes.
// Throws std::runtime_error when the translation would break the row.
std::string with_translation(const row_format_t& format, const std::string& row,
                             const std::string& translation);

// The same for a row that has none.
std::string without_translation(const row_format_t& format, const std::string& row);

}  // namespace koralite::toolkit::bulk
