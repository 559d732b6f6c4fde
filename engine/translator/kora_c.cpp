// The C face: translators that carry their direction, results copied into memory
// that the caller frees, exceptions turned into codes and messages.
#include "kora/kora_c.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "common/causes.h"
#include "common/file_path.h"
#include "common/parse_number.h"
#include "common/pick_conf.h"
#include "decoder/parameter.h"
#include "kora/kora.h"
#include "translator/direction_table.h"
#include "translator/model_manifest.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

using koralite::common::align_t;
using koralite::common::FilePath;
using koralite::common::MemoryFiles;
using koralite::textProcess::LangType;
using koralite::textProcess::ProcessStr;
using koralite::textProcess::ProcessWordSeq;
using koralite::translator::TransImpl;

struct kora_c_translator {
  MemoryFiles files;  // of a model in memory; outlives the engine
  std::unique_ptr<TransImpl> engine;
  LangType source;
  std::string message;  // of the last call
};

namespace {

constexpr std::size_t kMaxText = std::size_t{1} << 30U;  // keeps every offset within 32 bits

// Language codes in order of LangType, from 1.
constexpr std::array<std::string_view, 13> kLanguageCodes = {
    "zh", "en", "ja", "ko", "th", "ar", "es", "fr", "ru", "de", "pt", "lzh", "yue"};

constexpr std::array<const char*, KORA_C_RESULT_COUNT> kErrorNames = {"KORA_C_OK",
                                                                      "KORA_C_BAD_ARGUMENT",
                                                                      "KORA_C_BAD_DIRECTION",
                                                                      "KORA_C_BAD_CONFIGURATION",
                                                                      "KORA_C_BAD_MODEL",
                                                                      "KORA_C_BAD_MANIFEST",
                                                                      "KORA_C_TRANSLATION_FAILED",
                                                                      "KORA_C_NO_MEMORY"};

// A failure that already knows its code.
class Failure : public std::runtime_error {
 public:
  Failure(std::int32_t code, const std::string& message)
      : std::runtime_error(message), code_(code) {}
  std::int32_t code() const { return code_; }

