// The seven functions and the process-wide state that they share. Exceptions end
// here and become result codes.
#include "kora/kora.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include "common/engine_configuration.h"
#include "translator/direction_table.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

using koralite::common::EngineConfiguration;
using koralite::textProcess::LangType;
using koralite::translator::TransImpl;

// Names and their spelling are part of the interface.
const char* const KORA_TRANS_DIRECT[34] = {
    "Chinese to English",  "English to Chinese",  "Chinese to Japanese",   "Japanese to Chinese",
    "Thai to Enlish",      "English to Thai",     "Arabic to English",     "English to Arabic",
    "Japanese to English", "English to Japanese", "Chinese to Thai",       "Thai to Chinese",
    "Chinses to Spanish",  "Spanish to Chinese",  "Chinese to French",     "French to Chinese",
    "Chinese to Arabic",   "Arabic to Chinese",   "English to Spanish",    "Spanish to English",
    "English to French",   "French to English",   "Chinese to Korean",     "Korean to Chinese",
    "Chinese to Russian",  "Russian to Chinese",  "English to Portuguese", "Portuguese to English",
    "Chinese to German",   "German to Chinese",   "Chinese to WenYan",     "WenYan to Chinese",
    "Chinese to Yue",      "Yue to Chinese"};

std::int32_t g_direct = koralite::translator::kDirectionCount;
std::int32_t g_srcType = 0;
std::int32_t g_targType = 0;
std::string g_ConfFile;
std::string g_ModelFolder;

const char* kora_get_version() {
  return "1.0.0";
}

int kora_initialize(int direct, const char* confFile, const char* modelFolder) {
  g_direct = direct;  // recorded even when it is refused
  if (direct < 0 || direct >= koralite::translator::kDirectionCount) {
    return 1;
  }
  if (confFile == nullptr) {
    return 2;
  }
  if (g_srcType != 0 || g_targType != 0) {
    return 3;
  }
  try {
    g_ConfFile = confFile;
    if (modelFolder == nullptr) {
      throw std::invalid_argument("no model folder");
    }
    g_ModelFolder = modelFolder;
    const auto languages = koralite::translator::languages_of(direct);
    g_srcType = static_cast<std::int32_t>(languages.source);
    g_targType = static_cast<std::int32_t>(languages.target);
    return EngineConfiguration(g_ConfFile).has_known_version() ? 0 : 6;
  } catch (const std::exception&) {
    return 4;
  } catch (...) {
    return 5;
  }
}

TransImpl* kora_create_decoder(int direct) {
  if (direct != g_direct) {
    return nullptr;
  }
  try {
    const EngineConfiguration configuration(g_ConfFile);
    const std::string parameters = configuration.parameter_file();
    if (parameters.empty()) {
      return nullptr;
    }
    return std::make_unique<TransImpl>(static_cast<LangType>(g_srcType),
                                       static_cast<LangType>(g_targType), configuration,
                                       g_ModelFolder, parameters)
        .release();
  } catch (...) {
    return nullptr;
  }
}

int kora_translate(TransImpl* handle, const std::string& input, std::string& output) {
  if (handle == nullptr) {
    return 2;
  }
  try {
    if (&input == &output) {
      const std::string copy = input;
      return kora_translate(handle, copy, output);
    }
    const auto source = static_cast<LangType>(g_srcType);
    return koralite::translator::translate_text(*handle, source, input, output) ? 0 : 2;
  } catch (const std::exception&) {
    return 3;
  } catch (...) {
    return 4;
  }
}

void kora_destroy_decoder(TransImpl* handle) {
  std::unique_ptr<TransImpl>(handle).reset();
}

void kora_finalize() {
  g_srcType = 0;
  g_targType = 0;
  g_direct = koralite::translator::kDirectionCount;
  g_ConfFile.clear();
}

int kora_check_lang(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; })
             ? 1
             : 0;
}
