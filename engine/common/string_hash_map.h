// A chained hash map from strings to small records, for fixed word tables.
//
// Keys are zero-terminated strings that the caller owns and keeps alive; values
// are copied. A later insert of an equal key shadows the earlier one. Reading
// from several threads is safe, writing is not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace koralite::common {

template <class T>
class StringHashMap {
 public:
  // `bucket_count` is fixed; 0 counts as 1.
  explicit StringHashMap(std::size_t bucket_count)
      : heads_(bucket_count ? bucket_count : 1, kNone) {}

  void insert(const char* key, const T& value) {
    const std::size_t bucket = bucket_of(key, std::strlen(key));
    nodes_.push_back({value, key, heads_[bucket]});
    heads_[bucket] = static_cast<std::uint32_t>(nodes_.size() - 1);
  }

  // Looks up the first `length` bytes of `text`; only a key of exactly that length matches.
  bool find(const char* text, std::size_t length, T& value) const {
    const std::string_view wanted(text, length);
    for (std::uint32_t i = heads_[bucket_of(text, length)]; i != kNone; i = nodes_[i].next) {
      if (nodes_[i].key == wanted) {
        value = nodes_[i].value;
        return true;
      }
    }
    return false;
  }
  bool find(std::string_view text, T& value) const { return find(text.data(), text.size(), value); }

  std::size_t size() const { return nodes_.size(); }
  std::size_t bucket_count() const { return heads_.size(); }
  std::size_t bucket_of(const char* text, std::size_t length) const {
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < length; ++i) {
      hash = hash * 131 + static_cast<unsigned char>(text[i]);
    }
    return (hash & 0x7FFFFFFFU) % heads_.size();
  }

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFU;
  struct node_t {
    T value;
    std::string_view key;
    std::uint32_t next;  // of the same bucket
  };

  std::vector<std::uint32_t> heads_;  // newest node of each bucket
  std::vector<node_t> nodes_;
};

}  // namespace koralite::common
