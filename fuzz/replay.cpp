// Runs a target on files instead of under a fuzzer: every file of the folders and
// paths given, in order of their names. With --mutate N each file is also run in N
// random variants, the same ones every time; a target's own mutator makes them if it
// has one.
#include <cstring>
#include <random>
#include <vector>

#include "fuzz/fuzz.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t limit);
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                                                     std::size_t size,
                                                                     std::size_t limit,
                                                                     unsigned seed);

namespace {

std::mt19937 random_bits(1);

void run(const std::string& bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string mutate(std::string bytes) {
  auto& random = random_bits;
  for (unsigned count = 1 + random() % 4; count > 0; --count) {
    const std::size_t at = bytes.empty() ? 0 : random() % bytes.size();
    switch (random() % 5) {
      case 0:
        if (!bytes.empty()) {
          bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
        }
        break;
      case 1:
        if (!bytes.empty()) {
          bytes[at] = static_cast<char>(random());
        }
        break;
      case 2:
        bytes.insert(at, 1 + random() % 4, static_cast<char>(random()));
        break;
      case 3:
        bytes.erase(at, 1 + random() % 8);
        break;
      default:
        bytes += bytes.substr(at, random() % 64);
    }
  }
  return bytes;
}

// A variant by the target's mutator, or by ours.
std::string variant(const std::string& bytes) {
  if (LLVMFuzzerCustomMutator == nullptr) {
    return mutate(bytes);
  }
  std::string room = bytes;
  room.resize(std::max<std::size_t>(2 * bytes.size(), 1U << 16U));
  room.resize(LLVMFuzzerCustomMutator(reinterpret_cast<std::uint8_t*>(room.data()), bytes.size(),
                                      room.size(), static_cast<unsigned>(random_bits())));
  return room;
}

}  // namespace

// What a target's mutator calls for changes of any bytes.
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t limit) {
  std::string changed = mutate({reinterpret_cast<const char*>(data), size});
  changed.resize(std::min(changed.size(), limit));
  std::memcpy(data, changed.data(), changed.size());
  return changed.size();
}

int main(int argc, char** argv) {
  std::vector<std::string> files;
  unsigned long variants = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--mutate") == 0 && i + 1 < argc) {
      variants = std::strtoul(argv[++i], nullptr, 10);
    } else if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
        if (entry.is_regular_file()) {
          files.push_back(entry.path().string());
        }
      }
    } else {
      files.emplace_back(argv[i]);
    }
  }
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) {
    const std::string bytes = kora_fuzz::read(file);
    std::fprintf(stderr, "%s (%zu bytes)\n", file.c_str(), bytes.size());
    run(bytes);
    for (unsigned long k = 0; k < variants; ++k) {
      run(variant(bytes));
    }
  }
  std::printf("replayed %zu inputs and %lu variants of each\n", files.size(), variants);
  return files.empty() ? 1 : 0;
}
