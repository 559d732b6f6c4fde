// A buffered reader of packed little-endian values from an open stream.
//
// The stream is the caller's and must outlive the reader, which reads ahead of
// the values it has handed out. One thread at a time.
#pragma once

#include <array>
#include <cstdio>

#include "common/byte_reader.h"

namespace koralite::common {

class PackFreeInput {
 public:
  explicit PackFreeInput(std::FILE* file) : file_(file) {}

  // Reads one value. Throws std::runtime_error "Invalid input file for PackFreeInput" when fewer
  // bytes are left than it needs.
  template <PackedNumber T>
  void Read(T& value) {
    if (valid_ - position_ < sizeof(T)) {
      fill(sizeof(T));
    }
    value = load_le<T>(buffer_.data() + position_);
    position_ += static_cast<unsigned>(sizeof(T));
  }

  // Moves the unread bytes to the front and fills the rest; whether that added any byte.
  bool RefreshBuf();

 private:
  void fill(std::size_t needed);  // throws unless `needed` bytes can be had

  std::FILE* file_;
  unsigned position_ = 0;
  unsigned valid_ = 0;
  std::array<unsigned char, 10240> buffer_;
};

}  // namespace koralite::common
