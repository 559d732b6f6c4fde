// Whole text files as lines, for texts that fit into memory many times over.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace koralite::toolkit {

// The lines of a text file without their ends, "\n" or "\r\n". Throws IoError when the file can't
// be read.
std::vector<std::string> read_lines(const std::string& path);

}  // namespace koralite::toolkit
