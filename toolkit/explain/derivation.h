// The derivation of a sentence through the engine: each text step that changed it, the
// words, what the search chose and why, and the steps that wrote the result.
// Plain values that outlive the handle. One handle serves one thread.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "decoder/explanation.h"
#include "textProcess/abstract_step.h"
#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

struct derivation_step_t {
  std::string name;
  std::string before;
  std::string after;
};

struct derivation_word_t {
  std::string word;
  std::string translation;  // fixed, or empty
  std::string tag;
};

struct derivation_weights_t {
  float distortion = 0;
  float reordering = 0;
  float language = 0;
};

struct derivation_scores_t {  // what a step of the best derivation added, weighted
  float phrase = 0;
  float language = 0;
  float reordering = 0;
  float distortion = 0;
  float running = 0;  // their sum so far, without the end of the sentence
};

struct derivation_part_t {  // a chunk of words that are searched together
  std::vector<derivation_word_t> words;
  decoder::explanation_t search;
  derivation_weights_t weights;
  std::vector<derivation_scores_t> scores;  // for each step of the best derivation
};

struct sentence_derivation_t {
  std::string source;
  std::vector<derivation_step_t> steps;       // that changed the text
  std::vector<derivation_step_t> word_steps;  // that changed the words; as WORD=>TRANSLATION/TAG
  std::vector<derivation_part_t> parts;
  std::vector<derivation_word_t> marks;  // at the end, which the search does not see
  std::string decoded;
  std::vector<derivation_step_t> post_steps;
  std::string output;
};

// The steps of a chain, given by its last one, in the order in which they run.
template <class Step>
std::vector<Step*> chain_steps(Step* last) {
  std::vector<Step*> steps;
  for (; last != nullptr; last = last->prior()) {
    steps.push_back(last);
  }
  std::reverse(steps.begin(), steps.end());
  return steps;
}

// Runs a chain step by step over `str`; gives those that changed it. Throws
// std::runtime_error naming the step that failed.
std::vector<derivation_step_t> run_chain(textProcess::AbstractStringProcessor* last,
                                         textProcess::ProcessStr& str);

// One derivation for each sentence of a line, each with at most `derivations` derivations. The
// weights are those that the handle's models were loaded with.
std::vector<sentence_derivation_t> explain_line(translator::TransImpl& handle,
                                                const derivation_weights_t& weights,
                                                const std::string& line, unsigned derivations);

// For terminals, programs and browsers. The page needs nothing but itself.
std::string derivations_as_text(const std::vector<sentence_derivation_t>& sentences);
std::string derivations_as_json(const std::vector<sentence_derivation_t>& sentences);
std::string derivations_as_html(const std::vector<sentence_derivation_t>& sentences);

}  // namespace koralite::toolkit
