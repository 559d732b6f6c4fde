// The binary interface of kora_c.h, kept: what programs were built against must stay as it is while
// the major version stays. New functions and codes get a new line; a line that is here never
// changes. It does not compile when a signature, a value or a layout does.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kora/kora_c.h"

namespace {

using i32 = std::int32_t;
using u32 = std::uint32_t;
using text = const char*;
using size = std::size_t;
using handle = kora_c_translator*;
using handles = kora_c_translator**;

#define SAME(name, ...) static_assert(std::is_same_v<decltype(&(name)), __VA_ARGS__>);

// clang-format off
SAME(kora_c_version, text (*)())
SAME(kora_c_error_name, text (*)(i32))
SAME(kora_c_find_direction, i32 (*)(text, size))
SAME(kora_c_open, i32 (*)(i32, text, size, text, size, u32, handles, char**))
SAME(kora_c_close, void (*)(handle))
SAME(kora_c_free, void (*)(void*))
SAME(kora_c_message, text (*)(const kora_c_translator*))
SAME(kora_c_translate, i32 (*)(handle, text, size, char**, size*))
SAME(kora_c_translate_aligned, i32 (*)(handle, text, size, char**, size*, i32**, size*))
SAME(kora_c_translate_nbest, i32 (*)(handle, text, size, u32, char**, size**, float**, size*))
SAME(kora_c_set_limits, i32 (*)(handle, i32, i32, i32, float))
SAME(kora_c_open_memory, i32 (*)(i32, const kora_c_file*, size, u32, handles, char**))
SAME(kora_c_explain, i32 (*)(handle, text, size, u32, char**, size*))
SAME(kora_c_translate_document, i32 (*)(handle, text, size, i32, u32, char**, size*, i32**, size*))
SAME(kora_c_set_glossary, i32 (*)(handle, text, size, u32, char**))
SAME(kora_c_set_protection, i32 (*)(handle, u32))
SAME(kora_c_add_pattern, i32 (*)(handle, text, size))
// clang-format on

static_assert(KORA_C_OK == 0 && KORA_C_BAD_ARGUMENT == 1 && KORA_C_BAD_DIRECTION == 2 &&
              KORA_C_BAD_CONFIGURATION == 3 && KORA_C_BAD_MODEL == 4 && KORA_C_BAD_MANIFEST == 5 &&
              KORA_C_TRANSLATION_FAILED == 6 && KORA_C_NO_MEMORY == 7);
static_assert(KORA_C_CHECK_MANIFEST == 1U && KORA_C_RAW == 2U);

static_assert(sizeof(kora_c_file) == 4 * sizeof(void*));
static_assert(offsetof(kora_c_file, name) == 0 &&
              offsetof(kora_c_file, name_length) == sizeof(void*) &&
              offsetof(kora_c_file, data) == 2 * sizeof(void*) &&
              offsetof(kora_c_file, size) == 3 * sizeof(void*));

}  // namespace
