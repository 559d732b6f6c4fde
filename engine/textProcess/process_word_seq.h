// The words of a sentence on their way to the decoder and, when wanted, the
// source byte position of each word's start.
//
// The sequence owns the buffer after texts made with `store`; they stay where
// they are until the sequence is destroyed, cleared or assigned. Its nodes may
// as well point into the pools of the steps that filled it. Moving nodes to
// another sequence moves no text: the first one must outlive them. Belongs to
// one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "common/word_node.h"

namespace koralite::textProcess {

class ProcessWordSeq {
 public:
  using Words = std::vector<common::word_node_t>;
  using Positions = std::vector<std::int32_t>;

  explicit ProcessWordSeq(bool with_positions) {
    if (with_positions) {
      positions_.emplace();
    }
  }
  ProcessWordSeq(ProcessWordSeq&&) = default;
  ProcessWordSeq& operator=(ProcessWordSeq&&) = default;

  Words& words() { return words_; }
  const Words& words() const { return words_; }

  bool has_positions() const { return positions_.has_value(); }
  // Only when has_positions().
  Positions& positions() { return *positions_; }
  const Positions& positions() const { return *positions_; }

  // Without positions, or with exactly one per word.
  bool consistent() const { return !positions_ || positions_->size() == words_.size(); }

  // A writable, zero-terminated copy that lives as long as this sequence.
  char* store(std::string_view text) {
    const std::size_t need = text.size() + 1;
    if (chunks_.empty() || need > size_ - used_) {
      size_ = need > kChunk ? need : kChunk;
      used_ = 0;
      chunks_.push_back(std::make_unique<char[]>(size_));
    }
    char* copy = chunks_.back().get() + used_;
    if (!text.empty()) {
      std::memcpy(copy, text.data(), text.size());
    }
    copy[text.size()] = '\0';
    used_ += need;
    return copy;
  }

  // Drops words, positions and stored texts; keeps whether positions are kept.
  void clear() {
    words_.clear();
    if (positions_) {
      positions_->clear();
    }
    chunks_.clear();
  }

 private:
  static constexpr std::size_t kChunk = 4096;

  Words words_;
  std::optional<Positions> positions_;
  std::vector<std::unique_ptr<char[]>> chunks_;
  std::size_t size_ = 0;  // of the last chunk
  std::size_t used_ = 0;  // of the last chunk
};

}  // namespace koralite::textProcess
