// The output side of a step that rewrites a text, in two kinds: bytes alone, or
// bytes with the source position of each. A step is written once, for either
// kind, so both give the same text.
//
// A writer borrows its source text and positions and owns what it has written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::common {

template <bool kPlaced>
class TextWriter {
 public:
  // `positions` has one entry per byte of `source`; it is not looked at unless kPlaced.
  TextWriter(std::string_view source, const std::int32_t* positions, std::size_t reserve)
      : source_(source), positions_(positions) {
    text_.reserve(reserve);
    if constexpr (kPlaced) {
      placed_.reserve(reserve);
    }
  }

  // Source byte `at`, with its position; or `count` bytes from `first` on, where they are there.
  void copy(std::size_t at) { insert(source_[at], at); }
  void copy(std::size_t first, std::size_t count) {
    count = std::min(count, source_.size() - first);
    text_.append(source_, first, count);
    if constexpr (kPlaced) {
      placed_.insert(placed_.end(), positions_ + first, positions_ + first + count);
    }
  }
  // Another byte, with the position of source byte `at`.
  void insert(char byte, std::size_t at) {
    text_.push_back(byte);
    if constexpr (kPlaced) {
      placed_.push_back(positions_[at]);
    }
  }
  void insert(std::string_view bytes, std::size_t at) {
    text_.append(bytes);
    if constexpr (kPlaced) {
      placed_.insert(placed_.end(), bytes.size(), positions_[at]);
    }
  }

  bool empty() const { return text_.empty(); }
  std::string& text() { return text_; }
  std::vector<std::int32_t>& positions() { return placed_; }  // empty unless kPlaced

 private:
  std::string_view source_;
  const std::int32_t* positions_;
  std::string text_;
  std::vector<std::int32_t> placed_;
};

}  // namespace koralite::common
