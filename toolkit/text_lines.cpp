#include "toolkit/text_lines.h"

#include <fstream>
#include <stdexcept>
#include <utility>

namespace koralite::toolkit {

std::vector<std::string> read_lines(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + ": can't be opened for reading");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
  }
  if (file.bad()) throw std::runtime_error(path + ": can't be read");
  return lines;
}

}  // namespace koralite::toolkit
