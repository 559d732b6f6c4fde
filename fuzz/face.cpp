// Any order of the calls of kora.h, on a sound and on a missing folder. The input is
// a list of calls, a byte each, with their arguments behind them.
#include "fuzz/fuzz.h"
#include "fuzz/translation.h"
#include "tests/support/small_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  static const Folder kFolder;
  static const std::string kPath = [] {
    kora_test::make_small_folder(kFolder.file("m"), "en-zh", true, true);
    return kFolder.file("m");
  }();
  const std::string config = kPath + "/engine.conf";
  std::vector<koralite::translator::TransImpl*> handles;
  Bytes bytes(data, std::min<std::size_t>(size, 400));
  const Budget budget(size);
  while (!bytes.empty()) {
    switch (bytes.byte() % 6) {
      case 0: {
        const auto direct = static_cast<int>(bytes.byte()) - 2;
        const unsigned which = bytes.byte();
        const bool in_use = g_srcType != 0 || g_targType != 0;
        const int code = kora_initialize(direct, which & 1U ? config.c_str() : nullptr,
                                         which & 2U ? kPath.c_str() : nullptr);
        const bool known = direct >= 0 && direct < 34;
        require(known == (code != 1), "an unknown direction is refused");
        require(!known || !(which & 1U) || in_use == (code == 3), "no second initialisation");
        break;
      }
      case 1: {
        if (handles.size() > 4) {
          break;
        }
        // Handles of two directions at once are outside the contract.
        if (g_direct != 1 || g_srcType != 2) {
          break;
        }
        handles.push_back(kora_create_decoder(static_cast<int>(bytes.byte() % 3)));
        break;
      }
      case 2: {
        if (handles.empty() || (g_srcType != 0 && g_srcType != 2)) {
          break;
        }
        std::string output;
        const int code = kora_translate(handles[bytes.byte() % handles.size()],
                                        std::string(bytes.part()), output);
        require(code == 0 || code == 2 || code == 3, "a known result code");
        break;
      }
      case 3: {
        if (handles.empty()) {
          break;
        }
        kora_destroy_decoder(handles.back());
        handles.pop_back();
        break;
      }
      case 4:
        kora_finalize();
        break;
      default: {
        const std::string text(bytes.part());
        bool ascii = true;
        for (const char byte : text) {
          ascii = ascii && static_cast<unsigned char>(byte) < 0x80;
        }
        require(kora_check_lang(text) == (ascii ? 1 : 0), "ASCII is told from the rest");
      }
    }
  }
  for (auto* handle : handles) {
    kora_destroy_decoder(handle);
  }
  kora_finalize();
  return 0;
}
