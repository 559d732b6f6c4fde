// Any order of the calls of kora_c.h with several translators side by side. The input
// is a list of calls, a byte each, with their arguments behind them.
#include "kora/kora_c.h"

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "fuzz/edit.h"
#include "fuzz/fuzz.h"

namespace {

using namespace kora_fuzz;

constexpr std::array<std::int32_t, 4> kDirections = {0, 1, 8, 23};

// Results of a translation; freed with it.
struct Result {
  char* text = nullptr;
  std::size_t length = 0;
  std::int32_t* links = nullptr;
  std::size_t count = 0;

  Result() = default;
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  ~Result() {
    kora_c_free(text);
    kora_c_free(links);
  }
  std::string_view view() const { return {text, length}; }
};

void check_code(std::int32_t code, const kora_c_translator* translator) {
  require(code >= 0 && code < KORA_C_RESULT_COUNT, "a known result code");
  require(std::strcmp(kora_c_error_name(code), "unknown result") != 0, "a code has a name");
  require((code == KORA_C_OK) == (*kora_c_message(translator) == '\0'),
          "a failure has a message and success has none");
}

void check_links(const Result& result, std::size_t source_size, bool is_raw) {
  std::int32_t end = 0;
  for (std::size_t i = 0; i < result.count; ++i) {
    const std::int32_t* const link = result.links + 4 * i;
    // The output of an empty sentence has the link -1, of length nothing.
    require(
        link[0] >= 0 && link[0] <= link[1] + 1 && link[1] < static_cast<std::int64_t>(source_size),
        "a link lies inside the text");
    require(link[2] >= end && link[2] <= link[3] + 1 &&
                link[3] < static_cast<std::int64_t>(result.length),
            "links follow one another inside the output");
    for (std::int32_t at = end; at < link[2]; ++at) {
      require(!is_raw || result.text[at] == ' ' || result.text[at] == '\n',
              "only blanks have no link in the bare engine's output");
    }
    end = link[3] + 1;
  }
}

// The bare engine protects nothing.
bool is_raw(kora_c_translator* translator) {
  return kora_c_set_protection(translator, KORA_C_PROTECT_ALL) != KORA_C_OK;
}

void translate(kora_c_translator* translator, const std::string& text) {
  Result plain;
  const std::int32_t code =
      kora_c_translate(translator, text.data(), text.size(), &plain.text, &plain.length);
  check_code(code, translator);
  require((code == KORA_C_OK) == (plain.text != nullptr), "a result with success alone");
  require(code == KORA_C_OK, "a sound model translates any text");
  require(plain.text[plain.length] == '\0', "a zero byte behind the text");
  Result aligned;
  const std::int32_t again =
      kora_c_translate_aligned(translator, text.data(), text.size(), &aligned.text, &aligned.length,
                               &aligned.links, &aligned.count);
  check_code(again, translator);
  require(again == code && aligned.view() == plain.view(), "the same text gives the same bytes");
  check_links(aligned, text.size(), is_raw(translator));
}

void nbest(kora_c_translator* translator, const std::string& text, std::uint32_t n) {
  char* outputs = nullptr;
  std::size_t* ends = nullptr;
  float* scores = nullptr;
  std::size_t count = 0;
  const std::int32_t code = kora_c_translate_nbest(translator, text.data(), text.size(), n,
                                                   &outputs, &ends, &scores, &count);
  check_code(code, translator);
  if (code == KORA_C_OK) {
    require(count <= n, "no more translations than asked for");
    std::size_t begin = 0;
    for (std::size_t i = 0; i < count; ++i) {
      require(ends[i] >= begin && outputs[ends[i]] == '\0', "each text ends in a zero byte");
      require(std::isfinite(scores[i]), "a score is a number");
      require(i == 0 || scores[i] <= scores[i - 1], "best first");
      begin = ends[i] + 1;
    }
  } else {
    require(outputs == nullptr && ends == nullptr && scores == nullptr && count == 0,
            "nothing after a failure");
  }
  kora_c_free(outputs);
  kora_c_free(ends);
  kora_c_free(scores);
}

void open(Bytes& bytes, SmallFolders& folders, std::vector<kora_c_translator*>& all) {
  const unsigned kind = bytes.byte() % 8;
  const unsigned how = bytes.byte();
  const std::string& folder = folders.get(kind).path;
  std::int32_t direction = kDirections[kind % 4];
  if (how & 1U) {
    direction = static_cast<std::int32_t>(bytes.number(4));
  }
  const std::string configuration = how & 2U ? std::string(bytes.part()) : folder + "/engine.conf";
  const std::uint32_t flags = how & 4U ? bytes.byte() % 8 : 0;
  const std::string place = how & 8U ? folder + std::string(bytes.part()) : folder;
  kora_c_translator* translator = nullptr;
  char* message = nullptr;
  const bool named = (how & 16U) != 0;
  kora_c_translator** const result = how & 32U ? nullptr : &translator;
  char** const why = how & 64U ? nullptr : &message;
  std::vector<kora_c_file> files;
  for (const auto& [name, sound] : folders.get(kind).sound) {
    files.push_back({name.data(), name.size(), sound.data(), sound.size()});
  }
  const std::int32_t code =
      how & 128U ? kora_c_open_memory(direction, files.data(), files.size(), flags, result, why)
                 : kora_c_open(direction, named ? nullptr : configuration.data(),
                               named ? 0 : configuration.size(), place.data(), place.size(), flags,
                               result, why);
  require(code >= 0 && code < KORA_C_RESULT_COUNT, "a known result code");
  require((code == KORA_C_OK) == (translator != nullptr), "a translator with success alone");
  require(how & 64U || (code == KORA_C_OK) == (message == nullptr), "a message with failure alone");
  require((how & 0x2FU) != 0 || code == KORA_C_OK, "a sound folder opens");
  kora_c_free(message);
  if (translator == nullptr) {
    return;
  }
  if (all.size() < 4) {
    all.push_back(translator);
  } else {
    kora_c_close(translator);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static SmallFolders folders;
  std::vector<kora_c_translator*> all;
  Bytes bytes(data, std::min<std::size_t>(size, 600));
  const Budget budget(size);
  while (!bytes.empty()) {
    const unsigned call = bytes.byte() % 6;
    kora_c_translator* const one = all.empty() ? nullptr : all[bytes.byte() % all.size()];
    switch (call) {
      case 0:
        open(bytes, folders, all);
        break;
      case 1:
        if (one != nullptr) {
          translate(one, std::string(bytes.part()));
        }
        break;
      case 2: {
        const std::uint32_t n = bytes.number(bytes.byte() % 5);
        if (one != nullptr) {
          nbest(one, std::string(bytes.part()), n);
        }
        break;
      }
      case 3:
        if (one != nullptr) {
          kora_c_close(all.back());
          all.pop_back();
        }
        break;
      case 4: {  // arguments that are refused, on a translator or none
        Result result;
        const std::string text(bytes.part());
        const std::int32_t code =
            kora_c_translate(one, nullptr, text.size() + 1, &result.text, &result.length);
        require(code == KORA_C_BAD_ARGUMENT && result.text == nullptr, "null with a length");
        require(
            kora_c_translate_aligned(one, text.data(), text.size(), &result.text, &result.length,
                                     nullptr, &result.count) == KORA_C_BAD_ARGUMENT &&
                result.text == nullptr,
            "no place for the links");
        kora_c_close(nullptr);
        break;
      }
      default: {
        const std::string name(bytes.part());
        const std::int32_t direction = kora_c_find_direction(name.data(), name.size());
        require(direction >= -1 && direction < 34, "a direction's code or none");
        require(kora_c_error_name(static_cast<std::int32_t>(bytes.number(4))) != nullptr,
                "any code has a name");
      }
    }
  }
  for (kora_c_translator* last : all) {
    kora_c_close(last);
  }
  return 0;
}
