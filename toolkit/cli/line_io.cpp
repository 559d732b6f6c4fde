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

constexpr std::size_t kBlockSize = 1 << 16;

// Waits until there is something to read or the process is interrupted. A signal that comes between
// asking for the flag and reading would otherwise be noticed only at the next line.
void wait_for(int descriptor) {
  std::array<pollfd, 2> wanted = {pollfd{descriptor, POLLIN, 0},
                                  pollfd{interrupt_descriptor(), POLLIN, 0}};
  ::poll(wanted.data(), wanted.size(), -1);
}

}  // namespace

bool LineReader::fill() {
  buffer_.erase(0, begin_);
  begin_ = 0;
  std::array<char, kBlockSize> block;
  for (wait_for(descriptor_); !interrupted(); wait_for(descriptor_)) {
    const ssize_t n = ::read(descriptor_, block.data(), block.size());
    if (n > 0) {
      buffer_.append(block.data(), static_cast<std::size_t>(n));
      return true;
    }
    if (n == 0) {
      return false;
    }
    if (errno != EINTR) {
      throw IoError(std::string("can't read the input: ") + std::strerror(errno));
    }
  }
  return false;
}

bool LineReader::read(std::string& line) {
  std::size_t searched = begin_;
  for (;;) {
    const std::size_t end = buffer_.find('\n', searched);
    if (end != std::string::npos) {
      line.assign(buffer_, begin_, end - begin_);
      begin_ = end + 1;
      return !interrupted();
    }
    const std::size_t unread = buffer_.size() - begin_;
    if (at_end_ || !fill()) {
      at_end_ = true;
      if (unread == 0 || interrupted()) {
        return false;
      }
      line.assign(buffer_, begin_, unread);
      begin_ = buffer_.size();
      return true;
    }
    searched = unread;
  }
}

void LineWriter::write(std::string_view text) {
  buffer_.append(text);
  if (buffer_.size() >= kBlockSize) {
    flush();
  }
}

void LineWriter::flush() {
  std::string_view left = buffer_;
  while (!left.empty()) {
    const ssize_t n = ::write(descriptor_, left.data(), left.size());
    if (n >= 0) {
      left.remove_prefix(static_cast<std::size_t>(n));
    } else if (errno != EINTR) {
      buffer_.clear();
      throw IoError(std::string("can't write the output: ") + std::strerror(errno));
    }
  }
  buffer_.clear();
}

}  // namespace koralite::toolkit::cli
