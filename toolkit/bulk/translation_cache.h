// Translations of texts that were met before, within a bound of memory: two generations, of which
// the older one goes when the younger one has filled half of it. What is found moves to the
// younger. What is kept depends on the order of the texts alone. One thread.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace koralite::toolkit::bulk {

// What became of one text.
struct translation_t {
  std::string text;
  std::string failure;               // why there is none; empty if there is one
  std::size_t words = 0;             // of the source
  std::vector<std::string> unknown;  // those that the model does not have
};

class TranslationCache {
 public:
  explicit TranslationCache(std::size_t bytes) : half_(bytes / 2) {}

  // Null if there is none. Valid until the next call.
  const translation_t* find(const std::string& text) {
    if (const auto found = young_.find(text); found != young_.end()) {
      return &found->second;
    }
    auto node = old_.extract(text);
    if (node.empty()) {
      return nullptr;
    }
    translation_t translation = std::move(node.mapped());
    return &add(text, std::move(translation));
  }

  const translation_t& add(const std::string& text, translation_t translation) {
    std::size_t size = kOverhead + text.size() + translation.text.size();
    for (const std::string& word : translation.unknown) {
      size += kOverhead / 2 + word.size();
    }
    if (used_ > 0 && used_ + size > half_) {
      old_ = std::exchange(young_, {});
      used_ = 0;
    }
    used_ += size;
    return young_.insert_or_assign(text, std::move(translation)).first->second;
  }

 private:
  static constexpr std::size_t kOverhead = 200;  // bytes of a node and its strings

  std::size_t half_;
  std::size_t used_ = 0;  // of the younger generation
  std::unordered_map<std::string, translation_t> young_;
  std::unordered_map<std::string, translation_t> old_;
};

}  // namespace koralite::toolkit::bulk
