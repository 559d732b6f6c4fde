/* liblexicut: cuts a piece of Chinese or Japanese text into words.
 *
 * The engine links this library by its name and calls nothing but the
 * functions below, so that any library offering them can take its place.
 * lexicut_load_memory may be missing: such a library cannot serve models that
 * are opened from memory.
 *
 * Rules
 *  - Text is UTF-8 given as pointer and length; it need not end in a zero byte
 *    and may hold any bytes.
 *  - A model is read-only once loaded: any number of threads may segment with
 *    one model at the same time, each with a result record of its own.
 *  - A result record belongs to the caller that created it. Its arrays are
 *    filled anew by each call and stay in place until it is destroyed.
 *  - What a create or load function returned is given back with the matching
 *    destroy function, which takes the address of the pointer and sets it to
 *    null. A null address and a null pointer are ignored.
 *  - Failures are results (a null pointer or 0). Nothing is thrown or printed.
 */
#ifndef LEXICUT_LEXICUT_H_
#define LEXICUT_LEXICUT_H_

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define LEXICUT_API __attribute__((visibility("default")))
#else
#define LEXICUT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A loaded set of model files. */
typedef struct lexicut_model lexicut_model;

/* The words of one piece, in ascending order and without overlap. Entry i of
 * each array describes word i. A record made by lexicut_create_out has more
 * after these four members; never copy or build one yourself and pass it on. */
typedef struct lexicut_out {
  int32_t* offsets;     /* first byte of the word, counted from the piece's start */
  int32_t* lengths;     /* length of the word in bytes */
  uint32_t* properties; /* bits LEXICUT_PROPERTY_... */
  int32_t count;        /* number of words */
} lexicut_out;

/* Property bit of a word that is taken for the name of a person. */
#define LEXICUT_PROPERTY_NAME 0x10u

/* The mode that the engine passes: all words with their properties. */
#define LEXICUT_MODE_FULL 29

/* Loads the word list, the name statistics and the list of ambiguous strings
 * with a fixed best path. The last two are optional: an empty or null path
 * leaves that service out. `flags` is reserved, pass 0. Null on failure. */
LEXICUT_API lexicut_model* lexicut_load_model(const char* dictionary, const char* names,
                                              const char* ambiguous, int32_t flags);

/* Bytes that the caller holds. */
typedef struct lexicut_bytes {
  const void* data;
  size_t size;
} lexicut_bytes;

/* The same from files in memory, which are not copied and must stay as they are
 * until the model is destroyed. A null pointer or null data leaves a list out. */
LEXICUT_API lexicut_model* lexicut_load_memory(const lexicut_bytes* dictionary,
                                               const lexicut_bytes* names,
                                               const lexicut_bytes* ambiguous, int32_t flags);

/* Creates a result record with room for `capacity` words. A piece of fewer than
 * `capacity` bytes always fits. Null on failure or for a capacity below 1. */
LEXICUT_API lexicut_out* lexicut_create_out(int32_t capacity);

/* Cuts `length` bytes at `text` into words that cover every byte, spaces
 * included, and fills `out`. Gives 1 on success; 0 when an argument is null or
 * negative or the words do not fit into `out`, whose count is then 0. */
LEXICUT_API int32_t lexicut_segment_full(const lexicut_model* model, const char* text,
                                         int32_t length, lexicut_out* out, int32_t mode);

LEXICUT_API void lexicut_destroy_out(lexicut_out** out);
LEXICUT_API void lexicut_destroy(lexicut_model** model);

#ifdef __cplusplus
}
#endif

#endif /* LEXICUT_LEXICUT_H_ */
