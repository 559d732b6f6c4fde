// What the fuzz targets share: the entry point each defines, a folder in memory for
// the files they write, a reader that deals out the bytes of an input, and the
// oracles. A broken oracle prints one line and traps, which a fuzzer keeps as a
// finding and the replay driver as a failure.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kora_fuzz {

inline void require(bool holds, const char* what) {
  if (holds) {
    return;
  }
  std::fprintf(stderr, "broken promise: %s\n", what);
  __builtin_trap();
}

class Folder {
 public:
  Folder() {
    std::string pattern =
        ::access("/dev/shm", W_OK) == 0 ? "/dev/shm/kora-fuzz-XXXXXX" : "/tmp/kora-fuzz-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("can't make a folder");
    }
    path_ = pattern;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string file(const std::string& name) const { return path_ + '/' + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

inline std::string write(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return path;
}

inline std::string read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// Deals out the bytes of an input from its front; zeros once they have run out.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return rest_.empty(); }
  unsigned byte() {
    if (rest_.empty()) {
      return 0;
    }
    const auto value = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return value;
  }
  std::uint32_t number(int width) {
    std::uint32_t value = 0;
    while (width-- > 0) {
      value = value << 8U | byte();
    }
    return value;
  }
  // Up to the next byte of 0xFF, which text never holds.
  std::string_view part() {
    const std::string_view part = rest_.substr(0, rest_.find('\xFF'));
    rest_.remove_prefix(std::min(rest_.size(), part.size() + 1));
    return part;
  }
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

// What C++ code holds now, and the most it held since the last call; memory.cpp.
std::size_t live_memory();
std::size_t take_peak_memory();

// Bounds what one input may take, sanitizers included: processor seconds, a fixed share
// and one per 20 KB; memory, 64 MB and 4 KB per byte.
class Budget {
 public:
  explicit Budget(std::size_t bytes)
      : seconds_(10.0 + static_cast<double>(bytes) / 20000.0),
        memory_((std::size_t{64} << 20U) + 4096 * bytes) {
    take_peak_memory();
  }
  Budget(const Budget&) = delete;
  Budget& operator=(const Budget&) = delete;
  ~Budget() {
    const double used = static_cast<double>(std::clock() - start_) / CLOCKS_PER_SEC;
    require(used < seconds_, "an input takes a bounded time");
    require(take_peak_memory() - before_ < memory_, "an input takes bounded memory");
  }

 private:
  std::clock_t start_ = std::clock();
  std::size_t before_ = live_memory();
  double seconds_;
  std::size_t memory_;
};

// Runs what may refuse its input by a std::runtime_error (or another standard exception).
template <class Call>
bool accepts(Call&& call) {
  try {
    call();
    return true;
  } catch (const std::exception& error) {
    require(error.what()[0] != '\0', "an error says what is wrong");
    return false;
  }
}

}  // namespace kora_fuzz
