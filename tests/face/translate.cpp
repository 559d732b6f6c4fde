// translate_cpp FOLDER TEXT: writes the translation of TEXT, through kora.h.
#include <iostream>
#include <string>

#include "kora/kora.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  const std::string folder = argv[1];
  const int result = kora_initialize(1, (folder + "/engine.conf").c_str(), folder.c_str());
  if (result != 0) {
    std::cerr << "kora_initialize: " << result << '\n';
    return 1;
  }
  auto* const handle = kora_create_decoder(1);
  std::string output;
  const int code = kora_translate(handle, argv[2], output);
  std::cout << output;
  kora_destroy_decoder(handle);
  kora_finalize();
  return code == 0 ? 0 : 1;
}
