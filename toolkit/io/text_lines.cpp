#include "toolkit/io/text_lines.h"

#include <fstream>
#include <utility>

#include "toolkit/io/io_error.h"

namespace koralite::toolkit {

std::vector<std::string> read_lines(const std::string& path) {
  require_readable(path);
  std::ifstream file(path, std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    lines.push_back(std::move(line));
  }
  if (file.bad()) {
    throw IoError("can't read " + path);
  }
  return lines;
}

}  // namespace koralite::toolkit