 private:
  std::int32_t code_;
};

// The message and its causes; none at all when there is no memory for them.
void note_causes(const std::exception& error, std::string& message) noexcept {
  try {
    message = koralite::common::with_causes(error);
  } catch (...) {
    message.clear();
  }
}

// Runs a call: its exception becomes a code, `otherwise` unless the exception has
// one of its own, and its text goes to `message`.
template <class Call>
std::int32_t guard(std::int32_t otherwise, std::string& message, Call&& call) noexcept {
  const auto note = [&](const char* text) noexcept {
    try {
      message = text;
    } catch (...) {
      message.clear();
    }
  };
  try {
    message.clear();
    call();
    return KORA_C_OK;
  } catch (const Failure& failure) {
    note(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    note("out of memory");
    return KORA_C_NO_MEMORY;
  } catch (const std::exception& error) {
    note_causes(error, message);
  } catch (...) {
    note("unknown failure");
  }
  return otherwise;
}

// Memory on its way to the caller.
struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using c_memory = std::unique_ptr<T[], Free>;

// Room for `count` elements copied from `from`, and one more that is zero.
template <class T>
c_memory<T> copied(const T* from, std::size_t count) {
  c_memory<T> memory(static_cast<T*>(std::calloc(count + 1, sizeof(T))));
  if (!memory) {
    throw std::bad_alloc();
  }
  if (count != 0) {
    std::memcpy(memory.get(), from, count * sizeof(T));
  }
  return memory;
}

void need(bool condition, const char* message) {
  if (!condition) {
    throw Failure(KORA_C_BAD_ARGUMENT, message);
  }
}

std::string_view view(const char* text, std::size_t length) {
  need(text != nullptr || length == 0, "a null pointer with a length");
  need(length <= kMaxText, "text above 1 GiB");
  return length == 0 ? std::string_view() : std::string_view(text, length);
}

// A path ends at a zero byte for the system, so one inside is an error here.
std::string path(const char* text, std::size_t length) {
  std::string result(view(text, length));
  need(result.find('\0') == std::string::npos, "a zero byte in a path");
  return result;
}

std::string parameter_file(const FilePath& configuration) {
  try {
    std::vector<std::string> lines;
    koralite::common::PickConf(configuration, lines);
    std::string version;
    if (!koralite::common::find_conf(lines, "[version]", version) || !version.starts_with("1.0.")) {
      throw Failure(KORA_C_BAD_CONFIGURATION,
                    configuration.text() + ": no [version] beginning with 1.0.");
    }
    std::vector<std::string> values;
    if (!koralite::common::find_conf(lines, "[decoder]", values)) {
      throw Failure(KORA_C_BAD_CONFIGURATION, configuration.text() + ": no value for [decoder]");
    }
    return values.front();
  } catch (const Failure&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw Failure(KORA_C_BAD_CONFIGURATION, koralite::common::with_causes(error));
  }
}

void check_manifest(const FilePath& configuration, const FilePath& folder) {
  try {
    koralite::translator::verify_model_folder(configuration, folder);
  } catch (const std::runtime_error& error) {
    throw Failure(KORA_C_BAD_MANIFEST, koralite::common::with_causes(error));
  }
}

// A folder says how long a sentence takes; this bounds what it can say.
void check_search_width(const FilePath& path) {
  koralite::decoder::Parameter parameter;
  koralite::common::naming_file(path.text(), [&] { parameter.initialize(path); });
  if (std::max(parameter.stack_limit, parameter.translation_limit) >
      koralite::decoder::kWidestSearch) {
    throw Failure(KORA_C_BAD_CONFIGURATION, path.text() + ": [stack] or [option] above 1000");
  }
}

// The languages of a direction that may be opened with these flags.
koralite::translator::language_pair_t languages_for(std::int32_t direction, std::uint32_t flags) {
  need((flags & ~KORA_C_CHECK_MANIFEST) == 0, "an unknown flag");
  const auto languages = koralite::translator::languages_of(direction);
  if (!koralite::translator::can_translate(languages.source, languages.target)) {
    throw Failure(KORA_C_BAD_DIRECTION, "a direction that cannot be translated");
  }
  return languages;
}

void load(kora_c_translator& translator, const koralite::translator::language_pair_t& languages,
          const FilePath& configuration, const FilePath& folder, std::uint32_t flags) {
  const std::string parameters = parameter_file(configuration);
  if ((flags & KORA_C_CHECK_MANIFEST) != 0) {
    check_manifest(configuration, folder);
  }
  check_search_width(folder.file(parameters));
  translator.source = languages.source;
  translator.engine = std::make_unique<TransImpl>(languages.source, languages.target, configuration,
                                                  folder, parameters);
}

// Makes a translator by `make(kora_c_translator&)`.
template <class Make>
std::int32_t open_with(kora_c_translator** translator, char** message, Make&& make) noexcept {
  if (message != nullptr) {
    *message = nullptr;
  }
  if (translator != nullptr) {
    *translator = nullptr;
  }
  std::string problem;
  const std::int32_t result = guard(KORA_C_BAD_MODEL, problem, [&] {
    need(translator != nullptr, "no place for the translator");
    auto made = std::make_unique<kora_c_translator>();
    make(*made);
    *translator = made.release();
  });
  if (result != KORA_C_OK && message != nullptr) {
    *message = static_cast<char*>(std::malloc(problem.size() + 1));
    if (*message != nullptr) {
      std::memcpy(*message, problem.c_str(), problem.size() + 1);
    }
  }
  return result;
}

}  // namespace

const char* kora_c_version(void) {
  return kora_get_version();
}

const char* kora_c_error_name(std::int32_t result) {
  if (result < 0 || result >= KORA_C_RESULT_COUNT) {
    return "unknown result";
  }
  return kErrorNames[static_cast<std::size_t>(result)];
}

std::int32_t kora_c_find_direction(const char* name, std::size_t length) {
  if (name == nullptr) {
    return -1;
  }
  const std::string_view wanted(name, length);
  const auto code_of = [](LangType type) {
    return kLanguageCodes[static_cast<std::size_t>(type) - 1];
  };
  for (std::int32_t code = 0; code < koralite::translator::kDirectionCount; ++code) {
    const auto pair = koralite::translator::languages_of(code);
    const std::string_view source = code_of(pair.source);
    const std::string_view target = code_of(pair.target);
    if (wanted.size() == source.size() + 1 + target.size() && wanted.starts_with(source) &&
        wanted[source.size()] == '-' && wanted.ends_with(target)) {
      return code;
    }
  }
  return -1;
}

std::int32_t kora_c_open(std::int32_t direction, const char* configuration,
                         std::size_t configuration_length, const char* folder,
                         std::size_t folder_length, std::uint32_t flags,
                         kora_c_translator** translator, char** message) {
  return open_with(translator, message, [&](kora_c_translator& made) {
    const auto languages = languages_for(direction, flags);
    const std::string folder_path = path(folder, folder_length);
    need(!folder_path.empty(), "no model folder");
    std::string configuration_path = path(configuration, configuration_length);
    if (configuration_path.empty()) {
      configuration_path = folder_path + "/engine.conf";
    }
    load(made, languages, configuration_path, folder_path, flags);
  });
}

std::int32_t kora_c_open_memory(std::int32_t direction, const kora_c_file* files, std::size_t count,
                                std::uint32_t flags, kora_c_translator** translator,
                                char** message) {
  return open_with(translator, message, [&](kora_c_translator& made) {
    const auto languages = languages_for(direction, flags);
    need(files != nullptr || count == 0, "a null pointer with a count");
    for (std::size_t i = 0; i < count; ++i) {
      const kora_c_file& file = files[i];
      need(file.data != nullptr || file.size == 0, "a null pointer with a size");
      std::string name = path(file.name, file.name_length);
      if (!made.files.add(name, {static_cast<const unsigned char*>(file.data), file.size})) {
        throw Failure(KORA_C_BAD_ARGUMENT, "two files of the name '" + name + "'");
      }
    }
    const FilePath folder(made.files);
    load(made, languages, folder.file("engine.conf"), folder, flags);
  });
}

void kora_c_close(kora_c_translator* translator) {
  std::unique_ptr<kora_c_translator>(translator).reset();
}

void kora_c_free(void* memory) {
  std::free(memory);
}

const char* kora_c_message(const kora_c_translator* translator) {
  return translator == nullptr ? "" : translator->message.c_str();
}

std::int32_t kora_c_translate(kora_c_translator* translator, const char* text, std::size_t length,
                              char** output, std::size_t* output_length) {
  if (output != nullptr) {
    *output = nullptr;
  }
  if (output_length != nullptr) {
    *output_length = 0;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need(output != nullptr && output_length != nullptr, "no place for the output");
    std::string result;
    koralite::translator::translate_text(*translator->engine, translator->source,
                                         view(text, length), result);
    *output = copied(result.data(), result.size()).release();
    *output_length = result.size();
  });
}

