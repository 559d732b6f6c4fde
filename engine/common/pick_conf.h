// Configuration files: plain lines under headers in square brackets
// (docs/format-config.md). Free functions without state: safe on any thread.
//
// A header is a line equal to a name in brackets, byte for byte; values are whole
// lines. Nothing is trimmed and a carriage return is part of its line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/file_path.h"

namespace koralite::common {

// Empties `lines` and reads every line of the file into it, empty ones included. Throws
// std::runtime_error "failed to open config [file=PATH]" when the file cannot be opened or read.
void PickConf(const FilePath& path, std::vector<std::string>& lines);

// Single lookup: the line after the first header `section` that is not the last line.
bool find_conf(const std::vector<std::string>& lines, std::string_view section, std::string& value);

// List lookup: the lines after the first header `section`, up to an empty line or the end. True
// when there is at least one.
bool find_conf(const std::vector<std::string>& lines, std::string_view section,
               std::vector<std::string>& values);

}  // namespace koralite::common
