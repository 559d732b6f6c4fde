// Model bytes and text together: the input is a folder's number, a count of edits,
// the edits (a file's number and an edit of edit.h), and the text.
#include "fuzz/edit.h"
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static SmallFolders folders;
  Bytes bytes(data, size);
  const unsigned kind = bytes.byte() % 8;
  const auto& folder = folders.get(kind);
  std::map<std::string, std::string> edited;
  for (unsigned edits = bytes.byte() % 8; edits > 0; --edits) {
    const std::string& name = folder.files[bytes.byte() % folder.files.size()];
    std::string& file = edited.try_emplace(name, folder.sound.at(name)).first->second;
    edit(bytes, name, file);
  }
  for (const auto& [name, file] : edited) {
    write(folder.path + '/' + name, file);
  }
  {
    const Budget budget(size);
    const Session session(kDirections[kind % 4], folder.path);
    if (session.handle() != nullptr && !asks_much(folder.path)) {
      check_translation(*session.handle(), std::string(bytes.rest()));
    }
  }
  for (const auto& [name, file] : edited) {
    write(folder.path + '/' + name, folder.sound.at(name));
  }
  return 0;
}
