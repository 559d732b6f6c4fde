// One file of a model folder replaced by the input: the first byte picks the folder,
// the second the file. What loads must translate with all promises kept, and the
// checker must say whether it finds a fault without failing itself.
#include "fuzz/edit.h"
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"
#include "toolkit/check/model_checker.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t limit);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t limit, unsigned seed);

namespace {

kora_fuzz::SmallFolders& folders() {
  static kora_fuzz::SmallFolders all;
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  Bytes bytes(data, size);
  const unsigned kind = bytes.byte() % 8;
  const auto& folder = folders().get(kind);
  const std::string& name = folder.files[bytes.byte() % folder.files.size()];
  const std::string file = write(folder.path + '/' + name, bytes.rest());
  {
    const Budget budget(size);
    const Session session(kDirections[kind % 4], folder.path);
    if (session.handle() != nullptr && !asks_much(folder.path)) {
      check_translation(*session.handle(),
                        "The file 5 new york. 这个文件，打开上海第三名张三。このファイル 이 파일");
    }
    accepts([&] {
      koralite::toolkit::check_model_folder(
          koralite::toolkit::open_model_folder(folder.path, kDirectionNames[kind % 4]));
    });
  }
  write(file, folder.sound.at(name));
  return 0;
}

// Begins from the sound file and edits numbers and records of it, or any bytes.
std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t limit,
                                    unsigned seed) {
  using namespace kora_fuzz;
  std::minstd_rand random(seed + 1);
  random.discard(2);
  if (size < 2 || limit < 3) {
    return LLVMFuzzerMutate(data, size, limit);
  }
  if (random() % 64 == 0) {
    data[random() % 2] = static_cast<std::uint8_t>(random() >> 8U);
  }
  const auto& folder = folders().get(data[0]);
  const std::string& name = folder.files[data[1] % folder.files.size()];
  std::string file(reinterpret_cast<const char*>(data + 2), size - 2);
  if (size == 2 || random() % 16 == 0) {
    file = folder.sound.at(name);
  }
  const unsigned edits = static_cast<unsigned>(random() % 4);
  if (edits == 0 && size > 2) {
    return 2 + LLVMFuzzerMutate(data + 2, size - 2, limit - 2);
  }
  for (unsigned i = 0; i < edits; ++i) {
    edit(random, name, file);
  }
  file.resize(std::min(file.size(), limit - 2));
  std::memcpy(data + 2, file.data(), file.size());
  return 2 + file.size();
}
