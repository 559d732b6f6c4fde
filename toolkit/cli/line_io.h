// Lines from and to file descriptors, for filters: reads give up when an interrupt
// was caught (toolkit/io/interrupt.h), and writing fails with io_error when the reader is gone or
// the disk is full. One object serves one thread.
#pragma once

#include <string>
#include <string_view>

namespace koralite::toolkit::cli {

class LineReader {
 public:
  explicit LineReader(int descriptor) : m_descriptor(descriptor) {}

  // The next line without its line feed; false at the end and when interrupted. A
  // last line without a line feed counts.
  bool read(std::string& line);

 private:
  bool fill();

  int m_descriptor;
  std::string m_buffer;
  std::size_t m_begin = 0;  // of what is unread
  bool m_at_end = false;
};

class LineWriter {
 public:
  explicit LineWriter(int descriptor) : m_descriptor(descriptor) {}

  void write(std::string_view text);
  void flush();

 private:
  int m_descriptor;
  std::string m_buffer;
};

}  // namespace koralite::toolkit::cli
