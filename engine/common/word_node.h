// One word of a source sentence as the text steps hand it to the decoder.
//
// A node owns nothing: its strings live in the buffer of the sequence that it
// belongs to, in a StringPool, or are constants, and all end in a zero byte.
// `translation` and `tag` are set by the steps that fix a translation by rule,
// dictionary or copy; both are null for an ordinary word.
#pragma once

namespace koralite::common {

struct word_node_t {
  char* word = nullptr;  // surface form; writable, so that a step can split it in place
  const char* translation = nullptr;  // fixed translation, or null
  const char* tag = nullptr;          // "ASC", "PE" or a named-entity tag word, or null
};

}  // namespace koralite::common
