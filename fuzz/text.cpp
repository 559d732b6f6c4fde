// Any text on sound models: the first byte picks the direction, the rest is the text.
#include "fuzz/edit.h"
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static SmallFolders folders;
  static int current = -1;
  static std::unique_ptr<Session> session;
  Bytes bytes(data, size);
  const int pick = static_cast<int>(bytes.byte() % 4);
  if (pick != current) {
    session.reset();  // one direction at a time
    session =
        std::make_unique<Session>(kDirections[pick], folders.get(static_cast<unsigned>(pick)).path);
    current = pick;
  }
  require(session->handle() != nullptr, "a sound model loads");
  const Budget budget(size);
  const std::string text(bytes.rest());
  check_translation(*session->handle(), text);
  check_positions(*session->handle(), text);
  return 0;
}
