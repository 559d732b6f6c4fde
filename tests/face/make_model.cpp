// make_small_model FOLDER: writes the small model of the tests, for programs in
// other languages.
#include <filesystem>

#include "support/small_model.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  kora_test::write_small_model(argv[1]);
  return 0;
}
