// Stores many short strings in a few large blocks.
//
// Each string is kept with a terminating zero byte and never moves; the pool owns
// the blocks and frees them all in clear() or with itself. Not safe for
// concurrent writers; stored strings may be read from any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace koralite::common {

class StringPool {
 public:
  explicit StringPool(std::size_t block_size) : block_size_(block_size) {}
  StringPool(StringPool&& other) noexcept { *this = std::move(other); }
  StringPool& operator=(StringPool&& other) noexcept {
    block_size_ = other.block_size_;
    free_ = std::exchange(other.free_, 0);
    write_ = std::exchange(other.write_, nullptr);
    blocks_ = std::exchange(other.blocks_, {});
    foreign_ = std::exchange(other.foreign_, {});
    return *this;
  }

  // Stores a copy and returns it. A string of block_size or more bytes throws std::runtime_error
  // "string out of range in StringPool::add_string()".
  char* add_string(std::string_view text);
  // Stores the bytes [begin, end).
  char* add_string(const char* begin, const char* end) {
    return add_string(std::string_view(begin, static_cast<std::size_t>(end - begin)));
  }

  // Starts a new block; what was left of the current one stays unused.
  void allocate();
  // Takes over a block that was filled elsewhere. The current block stays in use.
  void add_block(std::unique_ptr<char[]> block) { foreign_.push_back(std::move(block)); }
  // Frees every block; all strings die.
  void clear();

  std::size_t block_size() const { return block_size_; }
  std::size_t free_bytes() const { return free_; }
  std::size_t block_count() const { return blocks_.size() + foreign_.size(); }

 private:
  std::size_t block_size_ = 0;
  std::size_t free_ = 0;  // bytes left in the current block
  char* write_ = nullptr;
  std::vector<std::unique_ptr<char[]>> blocks_;   // own blocks, the current one last
  std::vector<std::unique_ptr<char[]>> foreign_;  // blocks taken over
};

}  // namespace koralite::common
