#include "common/log_writer.h"

#include <cstdio>
#include <string>

namespace koralite::common {

LogWriter& LogWriter::GetInstance() {
  static LogWriter instance;
  return instance;
}

void LogWriter::write(std::string_view line) {
  std::string text;
  text.reserve(line.size() + 1);
  text.append(line).push_back('\n');
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace koralite::common
