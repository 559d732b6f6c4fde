#include "toolkit/io/line_reader.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

#include "toolkit/io/interrupt.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit {

struct LineReader::File {
  gzFile handle;

  explicit File(const std::string& path) : handle(::gzopen(path.c_str(), "rb")) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (handle != nullptr) {
      ::gzclose(handle);
    }
  }
};

LineReader::LineReader(std::string path) : path_(std::move(path)), buffer_(1U << 16U) {
  require_readable(path_);
  errno = 0;
  file_ = std::make_unique<File>(path_);
  if (file_->handle == nullptr) {
    throw IoError("can't read " + path_ + ": " + std::generic_category().message(errno) +
                  "; check the name and the rights");
  }
  ::gzbuffer(file_->handle, 1U << 17U);
}

LineReader::~LineReader() = default;

std::runtime_error LineReader::error(const std::string& what) const {
  return std::runtime_error(path_ + ":" + std::to_string(number_) + ": " + what);
}

bool LineReader::fill() {
  stop_if_interrupted();
  if (ended_) {
    return false;
  }
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) {
    if (buffer_.size() > kMaxLine) {
      ++number_;
      throw error("a line of more than " + std::to_string(kMaxLine) + " bytes");
    }
    buffer_.resize(buffer_.size() * 2);
  }
  const int count =
      ::gzread(file_->handle, buffer_.data() + end_, static_cast<unsigned>(buffer_.size() - end_));
  stop_if_interrupted();  // which is why the system may have given nothing
  int code = Z_OK;
  ::gzerror(file_->handle, &code);
  if (count < 0 || (count == 0 && code != Z_OK && code != Z_STREAM_END)) {
    ++number_;
    throw error("the compressed file is damaged or cut short");
  }
  ended_ = count == 0;
  end_ += static_cast<std::size_t>(count);
  return !ended_;
}

bool LineReader::next(std::string_view& line) {
  std::size_t searched = begin_;
  while (true) {
    const char* const found =
        static_cast<const char*>(std::memchr(buffer_.data() + searched, '\n', end_ - searched));
    if (found != nullptr) {
      line = {buffer_.data() + begin_, found};
      begin_ = static_cast<std::size_t>(found - buffer_.data()) + 1;
      break;
    }
    searched = end_ - begin_;  // the rest moves to the front
    if (!fill()) {
      if (begin_ == end_) {
        return false;
      }
      line = {buffer_.data() + begin_, end_ - begin_};
      begin_ = end_;
      break;
    }
  }
  ++number_;
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  return true;
}

void split_blanks(std::string_view line, std::vector<std::string_view>& fields) {
  fields.clear();
  for (std::size_t at = 0; at < line.size();) {
    const std::size_t begin = line.find_first_not_of(" \t", at);
    if (begin == std::string_view::npos) {
      break;
    }
    const std::size_t end = std::min(line.find_first_of(" \t", begin), line.size());
    fields.push_back(line.substr(begin, end - begin));
    at = end;
  }
}

bool parse_number(std::string_view field, double& value) {
  if (field.starts_with('+')) {
    field.remove_prefix(1);
  }
  const char* const end = field.data() + field.size();
  const auto [stop, error] = std::from_chars(field.data(), end, value);
  if (stop != end || field.empty()) {
    return false;
  }
  if (error == std::errc::result_out_of_range) {
    // Too small to tell from 0, or too large: both are what the text meant.
    const bool negative = field.front() == '-';
    const bool tiny = field.find("e-") != std::string_view::npos ||
                      field.find("E-") != std::string_view::npos ||
                      field.find_first_of("123456789") > field.find('.');
    value = tiny ? 0.0 : std::numeric_limits<double>::infinity() * (negative ? -1 : 1);
    return true;
  }
  return error == std::errc();
}

}  // namespace koralite::toolkit