std::int32_t kora_c_translate_aligned(kora_c_translator* translator, const char* text,
                                      std::size_t length, char** output, std::size_t* output_length,
                                      std::int32_t** links, std::size_t* link_count) {
  if (output != nullptr) {
    *output = nullptr;
  }
  if (output_length != nullptr) {
    *output_length = 0;
  }
  if (links != nullptr) {
    *links = nullptr;
  }
  if (link_count != nullptr) {
    *link_count = 0;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need(output != nullptr && output_length != nullptr && links != nullptr && link_count != nullptr,
         "no place for the output or the links");
    std::string result;
    std::vector<align_t> alignment;
    koralite::translator::translate_text(*translator->engine, translator->source,
                                         view(text, length), result, alignment);
    std::vector<std::int32_t> flat;
    flat.reserve(4 * alignment.size());
    for (const align_t& link : alignment) {
      flat.insert(flat.end(),
                  {link.source_first, link.source_last, link.target_first, link.target_last});
    }
    auto flat_copy = copied(flat.data(), flat.size());
    *output = copied(result.data(), result.size()).release();
    *output_length = result.size();
    *links = flat_copy.release();
    *link_count = alignment.size();
  });
}

std::int32_t kora_c_translate_nbest(kora_c_translator* translator, const char* text,
                                    std::size_t length, std::uint32_t n, char** outputs,
                                    std::size_t** ends, float** scores, std::size_t* count) {
  if (outputs != nullptr) {
    *outputs = nullptr;
  }
  if (ends != nullptr) {
    *ends = nullptr;
  }
  if (scores != nullptr) {
    *scores = nullptr;
  }
  if (count != nullptr) {
    *count = 0;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need(outputs != nullptr && ends != nullptr && scores != nullptr && count != nullptr,
         "no place for the outputs, their ends, scores or count");
    TransImpl& engine = *translator->engine;
    ProcessStr sentence(false, std::string(view(text, length)));
    ProcessWordSeq words(false);
    std::vector<std::string> texts;
    std::vector<std::string> score_texts;
    std::string log;
    if (n != 0) {
      engine.DoPreprocess(sentence, words);
      engine.translator().Translate(n, words, texts, score_texts, log);
    }
    std::string joined;
    std::vector<std::size_t> text_ends;
    std::vector<float> totals;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ProcessStr result(false, std::move(texts[i]));
      engine.DoPostprocess(result);
      joined += result.text();
      text_ends.push_back(joined.size());
      joined += '\0';
      totals.push_back(
          i < score_texts.size() ? koralite::common::parse_leading_float(score_texts[i]) : 0.0F);
    }
    auto end_copy = copied(text_ends.data(), text_ends.size());
    auto score_copy = copied(totals.data(), totals.size());
    *outputs = copied(joined.data(), joined.size()).release();
    *ends = end_copy.release();
    *scores = score_copy.release();
    *count = texts.size();
  });
}
