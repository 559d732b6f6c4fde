// Runs a target on files instead of under a fuzzer: every file of the folders and
// paths given, in order of their names. With --mutate N each file is also run in N
// random variants, the same ones every time.
#include <cstring>
#include <random>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

void run(const std::string& bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string mutate(std::string bytes, std::mt19937& random) {
  for (unsigned count = 1 + random() % 4; count > 0; --count) {
    const std::size_t at = bytes.empty() ? 0 : random() % bytes.size();
    switch (random() % 5) {
      case 0:
        if (!bytes.empty()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
        break;
      case 1:
        if (!bytes.empty()) bytes[at] = static_cast<char>(random());
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

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  unsigned long variants = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--mutate") == 0 && i + 1 < argc) {
      variants = std::strtoul(argv[++i], nullptr, 10);
    } else if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
        if (entry.is_regular_file()) files.push_back(entry.path().string());
      }
    } else {
      files.emplace_back(argv[i]);
    }
  }
  std::sort(files.begin(), files.end());
  std::mt19937 random(1);
  for (const std::string& file : files) {
    const std::string bytes = kora_fuzz::read(file);
    std::fprintf(stderr, "%s (%zu bytes)\n", file.c_str(), bytes.size());
    run(bytes);
    for (unsigned long k = 0; k < variants; ++k) run(mutate(bytes, random));
  }
  std::printf("replayed %zu inputs and %lu variants of each\n", files.size(), variants);
  return files.empty() ? 1 : 0;
}
