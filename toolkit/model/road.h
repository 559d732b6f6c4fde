// The road of a sentence through the engine: each text step that changed it, the
// words, what the search chose and why, and the steps that wrote the result.
// Plain values that outlive the handle. One handle serves one thread.
#pragma once

#include <string>
#include <vector>

#include "decoder/explanation.h"
#include "textProcess/abstract_string_processor.h"
#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::toolkit {

struct road_step_t {
  std::string name;
  std::string before;
  std::string after;
};

struct road_word_t {
  std::string word;
  std::string translation;  // fixed, or empty
  std::string tag;
};

struct road_part_t {  // at most 32 words, which are searched together
  std::vector<road_word_t> words;
  decoder::explanation_t search;
};

struct road_t {
  std::string source;
  std::vector<road_step_t> steps;  // that changed something
  std::vector<road_part_t> parts;
  std::vector<road_word_t> marks;  // at the end, which the search does not see
  std::string decoded;
  std::vector<road_step_t> post_steps;
  std::string output;
};

// The steps of a chain in the order in which they run.
std::vector<textProcess::AbstractStringProcessor*> chain_steps(
    const textProcess::AbstractStringProcessor* last);

// Runs a chain step by step over `str`; gives those that changed it. Throws
// std::runtime_error naming the step that failed.
std::vector<road_step_t> run_chain(const textProcess::AbstractStringProcessor* last,
                                   textProcess::ProcessStr& str);

// One road for each sentence of a line, each with at most `derivations` derivations.
std::vector<road_t> explain_line(translator::TransImpl& handle, const std::string& line,
                                 unsigned derivations);

// For terminals, programs and browsers. The page needs nothing but itself.
std::string road_as_text(const std::vector<road_t>& roads);
std::string road_as_json(const std::vector<road_t>& roads);
std::string road_as_html(const std::vector<road_t>& roads);

}  // namespace koralite::toolkit
