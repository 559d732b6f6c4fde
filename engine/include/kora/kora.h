// Kora for C++ callers: seven functions over one process-wide direction.
//
// Order: kora_initialize once, kora_create_decoder for each handle, kora_translate
// on a handle any number of times, kora_destroy_decoder for each handle, then
// kora_finalize; after that another direction may be initialised.
//
// Threads: kora_initialize, kora_create_decoder and kora_finalize must not overlap
// any other call. Different handles may translate on different threads; one
// handle serves one thread at a time. The engine starts no thread and takes no
// lock.
//
// Text is UTF-8; any bytes are survived. Nothing is thrown. Nothing is printed, but for a
// model folder whose decoder parameters have [debug] 1: its search is traced on standard
// error. Model files
// are mapped and must not be rewritten in place while a handle lives.
//
// C and other languages use kora_c.h, which is a library of its own face with
// handles that carry their direction.
#pragma once

#include <cstdint>
#include <string>

#if defined(__GNUC__)
#define KORA_API __attribute__((visibility("default")))
#else
#define KORA_API
#endif

namespace koralite::translator {
class TransImpl;
}

extern "C" {

// The name of each direction code, for showing to people.
extern KORA_API const char* const KORA_TRANS_DIRECT[34];

// The state of the process, for looking at. Written by kora_initialize and
// kora_finalize alone.
extern KORA_API std::int32_t g_direct;      // last direction asked for; 34: none
extern KORA_API std::int32_t g_srcType;     // source language type; 0: not initialised
extern KORA_API std::int32_t g_targType;    // target language type; 0: not initialised
extern KORA_API std::string g_ConfFile;     // engine configuration file
extern KORA_API std::string g_ModelFolder;  // folder of the model files

// The version of the interface; a constant.
KORA_API const char* kora_get_version();

// Chooses the direction (0 to 33) and the files. Reads the configuration file to
// check its version; models are loaded later. 0: done; 1: no such direction;
// 2: confFile is null; 3: already initialised; 4: the configuration cannot be
// read, or modelFolder is null; 5: another failure; 6: wrong or no version.
// After 0, 5 and 6, and after 4 unless modelFolder was null, the engine counts as
// initialised until kora_finalize.
KORA_API int kora_initialize(int direct, const char* confFile, const char* modelFolder);

// Loads the models for the initialised direction. Null on any failure.
KORA_API koralite::translator::TransImpl* kora_create_decoder(int direct);

// Translates a text. Each line that is not empty gives one line of output. 0: done;
// 2: no handle, or the source language cannot be split into sentences; 3 and 4: a
// failure while translating; `output` keeps the lines finished before.
KORA_API int kora_translate(koralite::translator::TransImpl* handle, const std::string& input,
                            std::string& output);

// Frees a handle; null is ignored.
KORA_API void kora_destroy_decoder(koralite::translator::TransImpl* handle);

// Back to the state before kora_initialize. Handles are not touched.
KORA_API void kora_finalize();

// 1 if every byte is ASCII, else 0.
KORA_API int kora_check_lang(const std::string& text);

}  // extern "C"
