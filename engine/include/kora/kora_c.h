/* Kora for C and for every language that can call C.
 *
 * A translator is made for one direction and one model folder, translates any
 * number of texts, and is closed. Any number of translators, of any directions,
 * may live side by side: none of them touches the process-wide state of kora.h.
 *
 * Rules
 *  - Text is UTF-8 given as pointer and length. It need not end in a zero byte
 *    and may hold any bytes; broken sequences are survived. A null pointer is
 *    the empty text if its length is 0. Texts above 1 GiB are refused.
 *  - Every function that can fail returns a result code, 0 for success. After a
 *    failure the pointers given for results hold null and 0. A translator stays
 *    usable after any failure.
 *  - What a function returns through a pointer belongs to the caller, who gives
 *    it back with kora_c_free, or kora_c_close for a translator. Constant strings
 *    (version, names) are never freed; kora_c_message lives until the next call
 *    with that translator.
 *  - Returned text is followed by a zero byte that its length does not count.
 *  - One thread at a time may use a translator. Different translators may be
 *    opened, used and closed on different threads at the same time.
 *  - All translators of a process are expected to come from models packed with
 *    the same "[prune]" setting, which `kora train` and `kora pack` always use.
 *  - Model files are mapped: while a translator lives they may be replaced (write
 *    beside, then rename) but not rewritten in place.
 *  - Nothing is printed, but for a model folder whose decoder parameters have [debug] 1:
 *    its search is traced on standard error. No thread is started, no signal handler is
 *    installed, no exception leaves a function, and the process is never ended.
 *  - Functions are added at the end, codes get new numbers; what is here keeps its
 *    meaning while the major version stays.
 */
#ifndef KORA_KORA_C_H_
#define KORA_KORA_C_H_

#include <stddef.h>
#include <stdint.h>

#ifndef KORA_API
#if defined(__GNUC__)
#define KORA_API __attribute__((visibility("default")))
#else
#define KORA_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A loaded model with its text processing; one direction. */
typedef struct kora_c_translator kora_c_translator;

enum {
  KORA_C_OK = 0,
  KORA_C_BAD_ARGUMENT = 1,       /* a null pointer, a text too long, an unknown flag */
  KORA_C_BAD_DIRECTION = 2,      /* no such direction, or one that cannot be translated */
  KORA_C_BAD_CONFIGURATION = 3,  /* unreadable, of another version, or too wide a search */
  KORA_C_BAD_MODEL = 4,          /* a model file is missing, damaged or does not fit */
  KORA_C_BAD_MANIFEST = 5,       /* the folder differs from its manifest, or has none */
  KORA_C_TRANSLATION_FAILED = 6, /* damage that was first met while translating */
  KORA_C_NO_MEMORY = 7,
  KORA_C_RESULT_COUNT = 8
};

/* Flag of kora_c_open: before anything is loaded, compare every file that the
 * configuration names with the sizes and SHA-256 digests of the folder's
 * manifest.conf. Costs one reading of the folder. */
#define KORA_C_CHECK_MANIFEST 1u

/* Flag of kora_c_open and kora_c_open_memory: the bare engine, with the results of
 * kora.h. Without it a translator protects what a translation must not change; see
 * kora_c_translate_document. */
#define KORA_C_RAW 2u

/* The version of the library, such as "1.0.0". */
KORA_API const char* kora_c_version(void);

/* The name of a result code, such as "KORA_C_BAD_MODEL"; "unknown result" for
 * any other number. Never null. */
KORA_API const char* kora_c_error_name(int32_t result);

/* The direction of a name made of two language codes, such as "en-zh": its code 0
 * to 33, or -1. Codes: zh en ja ko th ar es fr ru de pt lzh yue. */
KORA_API int32_t kora_c_find_direction(const char* name, size_t length);

/* Loads a translator. `direction` is a code 0 to 33; texts can be
 * translated from Chinese, English, Japanese and Korean to Chinese, English, Japanese,
 * Korean, Thai, Arabic, Russian, classical Chinese and Cantonese; other directions are
 * refused with KORA_C_BAD_DIRECTION. `configuration` is the path of the engine configuration, null
 * or empty for "engine.conf" in the folder. A decoder parameter file whose [stack] or [option] is
 * above 1000 is refused: it bounds what a folder can make a sentence cost. `message`, unless null,
 * receives on failure a text that says what is wrong, to be freed. */
