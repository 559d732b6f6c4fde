#include "common/string_pool.h"

#include <cstring>
#include <stdexcept>

namespace koralite::common {

char* StringPool::add_string(std::string_view text) {
  if (text.size() >= block_size_) {
    throw std::runtime_error("string out of range in StringPool::add_string()");
  }
  if (text.size() >= free_) {
    allocate();
  }
  char* stored = write_;
  if (!text.empty()) {
    std::memcpy(stored, text.data(), text.size());
  }
  stored[text.size()] = '\0';
  write_ += text.size() + 1;
  free_ -= text.size() + 1;
  return stored;
}

void StringPool::allocate() {
#if defined(__cpp_lib_smart_ptr_for_overwrite)
  blocks_.push_back(std::make_unique_for_overwrite<char[]>(block_size_));
#else
  blocks_.push_back(std::make_unique<char[]>(block_size_));
#endif
  write_ = blocks_.back().get();
  free_ = block_size_;
}

void StringPool::clear() {
  blocks_.clear();
  foreign_.clear();
  write_ = nullptr;
  free_ = 0;
}

}  // namespace koralite::common
