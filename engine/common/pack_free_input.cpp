#include "common/pack_free_input.h"

#include <cstring>
#include <stdexcept>

namespace koralite::common {

bool PackFreeInput::RefreshBuf() {
  const unsigned unread = valid_ - position_;
  std::memmove(buffer_.data(), buffer_.data() + position_, unread);
  position_ = 0;
  const std::size_t added = std::fread(buffer_.data() + unread, 1, buffer_.size() - unread, file_);
  valid_ = unread + static_cast<unsigned>(added);
  return added > 0;
}

void PackFreeInput::fill(std::size_t needed) {
  if (!RefreshBuf() || valid_ < needed) {
    throw std::runtime_error("Invalid input file for PackFreeInput");
  }
}

}  // namespace koralite::common