KORA_API int32_t kora_c_open(int32_t direction, const char* configuration,
                             size_t configuration_length, const char* folder, size_t folder_length,
                             uint32_t flags, kora_c_translator** translator, char** message);

/* Closes a translator; null is ignored. */
KORA_API void kora_c_close(kora_c_translator* translator);

/* Frees what a function here returned through a pointer; null is ignored. */
KORA_API void kora_c_free(void* memory);

/* What went wrong in the last call with this translator; "" if nothing did. */
KORA_API const char* kora_c_message(const kora_c_translator* translator);

/* Translates plain text: kora_c_translate_document with KORA_C_PLAIN_TEXT. With
 * KORA_C_RAW each line that is not empty gives one line of output, and the sentences
 * of a line are joined by a space. */
KORA_API int32_t kora_c_translate(kora_c_translator* translator, const char* text, size_t length,
                                  char** output, size_t* output_length);

/* The same with an alignment: 4 * *link_count numbers, for each link the first and
 * last byte in `text`, then the first and last byte in the output, all inclusive.
 * Links are in order of the output and cover all of it but spaces between phrases
 * and sentences, line ends, and what is copied as layout or markup. No link begins
 * or ends inside a character of valid output. */
KORA_API int32_t kora_c_translate_aligned(kora_c_translator* translator, const char* text,
                                          size_t length, char** output, size_t* output_length,
                                          int32_t** links, size_t* link_count);

/* For kora_c_set_limits: the distortion limit of the folder. */
#define KORA_C_OWN_DISTORTION INT32_MIN

/* Makes the search wider or narrower from the next text on: quality against time. `stack` is the
 * number of hypotheses kept for each number of translated words, `options` that of translations of
 * each phrase, both up to 1000; `distortion` how far phrases may move, in words (negative: any
 * distance); `beam` how far behind the best one a hypothesis may be, in units of score. 0, and
 * KORA_C_OWN_DISTORTION, stand for what the folder says. The same limits give the same
 * translations whatever was set before. Anything else is KORA_C_BAD_ARGUMENT and changes nothing.
 */
KORA_API int32_t kora_c_set_limits(kora_c_translator* translator, int32_t stack, int32_t options,
                                   int32_t distortion, float beam);

/* At most n translations of one sentence, best first (the text is not split; line
 * feeds are ordinary bytes). `outputs` holds the texts one after the other, each
 * followed by a zero byte; text i is outputs[ends[i - 1] + 1] (0 for the first) up
 * to but without outputs[ends[i]]. scores[i] is its total, higher is better. Equal
 * texts found in different ways are listed each time. n of 0 gives none. The first may
 * differ from what kora_c_translate gives: the text is one sentence here, nothing in it is
 * protected, and its punctuation at the end goes through the search. */
KORA_API int32_t kora_c_translate_nbest(kora_c_translator* translator, const char* text,
                                        size_t length, uint32_t n, char** outputs, size_t** ends,
                                        float** scores, size_t* count);

/* A file in memory. The name is that of a file in a model folder, such as
 * "engine.conf"; it need not end in a zero byte. */
typedef struct kora_c_file {
  const char* name;
  size_t name_length;
  const void* data;
  size_t size;
} kora_c_file;

/* The same as kora_c_open for a model folder whose files are in memory: nothing is
 * copied and the file system is not touched. "engine.conf" is the configuration;
 * files that it does not name are ignored; two of one name are refused. The names may
 * go after the call, the bytes must stay as they are until the translator is closed. */
KORA_API int32_t kora_c_open_memory(int32_t direction, const kora_c_file* files, size_t count,
                                    uint32_t flags, kora_c_translator** translator, char** message);

/* How a text is translated, as JSON text: its sentences, each with at most n
 * translations, best first, and the phrases of the best one with at most n alternatives
 * each. "source" holds first byte and end (exclusive) in `text`; scores are higher for
 * better ones.
 *   {"sentences": [{"source": [0, 9],
 *     "translations": [{"text": "...", "score": -1.5}],
 *     "phrases": [{"source": [0, 5], "alternatives": [{"text": "...", "score": -1}]}]}]}
 * Phrases are in the order of the translation; sentence-final marks are part of none.
 * These are the results of the bare engine. */
KORA_API int32_t kora_c_explain(kora_c_translator* translator, const char* text, size_t length,
                                uint32_t n, char** json, size_t* json_length);

