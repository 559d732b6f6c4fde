#include "toolkit/io/io_error.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace koralite::toolkit {

void require_readable(const std::string& path) {
  if (path.empty()) {
    return;
  }
  if (::access(path.c_str(), R_OK) != 0) {
    throw IoError("can't read " + path + ": " + std::generic_category().message(errno) +
                  "; check the name and the rights");
  }
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) {
    throw IoError("can't read " + path + ": it is a folder; name a file");
  }
}

}  // namespace koralite::toolkit
