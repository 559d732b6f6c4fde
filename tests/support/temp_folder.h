// A fresh folder for the files of one test, removed with everything in it, and
// small helpers that put bytes on disk and get them back. Written from the format
// pages alone, so that the tests share no code with the readers.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kora_test {

// The low `width` bytes of a number, lowest first.
inline std::string le(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) {
    bytes.push_back(static_cast<char>(value >> (8 * i)));
  }
  return bytes;
}

inline std::string f32(float value) {
  return le(std::bit_cast<std::uint32_t>(value), 4);
}

// Damage to a file, step by step: "8:4:0xFF" puts 4 bytes at 8, "=7" keeps 7 bytes,
// "-1" cuts one off.
inline std::string damaged(std::string bytes, const std::string& steps) {
  std::istringstream in(steps);
  for (std::string step; in >> step;) {
    const std::size_t colon = step.find(':');
    if (step[0] == '=') {
      bytes.resize(std::stoul(step.substr(1)));
    } else if (step[0] == '-') {
      bytes.resize(bytes.size() - std::stoul(step.substr(1)));
    } else {
      const std::string value = le(std::stoull(step.substr(colon + 3), nullptr, 0), 8);
      bytes.replace(std::stoul(step), std::stoul(step.substr(colon + 1)), value, 0,
                    std::stoul(step.substr(colon + 1)));
    }
  }
  return bytes;
}

// A resource file with a record per line, all of the longest line's size.
inline std::string resource_bytes(const std::vector<std::string>& lines) {
  std::size_t size = 1;
  for (const std::string& line : lines) {
    size = std::max(size, line.size() + 1);
  }
  std::string bytes = le(size, 4);
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

class TempFolder {
 public:
  TempFolder() {
#ifdef _WIN32
    std::random_device random;
    const auto folder = std::filesystem::temp_directory_path() /
                        ("kora-test-" + std::to_string(random()) + std::to_string(random()));
    if (!std::filesystem::create_directory(folder)) {
      throw std::runtime_error("can't make a folder for the test");
    }
    path_ = folder.generic_string();
#else
    // In memory where that is offered: the toolkit syncs every file, and tests write thousands.
    const std::filesystem::path memory = "/dev/shm";
    const bool in_memory = std::getenv("TMPDIR") == nullptr && ::access(memory.c_str(), W_OK) == 0;
    const auto base = in_memory ? memory : std::filesystem::temp_directory_path();
    std::string pattern = (base / "kora-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
      throw std::runtime_error("can't make a folder for the test");
    }
    path_ = pattern;
#endif
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string path() const {
    return path_;
  }
  std::string path(const std::string& name) const {
    return path_ + "/" + name;
  }

  // Writes a file and returns its path.
  std::string write(const std::string& name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }
  std::string write_lines(const std::string& name, const std::vector<std::string>& lines) const {
    return write(name, resource_bytes(lines));
  }

 private:
  std::string path_;
};

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The bytes of each dump (od -A d -t x1) in a document, one string per fenced block.
inline std::vector<std::string> dumps_of(const std::string& document) {
  std::vector<std::string> dumps;
  std::ifstream lines(document);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("0000000 ", 0) == 0) {
      dumps.emplace_back();
    }
    if (line.size() < 8 || line.find_first_not_of("0123456789") != 7 || dumps.empty()) {
      continue;
    }
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
