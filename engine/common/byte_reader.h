// The one way into binary bytes: a bounds-checked little-endian cursor.
//
// A reader borrows a span and owns nothing; copies are cheap and independent.
// No operation throws or reads outside the span: each says by its result whether
// the bytes were there, so that a loader can raise the message of its own format.
// A failed operation leaves the position and the output value unchanged.
// Offsets and counts are 64 bits wide because they come from files; sums and
// products of them are checked here and nowhere else.
#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "common/bits.h"

namespace koralite::common {

template <class T>
concept PackedNumber = std::is_arithmetic_v<T> && !std::same_as<T, bool> &&
                       (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

// Reads a number from sizeof(T) bytes that the caller has already checked; no alignment needed.
template <PackedNumber T>
inline T load_le(const unsigned char* at) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    T value;
    std::memcpy(&value, at, sizeof(T));
    return value;
  } else {
    std::array<unsigned char, sizeof(T)> bytes;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      bytes[i] = at[sizeof(T) - 1 - i];
    }
    return bits_as<T>(bytes);
  }
}

class ByteReader {
 public:
  ByteReader() = default;
  explicit ByteReader(std::span<const unsigned char> bytes) : bytes_(bytes) {}

  std::uint64_t size() const { return bytes_.size(); }
  std::uint64_t position() const { return position_; }
  std::uint64_t remaining() const { return bytes_.size() - position_; }
  std::span<const unsigned char> data() const { return bytes_; }

  // Whether `count` items of `width` bytes are left (any count, no overflow).
  bool fits(std::uint64_t count, std::uint64_t width) const {
    return width == 0 || count <= remaining() / width;
  }

  // Moves to an offset from the start; the end itself is allowed.
  bool seek(std::uint64_t offset) {
    if (offset > bytes_.size()) {
      return false;
    }
    position_ = static_cast<std::size_t>(offset);
    return true;
  }
  bool skip(std::uint64_t count) {
    if (count > remaining()) {
      return false;
    }
    position_ += static_cast<std::size_t>(count);
    return true;
  }

  // Reads one number and moves past it.
  template <PackedNumber T>
  bool read(T& value) {
    if (remaining() < sizeof(T)) {
      return false;
    }
    value = load_le<T>(bytes_.data() + position_);
    position_ += sizeof(T);
    return true;
  }
  bool read_u8(std::uint8_t& value) { return read(value); }
  bool read_u16(std::uint16_t& value) { return read(value); }
  bool read_u32(std::uint32_t& value) { return read(value); }
  bool read_u64(std::uint64_t& value) { return read(value); }
  bool read_i32(std::int32_t& value) { return read(value); }
  bool read_f32(float& value) { return read(value); }

  // Reads the number at an offset from the start; the position stays.
  template <PackedNumber T>
  bool read_at(std::uint64_t offset, T& value) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) {
      return false;
    }
    value = load_le<T>(bytes_.data() + offset);
    return true;
  }

  // Takes the next `count` bytes as a view and moves past them.
  bool read_bytes(std::uint64_t count, std::span<const unsigned char>& view) {
    if (count > remaining()) {
      return false;
    }
    view = bytes_.subspan(position_, static_cast<std::size_t>(count));
    position_ += static_cast<std::size_t>(count);
    return true;
  }

  // The bytes [offset, offset + count) as a view; the position stays.
  bool bytes_at(std::uint64_t offset, std::uint64_t count,
                std::span<const unsigned char>& view) const {
    if (offset > bytes_.size() || count > bytes_.size() - offset) {
      return false;
    }
    view = bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
    return true;
  }

 private:
  std::span<const unsigned char> bytes_;
  std::size_t position_ = 0;
};

}  // namespace koralite::common
