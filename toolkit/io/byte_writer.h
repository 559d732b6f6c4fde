// Collects packed little-endian values in memory: the counterpart of ByteReader
// for everything that writes binary model files. Owns its bytes; one thread.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "common/byte_reader.h"

namespace koralite::toolkit {

class ByteWriter {
 public:
  template <common::PackedNumber T>
  void put(T value) {
    const std::size_t at = bytes_.size();
    bytes_.resize(at + sizeof(T));
    store(at, value);
  }
  void put_u8(std::uint8_t value) { put(value); }
  void put_u16(std::uint16_t value) { put(value); }
  void put_u32(std::uint32_t value) { put(value); }
  void put_u64(std::uint64_t value) { put(value); }
  void put_i32(std::int32_t value) { put(value); }
  void put_f32(float value) { put(value); }
  void put_bytes(std::span<const unsigned char> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }
  void put_text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }

  // Overwrites a value written before; `at` + sizeof(T) must not pass size().
  template <common::PackedNumber T>
  void store(std::size_t at, T value) {
    unsigned char* to = bytes_.data() + at;
    std::memcpy(to, &value, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) {
      std::reverse(to, to + sizeof(T));
    }
  }

  std::size_t size() const { return bytes_.size(); }
  void reserve(std::size_t bytes) { bytes_.reserve(bytes); }
  void clear() { bytes_.clear(); }
  std::span<const unsigned char> bytes() const { return bytes_; }

 private:
  std::vector<unsigned char> bytes_;
};

}  // namespace koralite::toolkit
