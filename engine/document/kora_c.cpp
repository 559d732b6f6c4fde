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
#include <utility>
#include <vector>

#include "common/causes.h"
#include "common/engine_configuration.h"
#include "common/file_path.h"
#include "decoder/parameter.h"
#include "document/document_translator.h"
#include "kora/kora.h"
#include "translator/direction_table.h"
#include "translator/model_manifest.h"
#include "translator/text_explanation.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

using koralite::common::align_t;
using koralite::common::EngineConfiguration;
using koralite::common::FilePath;
using koralite::common::MemoryFiles;
using koralite::textProcess::LangType;
using koralite::textProcess::ProcessStr;
using koralite::textProcess::ProcessWordSeq;
using koralite::translator::TransImpl;

struct kora_c_translator {
  MemoryFiles files;  // of a model in memory; outlives the engine
  std::unique_ptr<TransImpl> engine;
  std::unique_ptr<koralite::document::DocumentTranslator> documents;  // null: the bare engine
  LangType source;
  std::string message;                                 // of the last call
  koralite::decoder::search_limits_t own_limits = {};  // of the folder
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

EngineConfiguration read_configuration(const FilePath& path) {
  try {
    EngineConfiguration configuration(path);
    if (!configuration.has_known_version()) {
      throw Failure(KORA_C_BAD_CONFIGURATION, path.text() + ": no [version] beginning with 1.0.");
    }
    if (configuration.parameter_file().empty()) {
      throw Failure(KORA_C_BAD_CONFIGURATION, path.text() + ": no value for [decoder]");
    }
    return configuration;
  } catch (const Failure&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw Failure(KORA_C_BAD_CONFIGURATION, koralite::common::with_causes(error));
  }
}

void check_manifest(const EngineConfiguration& configuration, const FilePath& folder) {
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
  need((flags & ~(KORA_C_CHECK_MANIFEST | KORA_C_RAW)) == 0, "an unknown flag");
  const auto languages = koralite::translator::languages_of(direction);
  if (!koralite::translator::can_translate(languages.source, languages.target)) {
    throw Failure(KORA_C_BAD_DIRECTION, "a direction that cannot be translated");
  }
  return languages;
}

void load(kora_c_translator& translator, const koralite::translator::language_pair_t& languages,
          const FilePath& path, const FilePath& folder, std::uint32_t flags) {
  const EngineConfiguration configuration = read_configuration(path);
  const std::string parameters = configuration.parameter_file();
  if ((flags & KORA_C_CHECK_MANIFEST) != 0) {
    check_manifest(configuration, folder);
  }
  check_search_width(folder.file(parameters));
  translator.source = languages.source;
  translator.engine = std::make_unique<TransImpl>(languages.source, languages.target, configuration,
                                                  folder, parameters);
  translator.own_limits = translator.engine->translator().limits();
  if ((flags & KORA_C_RAW) == 0) {
    translator.documents = std::make_unique<koralite::document::DocumentTranslator>(
        *translator.engine, languages.source, languages.target);
  }
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
    need(translator != nullptr, "null pointer for the translator");
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

// Where a translation goes; links are not asked for when either place is null.
struct places_t {
  char** output = nullptr;
  std::size_t* output_length = nullptr;
  std::int32_t** links = nullptr;
  std::size_t* link_count = nullptr;
};

void translate_bare(kora_c_translator& translator, std::string_view text, bool with_links,
                    std::string& result, std::vector<align_t>& links) {
  if (with_links) {
    koralite::translator::translate_text(*translator.engine, translator.source, text, result,
                                         links);
  } else {
    koralite::translator::translate_text(*translator.engine, translator.source, text, result);
  }
}

std::int32_t translate(kora_c_translator* translator, const char* text, std::size_t length,
                       std::int32_t format, std::uint32_t flags, const places_t& to) {
  if (to.output != nullptr) {
    *to.output = nullptr;
  }
  if (to.output_length != nullptr) {
    *to.output_length = 0;
  }
  if (to.links != nullptr) {
    *to.links = nullptr;
  }
  if (to.link_count != nullptr) {
    *to.link_count = 0;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need(to.output != nullptr && to.output_length != nullptr,
         "null pointer for the output or the links");
    need((to.links == nullptr) == (to.link_count == nullptr),
         "links without their count, or a count without links");
    need(format == KORA_C_PLAIN_TEXT || format == KORA_C_MARKUP, "an unknown format");
    need((flags & ~KORA_C_ATTRIBUTES) == 0, "an unknown flag");
    const bool with_links = to.links != nullptr;
    std::string result;
    std::vector<align_t> links;
    if (translator->documents == nullptr) {
      need(format == KORA_C_PLAIN_TEXT, "a translator opened with KORA_C_RAW knows no markup");
      translate_bare(*translator, view(text, length), with_links, result, links);
    } else {
      auto done = format == KORA_C_PLAIN_TEXT
                      ? translator->documents->translate_text(view(text, length), with_links)
                      : translator->documents->translate_markup(
                            view(text, length), {with_links, (flags & KORA_C_ATTRIBUTES) != 0});
      result = std::move(done.text);
      links = std::move(done.links);
    }
    std::vector<std::int32_t> flat;
    flat.reserve(4 * links.size());
    for (const align_t& link : links) {
      flat.insert(flat.end(),
                  {link.source_first, link.source_last, link.target_first, link.target_last});
    }
    c_memory<std::int32_t> flat_copy;
    if (with_links) {
      flat_copy = copied(flat.data(), flat.size());
    }
    *to.output = copied(result.data(), result.size()).release();
    *to.output_length = result.size();
    if (with_links) {
      *to.links = flat_copy.release();
      *to.link_count = links.size();
    }
  });
}

koralite::document::LineTranslator& lines_of(kora_c_translator& translator) {
  need(translator.documents != nullptr,
       "a translator opened with KORA_C_RAW has no glossary and protects nothing");
  return translator.documents->lines();
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
  return translate(translator, text, length, KORA_C_PLAIN_TEXT, 0, {output, output_length});
}

std::int32_t kora_c_translate_aligned(kora_c_translator* translator, const char* text,
                                      std::size_t length, char** output, std::size_t* output_length,
                                      std::int32_t** links, std::size_t* link_count) {
  const bool has_place = links != nullptr && link_count != nullptr;
  if (translator != nullptr && !has_place) {
    output = nullptr;  // refused like a null pointer for the output
  }
  return translate(translator, text, length, KORA_C_PLAIN_TEXT, 0,
                   {output, output_length, links, link_count});
}

std::int32_t kora_c_set_limits(kora_c_translator* translator, std::int32_t stack,
                               std::int32_t options, std::int32_t distortion, float beam) {
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_BAD_ARGUMENT, translator->message, [&] {
    need(stack >= 0 && stack <= koralite::decoder::kWidestSearch && options >= 0 &&
             options <= koralite::decoder::kWidestSearch,
         "stack and options are numbers from 0 to 1000");
    need(beam >= 0, "a beam below 0");
    auto limits = translator->own_limits;
    limits.stack = stack != 0 ? stack : limits.stack;
    limits.options = options != 0 ? options : limits.options;
    limits.distortion = distortion != KORA_C_OWN_DISTORTION ? distortion : limits.distortion;
    limits.beam = beam != 0 ? beam : limits.beam;
    translator->engine->translator().set_limits(limits);
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
         "null pointer for the outputs, their ends, scores or count");
    TransImpl& engine = *translator->engine;
    ProcessStr sentence(false, std::string(view(text, length)));
    ProcessWordSeq words(false);
    std::vector<std::string> texts;
    std::vector<float> totals;
    std::string log;
    if (n != 0) {
      engine.DoPreprocess(sentence, words);
      engine.translator().Translate(n, words, texts, totals, log);
    }
    std::string joined;
    std::vector<std::size_t> text_ends;
    for (std::string& decoded : texts) {
      ProcessStr result(false, std::move(decoded));
      engine.DoPostprocess(result);
      joined += result.text();
      text_ends.push_back(joined.size());
      joined += '\0';
    }
    auto end_copy = copied(text_ends.data(), text_ends.size());
    auto score_copy = copied(totals.data(), totals.size());
    *outputs = copied(joined.data(), joined.size()).release();
    *ends = end_copy.release();
    *scores = score_copy.release();
    *count = texts.size();
  });
}

