// A translator of the C face as a C++ value, for the programs of this folder.
// Failures are thrown as std::runtime_error. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kora/kora_c.h"

namespace kora_proof {

// The name under "[direction]" of a folder's configuration, such as "en-zh".
inline std::string direction_of(const std::string& folder) {
  std::ifstream lines(folder + "/engine.conf");
  for (std::string line; std::getline(lines, line);) {
    if (line == "[direction]" && std::getline(lines, line)) {
      return line;
    }
  }
  throw std::runtime_error(folder + "/engine.conf: no [direction]");
}

class Translator {
 public:
  explicit Translator(const std::string& folder, std::uint32_t flags = 0) {
    const std::string name = direction_of(folder);
    char* message = nullptr;
    kora_c_translator* opened = nullptr;
    const std::int32_t code =
        kora_c_open(kora_c_find_direction(name.data(), name.size()), nullptr, 0, folder.data(),
                    folder.size(), flags, &opened, &message);
    handle_.reset(opened);
    if (code != KORA_C_OK) {
      const std::string text = message != nullptr ? message : kora_c_error_name(code);
      kora_c_free(message);
      throw std::runtime_error(text);
    }
  }

  std::string translate(std::string_view text) const {
    char* output = nullptr;
    std::size_t length = 0;
    check(kora_c_translate(handle_.get(), text.data(), text.size(), &output, &length));
    return taken(output, length);
  }

  // The text, then each link's four numbers as bytes.
  std::string translate_aligned(std::string_view text) const {
    char* output = nullptr;
    std::size_t length = 0;
    std::int32_t* links = nullptr;
    std::size_t count = 0;
    check(kora_c_translate_aligned(handle_.get(), text.data(), text.size(), &output, &length,
                                   &links, &count));
    std::string result = taken(output, length);
    result.append(reinterpret_cast<const char*>(links), count * 4 * sizeof(std::int32_t));
    kora_c_free(links);
    return result;
  }

  // The texts one after the other.
  std::string translate_nbest(std::string_view text, std::uint32_t n) const {
    char* outputs = nullptr;
    std::size_t* ends = nullptr;
    float* scores = nullptr;
    std::size_t count = 0;
    check(kora_c_translate_nbest(handle_.get(), text.data(), text.size(), n, &outputs, &ends,
                                 &scores, &count));
    std::string result = taken(outputs, count == 0 ? 0 : ends[count - 1]);
    kora_c_free(ends);
    kora_c_free(scores);
    return result;
  }

 private:
  struct Close {
    void operator()(kora_c_translator* handle) const { kora_c_close(handle); }
  };

  void check(std::int32_t code) const {
    if (code != KORA_C_OK) {
      throw std::runtime_error(kora_c_message(handle_.get()));
    }
  }
  static std::string taken(char* memory, std::size_t length) {
    std::string result(memory, length);
    kora_c_free(memory);
    return result;
  }

  std::unique_ptr<kora_c_translator, Close> handle_;
};

}  // namespace kora_proof
