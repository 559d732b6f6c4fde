// The text that the string steps work on: bytes (UTF-8 as a rule, any bytes in
// fact) and, when the caller wants to know where each byte came from, one
// source position per byte.
//
// A plain value that owns both; it belongs to one thread at a time. A step that
// changes the text keeps the positions in step. A carrier whose positions do
// not number its bytes is inconsistent, and every step refuses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace koralite::textProcess {

class ProcessStr {
 public:
  using Positions = std::vector<std::int32_t>;

  // With `with_positions` the carrier holds an empty position vector, which the
  // caller fills (set_identity does) before the first step.
  explicit ProcessStr(bool with_positions, std::string text = {}) : text_(std::move(text)) {
    if (with_positions) {
      positions_.emplace();
    }
  }

  std::string& text() { return text_; }
  const std::string& text() const { return text_; }

  bool has_positions() const { return positions_.has_value(); }
  // Only when has_positions().
  Positions& positions() { return *positions_; }
  const Positions& positions() const { return *positions_; }

  // Gives byte i the position i, if positions are kept.
  void set_identity() {
    if (!positions_) {
      return;
    }
    positions_->resize(text_.size());
    std::iota(positions_->begin(), positions_->end(), 0);
  }

  // Without positions, or with exactly one per byte.
  bool consistent() const { return !positions_ || positions_->size() == text_.size(); }

 private:
  std::string text_;
  std::optional<Positions> positions_;
};

}  // namespace koralite::textProcess
