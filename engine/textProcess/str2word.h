// From the processed text to words: cuts it at spaces and gives spans of words
// that the number rules or the entity dictionary know their fixed translation.
//
// Spans are taken greedily from the left, the longest first (at most 8 words); for
// a span that both know the rules win. The words' texts and what the rules wrote
// belong to the word sequence; what the dictionary gave lives until the next
// text. Borrows dictionary, rules and pool; one text at a time.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "common/string_pool.h"
#include "numtrans/rule_translator.h"
#include "textProcess/ne_dict.h"
#include "textProcess/process_str.h"
#include "textProcess/process_word_seq.h"

namespace koralite::textProcess {

class Str2Word {
 public:
  static constexpr std::size_t kLongestSpan = 8;  // words

  // `dictionary` and `rules` may be null. `pool` is where later steps keep the
  // strings of the current sentence: it is emptied for each text. `join` stands
  // between the words of a span when it is looked up; 0 for nothing.
  Str2Word(NeDict* dictionary, numtrans::RuleTranslator* rules, common::StringPool& pool, char join)
      : dictionary_(dictionary), rules_(rules), pool_(&pool), join_(join) {}

  // Replaces `words`, positions included (each word has that of its first byte),
  // and gives non-zero. Gives 0 only when positions are wanted and `str` does not
  // hold one per byte. The text ends at its first zero byte.
  int DoProcess(const ProcessStr& str, ProcessWordSeq& words);

 private:
  // How many tokens the longest span from `first` on has that is known; its node
  // then goes to `node`. 0 for none.
  std::size_t find_span(const std::vector<char*>& tokens, std::size_t first, ProcessWordSeq& words,
                        common::word_node_t& node);
  // Translates candidate_ into target_ and type_.
  bool translate_by_rule();

  NeDict* dictionary_;
  numtrans::RuleTranslator* rules_;
  common::StringPool* pool_;
  char join_;
  std::string candidate_;  // kept between spans for their memory
  std::string target_;
  std::string type_;
};

}  // namespace koralite::textProcess
