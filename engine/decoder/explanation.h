// What the decoder knows about one sentence after translating it, as plain values
// that outlive it: for tools that show how a translation came about, and for
// tests. Scores are exactly those of the search. Positions count source words
// from 0 and are inclusive.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace koralite::decoder {

struct explained_option_t {
  int start = 0;
  int end = 0;
  std::vector<std::int32_t> ids;   // target words
  std::string target;              // the same as the target vocabulary writes them
  float score = 0;                 // what it adds when it is applied
  float future = 0;                // what it is expected to add
  std::array<float, 6> reorder{};  // monotone, swap, discontinuous: towards the phrase
                                   // before, then towards the one after
};

struct explained_step_t {
  std::size_t option = 0;  // in explanation_t::options
  std::string text;        // what stands in the output for it
  float distortion = 0;    // the following three before they are weighted
  float reordering = 0;
  float joint = 0;   // language model score that the words before made known
  float score = 0;   // of the hypothesis, so far
  float future = 0;  // estimate for what is left
  float total = 0;
};

struct derivation_t {
  std::vector<explained_step_t> steps;  // in target order
  std::string text;
  float end_score = 0;  // what the end of the sentence added, weighted
  float score = 0;      // of the whole
  float total = 0;      // what decided the order
};

struct explanation_t {
  std::vector<explained_option_t> options;  // by start, end, then best estimate first
  std::vector<float> future;                // matrix of the spans, size x size, row by row
  int size = 0;                             // source words
  std::vector<derivation_t> derivations;    // best first
};

}  // namespace koralite::decoder
