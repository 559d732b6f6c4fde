// Model bytes and text together: the input is a folder's number, a count of edits,
// the edits, and the text. An edit names a file, a place and what to do there (set a
// byte, a 16- or 32-bit number, cut, double, or exchange two stretches), so that small
// changes of the input stay small changes of a model that still loads.
#include <cstring>
#include <map>

#include "fuzz/fuzz.h"
#include "fuzz/translation.h"
#include "tests/support/small_folder.h"

namespace {

void edit(kora_fuzz::Bytes& bytes, std::string& file) {
  const unsigned action = bytes.byte() % 7;
  const std::size_t place = file.empty() ? 0 : bytes.number(2) % file.size();
  const std::uint32_t value = bytes.number(4);
  const std::size_t room = file.size() - place;
  const auto put = [&](std::size_t width) {
    for (std::size_t i = 0; i < std::min(width, room); ++i) {
      file[place + i] = static_cast<char>(value >> (8 * i));
    }
  };
  switch (action) {
    case 0:
      put(1);
      break;
    case 1:
      put(2);
      break;
    case 2:
      put(4);
      break;
    case 3:
      file.resize(place);
      break;
    case 4:
      file.append(file, place, value % 256);
      break;
    case 5:
      file.erase(place, value % 16);
      break;
    default: {
      const std::size_t length = std::min<std::size_t>(value % 64, room / 2);
      std::swap_ranges(file.begin() + static_cast<std::ptrdiff_t>(place),
                       file.begin() + static_cast<std::ptrdiff_t>(place + length),
                       file.end() - static_cast<std::ptrdiff_t>(length));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static const Folder folder;
  Bytes bytes(data, size);
  const unsigned kind = bytes.byte() % 8;
  const std::string path = folder.file(std::to_string(kind));
  if (!std::filesystem::exists(path)) {
    kora_test::make_small_folder(path, direction_names[kind % 4], kind < 4);
  }
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (entry.path().extension() != ".conf") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  std::map<std::string, std::string> sound;
  for (unsigned edits = bytes.byte() % 8; edits > 0; --edits) {
    const std::string& file = files[bytes.byte() % files.size()];
    std::string content = read(file);
    sound.try_emplace(file, content);
    edit(bytes, content);
    write(file, content);
  }
  {
    const Budget budget(size);
    const Session session(directions[kind % 4], path);
    if (session.handle() != nullptr)
      check_translation(*session.handle(), std::string(bytes.rest()));
  }
  for (const auto& [file, content] : sound) write(file, content);
  return 0;
}
