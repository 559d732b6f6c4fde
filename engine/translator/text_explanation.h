// How a text was translated, for programs that let readers choose: its sentences with
// their best translations, and the phrases of the best one with what else the phrase
// table has for them.
//
// Plain values that outlive the handle, and a JSON form of them; offsets count bytes of
// the text, ends are exclusive. The results are those of the bare engine. The handle's
// rules for threads and errors hold.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::translator {

struct scored_text_t {
  std::string text;
  float score = 0;  // higher is better
};

struct explained_phrase_t {
  std::size_t source_begin = 0;
  std::size_t source_end = 0;
  std::vector<scored_text_t> alternatives;  // the likeliest first; the chosen one among them
};

struct explained_sentence_t {
  std::size_t source_begin = 0;
  std::size_t source_end = 0;
  std::vector<scored_text_t> translations;  // best first
  std::vector<explained_phrase_t> phrases;  // in order of the target
};

// At most `limit` translations of each sentence and alternatives of each phrase.
std::vector<explained_sentence_t> explain_text(TransImpl& handle, textProcess::LangType source,
                                               std::string_view input, unsigned limit);

// {"sentences": [{"source": [0, 9], "translations": [{"text": "...", "score": -1.5}, ...],
//   "phrases": [{"source": [0, 5], "alternatives": [{"text": "...", "score": -1}, ...]}]}]}
std::string explanation_as_json(const std::vector<explained_sentence_t>& sentences);

}  // namespace koralite::translator
