// A model folder for one test: a temporary directory that is removed with the
// object, and writers of the resource files that the text steps load. Written
// from the format pages alone, so that the tests share no code with the readers.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::tests {

inline void put_le(std::string& bytes, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
}

// A record file with a record per line.
inline std::string resource_bytes(const std::vector<std::string>& lines) {
  std::size_t size = 1;
  for (const std::string& line : lines) size = std::max(size, line.size() + 1);
  std::string bytes;
  put_le(bytes, static_cast<std::uint32_t>(size), 4);
  for (std::string line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); i += 2) {
      const char exchange = static_cast<char>((line[i] ^ line[i + 1]) & 0xAC);
      line[i] = static_cast<char>(line[i] ^ exchange);
      line[i + 1] = static_cast<char>(line[i + 1] ^ exchange);
    }
    for (char& c : line) {
      const auto byte = static_cast<unsigned char>(c);
      c = static_cast<char>(byte >> 3U | byte << 5U);
    }
    line.resize(size, '\0');
    bytes += line;
  }
  return bytes;
}

// A pinyin file; the characters must have three bytes.
inline std::string pinyin_bytes(const std::map<std::string, std::string>& readings) {
  std::vector<std::string> slots;
  std::size_t longest = 1;
  for (const auto& [character, pinyin] : readings) {
    if (std::find(slots.begin(), slots.end(), pinyin) == slots.end()) slots.push_back(pinyin);
    longest = std::max(longest, pinyin.size());
  }
  std::string bytes;
  put_le(bytes, static_cast<std::uint32_t>(readings.size()), 4);
  for (const auto& [character, pinyin] : readings) {
    bytes += character;
    const auto slot = std::find(slots.begin(), slots.end(), pinyin) - slots.begin();
    put_le(bytes, static_cast<std::uint32_t>(slot), 2);
  }
  put_le(bytes, static_cast<std::uint32_t>(slots.size()), 4);
  put_le(bytes, static_cast<std::uint32_t>(longest), 4);
  for (std::string slot : slots) {
    slot.resize(longest + 1, '\0');
    bytes += slot;
  }
  return bytes;
}

class ModelFolder {
 public:
  ModelFolder() {
    static std::atomic<int> next{0};
    path_ = std::filesystem::temp_directory_path() /
            ("kora_test_" + std::to_string(getpid()) + "_" + std::to_string(next++));
    std::filesystem::create_directories(path_);
  }
  ModelFolder(const ModelFolder&) = delete;
  ModelFolder& operator=(const ModelFolder&) = delete;
  ~ModelFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string path() const { return path_.string(); }
  std::string file(const std::string& name) const { return (path_ / name).string(); }

  // Each writes a file and gives its path.
  std::string write(const std::string& name, std::string_view bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return file(name);
  }
  std::string write_lines(const std::string& name, const std::vector<std::string>& lines) const {
    return write(name, resource_bytes(lines));
  }

 private:
  std::filesystem::path path_;
};

// The message of the std::runtime_error that `action` throws; empty for none.
template <class Action>
std::string error_of(Action action) {
  try {
    action();
    return {};
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

}  // namespace koralite::tests
