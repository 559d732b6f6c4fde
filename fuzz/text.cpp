// Any text on sound models: the first byte picks the direction, the rest is the text.
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"
#include "tests/support/small_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static const Folder folder;
  static int current = -1;
  static std::unique_ptr<Session> session;
  Bytes bytes(data, size);
  const int pick = static_cast<int>(bytes.byte() % 4);
  if (pick != current) {
    session.reset();  // one direction at a time
    const std::string path = folder.file(direction_names[pick]);
    if (!std::filesystem::exists(path)) kora_test::make_small_folder(path, direction_names[pick]);
    session = std::make_unique<Session>(directions[pick], path);
    current = pick;
  }
  require(session->handle() != nullptr, "a sound model loads");
  const Budget budget(size);
  check_translation(*session->handle(), std::string(bytes.rest()));
  return 0;
}
