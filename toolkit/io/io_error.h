// The error of a file that cannot be read or written at all, as opposed to one
// with wrong contents: programs end with another exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace koralite::toolkit {

class IoError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws IoError naming the path and the cause when it is not there, may not be read, or is a
// folder. Opens nothing, so a pipe stays as it is. An empty path stands for a file that was not
// asked for and passes.
void require_readable(const std::string& path);

}  // namespace koralite::toolkit
