#include "toolkit/cli/line_io.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "toolkit/cli/command.h"

namespace koralite::toolkit::cli {

namespace {

constexpr std::size_t block_size = 1 << 16;

volatile std::sig_atomic_t g_interrupted = 0;

}  // namespace

void catch_interrupts() {
  struct sigaction action = {};
  action.sa_handler = [](int) { g_interrupted = 1; };
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a read that waits for input has to return.
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() {
  return g_interrupted != 0;
}

bool LineReader::fill() {
  m_buffer.erase(0, m_begin);
  m_begin = 0;
  std::array<char, block_size> block;
  while (!interrupted()) {
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
