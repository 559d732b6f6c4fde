// One file of a model folder replaced by the input: the first byte picks the folder,
// the second the file. What loads must translate with all promises kept.
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"
#include "tests/support/small_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static const Folder folder;
  Bytes bytes(data, size);
  const unsigned kind = bytes.byte() % 8;
  const char* const name = direction_names[kind % 4];
  const std::string path = folder.file(std::to_string(kind));
  if (!std::filesystem::exists(path)) kora_test::make_small_folder(path, name, kind < 4);
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (entry.path().filename() != "manifest.conf") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  const std::string& file = files[bytes.byte() % files.size()];
  const std::string sound = read(file);
  write(file, bytes.rest());
  {
    const Budget budget(size);
    const Session session(directions[kind % 4], path);
    if (session.handle() != nullptr) {
      check_translation(*session.handle(),
                        "The file 5 new york. 这个文件，打开上海第三名张三。このファイル 이 파일");
    }
  }
  write(file, sound);
  return 0;
}
