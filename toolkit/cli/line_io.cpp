#include "toolkit/cli/line_io.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit::cli {

namespace {

constexpr std::size_t block_size = 1 << 16;

// Waits until there is something to read or the process is interrupted. A signal that comes between
// asking for the flag and reading would otherwise be noticed only at the next line.
void wait_for(int descriptor) {
  std::array<pollfd, 2> wanted = {pollfd{descriptor, POLLIN, 0},
                                  pollfd{interrupt_descriptor(), POLLIN, 0}};
  ::poll(wanted.data(), wanted.size(), -1);
}

}  // namespace

bool LineReader::fill() {
  m_buffer.erase(0, m_begin);
  m_begin = 0;
  std::array<char, block_size> block;
  for (wait_for(m_descriptor); !interrupted(); wait_for(m_descriptor)) {
    const ssize_t n = ::read(m_descriptor, block.data(), block.size());
    if (n > 0) {
      m_buffer.append(block.data(), static_cast<std::size_t>(n));
      return true;
    }
    if (n == 0) return false;
    if (errno != EINTR)
      throw io_error(std::string("can't read the input: ") + std::strerror(errno));
  }
  return false;
}

bool LineReader::read(std::string& line) {
  std::size_t searched = m_begin;
  for (;;) {
    const std::size_t end = m_buffer.find('\n', searched);
    if (end != std::string::npos) {
      line.assign(m_buffer, m_begin, end - m_begin);
      m_begin = end + 1;
      return !interrupted();
    }
    const std::size_t unread = m_buffer.size() - m_begin;
    if (m_at_end || !fill()) {
      m_at_end = true;
      if (unread == 0 || interrupted()) return false;
      line.assign(m_buffer, m_begin, unread);
      m_begin = m_buffer.size();
      return true;
    }
    searched = unread;
  }
}

void LineWriter::write(std::string_view text) {
  m_buffer.append(text);
  if (m_buffer.size() >= block_size) flush();
}

void LineWriter::flush() {
  std::string_view left = m_buffer;
  while (!left.empty()) {
    const ssize_t n = ::write(m_descriptor, left.data(), left.size());
    if (n >= 0) {
      left.remove_prefix(static_cast<std::size_t>(n));
    } else if (errno != EINTR) {
      m_buffer.clear();
      throw io_error(std::string("can't write the output: ") + std::strerror(errno));
    }
  }
  m_buffer.clear();
}

}  // namespace koralite::toolkit::cli
