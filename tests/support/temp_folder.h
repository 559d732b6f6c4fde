// A fresh folder for the files of one test, removed with everything in it, and
// small helpers that put bytes on disk and get them back.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kora_test {

class TempFolder {
 public:
  TempFolder() {
    // In memory where that is offered: the toolkit syncs every file, and tests write thousands.
    const std::filesystem::path memory = "/dev/shm";
    const bool in_memory = std::getenv("TMPDIR") == nullptr && ::access(memory.c_str(), W_OK) == 0;
    const auto base = in_memory ? memory : std::filesystem::temp_directory_path();
    std::string pattern = (base / "kora-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("can't make a folder for the test");
    path_ = pattern;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string path() const { return path_; }
  std::string path(const std::string& name) const { return path_ + "/" + name; }

  // Writes a file and returns its path.
  std::string write(const std::string& name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }

 private:
  std::string path_;
};

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The low `width` bytes of a number, lowest first.
inline std::string le(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

// The bytes of each dump (od -A d -t x1) in a document, one string per fenced block.
inline std::vector<std::string> dumps_of(const std::string& document) {
  std::vector<std::string> dumps;
  std::ifstream lines(document);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("0000000 ", 0) == 0) dumps.emplace_back();
    if (line.size() < 8 || line.find_first_not_of("0123456789") != 7 || dumps.empty()) continue;
    std::istringstream fields(line.substr(8, 47));
    for (std::string field; fields >> field;) {
      dumps.back().push_back(static_cast<char>(std::stoi(field, nullptr, 16)));
    }
  }
  return dumps;
}

// The message of the std::runtime_error that a call throws, "" when it throws none.
template <class Call>
std::string message_of(Call&& call) {
  try {
    call();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

}  // namespace kora_test
