// Where a file is read from: a path in the file system, or a name among files that
// the caller holds in memory.
//
// Plain values. MemoryFiles copies the names and borrows the bytes; a FilePath
// borrows its MemoryFiles. Neither changes by being read, so any number of threads
// may read through them.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace koralite::common {

class MemoryFiles {
 public:
  // False when there is a file of that name already.
  bool add(std::string name, std::span<const unsigned char> bytes) {
    return files_.emplace(std::move(name), bytes).second;
  }
  // Null when there is none. Names are compared byte for byte.
  const std::span<const unsigned char>* find(std::string_view name) const {
    const auto found = files_.find(name);
    return found == files_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::string, std::span<const unsigned char>, std::less<>> files_;
};

class FilePath {
 public:
  FilePath() = default;
  FilePath(std::nullptr_t) {}
  FilePath(const char* path) : text_(path == nullptr ? "" : path) {}  // null: the empty path
  template <class Text>
  requires std::convertible_to<Text, std::string> FilePath(Text&& path)
      : text_(std::forward<Text>(path)) {}
  // The folder that holds these files; they must outlive every path made from it.
  explicit FilePath(const MemoryFiles& files) : files_(&files) {}

  // A file of the folder that this path names.
  FilePath file(std::string_view name) const {
    FilePath result(*this);
    if (files_ == nullptr || !text_.empty()) {
      result.text_ += '/';
    }
    result.text_ += name;
    return result;
  }
  FilePath with_suffix(std::string_view suffix) const {
    FilePath result(*this);
    result.text_ += suffix;
    return result;
  }

  bool empty() const { return text_.empty(); }
  const std::string& text() const { return text_; }
  const char* c_str() const { return text_.c_str(); }
  // Where it is looked up; null for the file system.
  const MemoryFiles* memory() const { return files_; }

 private:
  std::string text_;
  const MemoryFiles* files_ = nullptr;
};

}  // namespace koralite::common