/* Formats of documents. */
enum {
  KORA_C_PLAIN_TEXT = 0,
  KORA_C_MARKUP = 1 /* HTML or XML, whole or a fragment */
};

/* Flag of kora_c_translate_document with KORA_C_MARKUP: translate the attributes alt,
 * title and placeholder too. */
#define KORA_C_ATTRIBUTES 1u

/* Translates a document and keeps what must survive.
 *  - Protected spans come out byte for byte, in the same number: placeholders (%s {0}
 *    ${x}), tags, addresses, file names, code, numbers such as phone numbers, emoji,
 *    accented and foreign words. Each travels as one word of its sentence. The mark and
 *    letter of an accelerator ("&F") move to where the target's readers look for it.
 *  - Plain text keeps line ends, indentation, list marks, tabs, empty lines and spaces
 *    at the ends of lines. Sentences are joined by the spaces of the source, in Chinese
 *    and Japanese by none. Sentences above 32 words are cut at clause ends.
 *  - Markup: inline tags follow their words by the alignment, stay nested, and none is
 *    lost or doubled; block tags and <br> end sentences; pre, code, script, style and
 *    elements with translate="no" are left alone; entities are decoded and written
 *    again. What is no tag is text.
 * `links` and `link_count` are as in kora_c_translate_aligned, or both null. */
KORA_API int32_t kora_c_translate_document(kora_c_translator* translator, const char* text,
                                           size_t length, int32_t format, uint32_t flags,
                                           char** output, size_t* output_length, int32_t** links,
                                           size_t* link_count);

/* Flag of kora_c_set_glossary: terms match only as they are written. */
#define KORA_C_CASE_SENSITIVE 1u

/* Adds terms to the translator's glossary: a line each, source TAB target; an empty
 * target means that the source stays; empty lines and lines that begin with # are left
 * out. Terms run through the source's text steps; the longest one that fits wins; a term
 * given again gets the new target. A null table of length 0 clears the glossary.
 * `report`, unless null, receives a line of text for each entry that can never match and
 * why ("" if there is none), to be freed; such entries are no failure. */
KORA_API int32_t kora_c_set_glossary(kora_c_translator* translator, const char* table,
                                     size_t length, uint32_t flags, char** report);

/* Kinds of protected spans, bits for kora_c_set_protection. */
#define KORA_C_PROTECT_FORMATS 1u         /* %s %1$d %(name)s {0} ${x} $x $(x) @1 */
#define KORA_C_PROTECT_ACCELERATORS 2u    /* &File _File */
#define KORA_C_PROTECT_TAGS 4u            /* <b> <file> &amp; in plain text */
#define KORA_C_PROTECT_ADDRESSES 8u       /* URLs, e-mail, hosts */
#define KORA_C_PROTECT_FILES 16u          /* file names and paths */
#define KORA_C_PROTECT_CODE 32u           /* identifiers, options, `code`, versions */
#define KORA_C_PROTECT_MENTIONS 64u       /* #tag @name */
#define KORA_C_PROTECT_SYMBOLS 128u       /* emoji, arrows, other symbols */
#define KORA_C_PROTECT_PHONES 256u        /* telephone numbers */
#define KORA_C_PROTECT_FOREIGN_WORDS 512u /* accented words, words of other scripts */
#define KORA_C_PROTECT_PATTERNS 1024u     /* what kora_c_add_pattern added */
#define KORA_C_PROTECT_NUMBERS 2048u      /* 100,000 and times of day */
#define KORA_C_PROTECT_ALL 4095u          /* as after opening */

/* Chooses the kinds of spans that are protected from now on; 0 for none. */
KORA_API int32_t kora_c_set_protection(kora_c_translator* translator, uint32_t kinds);

/* Adds a pattern of spans: bytes stand for themselves, * for one or more word bytes
 * (letters, digits, _, bytes above 127), # for one or more digits, ? for one byte, \ for
 * the next byte itself. At most 64 patterns of at most 256 bytes; none may be empty,
 * begin with * or ?, or end in \ (KORA_C_BAD_ARGUMENT). */
KORA_API int32_t kora_c_add_pattern(kora_c_translator* translator, const char* pattern,
                                    size_t length);

#ifdef __cplusplus
}
#endif

#endif /* KORA_KORA_C_H_ */
