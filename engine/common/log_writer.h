// The one place that writes to standard error: the decoder's trace lines.
//
// A single instance without data, made on first use. Each line goes out in one
// write, so that lines of several threads do not mix.
#pragma once

#include <string_view>

namespace koralite::common {

class LogWriter {
 public:
  static LogWriter& GetInstance();

  // Writes the text and a line feed.
  void write(std::string_view line);

  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;

 private:
  LogWriter() = default;
};

}  // namespace koralite::common
