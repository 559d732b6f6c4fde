// Sentence-final punctuation at both ends of the decoder: taken off the source
// words before the search and put back after the translation, in the target
// language's form, so that the models need not translate it.
//
// Stateless; the maps and sets are built once per language pair. Translations of
// removed words point into the map, which must outlive them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/align.h"
#include "textProcess/lang_type.h"
#include "textProcess/process_word_seq.h"

namespace koralite::textProcess {

class PunctTruncateProcessor {
 public:
  // Adds the source marks of a language pair with their target forms; entries that the map already
  // holds stay. Most pairs have none.
  static void GetTruncateMap(LangType source, LangType target,
                             std::map<std::string, std::string>& map);

  // Moves the trailing words that are keys of the map to `removed`, which is emptied first, in
  // their order, with their positions, and with the target form as their translation. The texts
  // stay with `words`. Fails, changing no word, when the positions do not match the words.
  static bool DoTruncatePunct(ProcessWordSeq& words, ProcessWordSeq& removed,
                              const std::map<std::string, std::string>& map);
};

class PunctAppendProcessor {
 public:
  // The marks of which one is taken off the decoder's output; for English a marker, "english".
  static void GetPunctSet(LangType target, std::set<std::string>& set);

  // Takes one final mark of the decoder's own off the output, then appends the translation of each
  // removed word, with an alignment link from the word to the bytes, and returns the words. Nothing
  // happens when none were removed.
  static void DoAppendPunct(ProcessWordSeq& words, ProcessWordSeq& removed, std::string& output,
                            std::vector<common::align_t>& alignment,
                            const std::set<std::string>& set);

  // Takes one final mark off the output and cuts the last link to what is left. The first knows
  // English: a full stop stays behind an abbreviation, a question mark always.
  static void DelSentEndPuncts_eng(std::string& output, std::vector<common::align_t>& alignment);
  static void DelSentEndPuncts(std::string& output, std::vector<common::align_t>& alignment,
                               const std::set<std::string>& set);
};

}  // namespace koralite::textProcess