std::int32_t kora_c_explain(kora_c_translator* translator, const char* text, std::size_t length,
                            std::uint32_t n, char** json, std::size_t* json_length) {
  if (json != nullptr) {
    *json = nullptr;
  }
  if (json_length != nullptr) {
    *json_length = 0;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need(json != nullptr && json_length != nullptr, "null pointer for the explanation");
    const std::string result =
        koralite::translator::explanation_as_json(koralite::translator::explain_text(
            *translator->engine, translator->source, view(text, length), n));
    *json = copied(result.data(), result.size()).release();
    *json_length = result.size();
  });
}

std::int32_t kora_c_translate_document(kora_c_translator* translator, const char* text,
                                       std::size_t length, std::int32_t format, std::uint32_t flags,
                                       char** output, std::size_t* output_length,
                                       std::int32_t** links, std::size_t* link_count) {
  return translate(translator, text, length, format, flags,
                   {output, output_length, links, link_count});
}

std::int32_t kora_c_set_glossary(kora_c_translator* translator, const char* table,
                                 std::size_t length, std::uint32_t flags, char** report) {
  if (report != nullptr) {
    *report = nullptr;
  }
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need((flags & ~KORA_C_CASE_SENSITIVE) == 0, "an unknown flag");
    auto& glossary = lines_of(*translator).glossary();
    if (table == nullptr && length == 0) {
      glossary.clear();
      return;
    }
    const std::string problems = glossary.add(
        view(table, length), (flags & KORA_C_CASE_SENSITIVE) != 0, *translator->engine);
    if (report != nullptr) {
      *report = copied(problems.data(), problems.size()).release();
    }
  });
}

std::int32_t kora_c_set_protection(kora_c_translator* translator, std::uint32_t kinds) {
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_TRANSLATION_FAILED, translator->message, [&] {
    need((kinds & ~KORA_C_PROTECT_ALL) == 0, "an unknown kind");
    lines_of(*translator).recognizer().set_kinds(kinds);
  });
}

std::int32_t kora_c_add_pattern(kora_c_translator* translator, const char* pattern,
                                std::size_t length) {
  if (translator == nullptr) {
    return KORA_C_BAD_ARGUMENT;
  }
  return guard(KORA_C_BAD_ARGUMENT, translator->message,
               [&] { lines_of(*translator).recognizer().add_pattern(view(pattern, length)); });
}
