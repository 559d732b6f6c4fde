// A sorted table of (string, id) pairs with binary search and a file form
// (docs/format-string-index.md).
//
// Strings are unique and compare by unsigned bytes; ids are any 32-bit numbers.
// The index owns its strings: those inserted live in its pool, those of a loaded
// file stay in the mapped file, which the index keeps. Both end in a zero byte
// and live as long as the index. A string given to any
// function ends at its first zero byte, if it holds one. Reading from several
// threads is safe, writing is not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/mapped_file.h"
#include "common/string_pool.h"

namespace koralite::common {

class StringIndex {
 public:
  // `text` is zero-terminated; `prefix` holds its first four bytes, the first one in the highest
  // bits, so that most comparisons of a search need not follow the pointer.
  struct node_t {
    const char* text = nullptr;
    std::int32_t id = 0;
    std::uint32_t prefix = 0;

    friend bool operator<(const node_t& a, const node_t& b) {
      return a.prefix != b.prefix ? a.prefix < b.prefix : std::strcmp(a.text, b.text) < 0;
    }
  };

  // `block_size` is the pool's; a string of that many bytes or more cannot be inserted.
  explicit StringIndex(std::size_t block_size = 102400) : pool_(block_size) {}

  // Binary search. On a hit the position of the node; on a miss the position where the string
  // would be inserted.
  bool locate(std::string_view text, std::size_t& position) const;
  bool find(std::string_view text, std::int32_t& id) const;

  // Stores a copy and returns it, or null when the string is already there (nothing changes). Costs
  // a move of all nodes after it. Throws as StringPool::add_string.
  const char* insert(std::string_view text, std::int32_t id);
  // Adds many at once in O(n log n); their texts are not copied and must live as long as the index.
  // A string that is already there, or comes twice, keeps its first id. `prefix` may be left unset.
  void insert(std::vector<node_t> nodes);

  // Bytes of all strings, each with its zero byte.
  std::uint64_t get_key_capacity() const { return key_bytes_; }

  // Writes the file beside `path` and renames it, so that a half-written file never stands there.
  // Throws std::runtime_error "failed to save string index [file=PATH]" when the file cannot be
  // opened, "can't write data in StringIndex::save()" when it cannot be written whole.
  void save(const std::string& path) const;
  // The bytes that save() writes.
  std::vector<unsigned char> serialize() const;

  // Adds the entries of a file; a sorted file is taken over in place in one pass. Throws
  // std::runtime_error "failed to load string index [file=PATH]" when it cannot be opened and
  // "can't read file in StringIndex::load()" when it is damaged; the index is then unchanged.
  void load(const FilePath& path);

  void reserve(std::size_t entries) { nodes_.reserve(entries); }
  void shrink_to_fit() { nodes_.shrink_to_fit(); }
  std::size_t size() const { return nodes_.size(); }
  bool empty() const { return nodes_.empty(); }
  std::span<const node_t> nodes() const { return nodes_; }  // in sorted order

 private:
  StringPool pool_;
  std::vector<MappedFile> files_;  // hold the strings of loaded files
  std::vector<node_t> nodes_;
  std::uint64_t key_bytes_ = 0;
};

}  // namespace koralite::common
