// Reads phrase tables and lexicalised reordering tables in the text format of the
// field, plain or gzip:
//
//   source ||| target ||| scores [||| alignment ||| counts ...]
//   source ||| target ||| six probabilities
//
// Words stand apart by blanks, and so do the bars between the fields; scores are probabilities.
// What breaks the format is a std::runtime_error "PATH:LINE: what is wrong".
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/pack/phrase_table_builder.h"

namespace koralite::toolkit {

// A word as people write it, of one whose marks other toolkits have escaped: "&apos;" "&quot;"
// "&lt;" "&gt;" "&amp;" "&#124;" "&#91;" "&#93;".
std::string unescaped(std::string_view word);

// The id of a word; a negative one leaves the phrase pair out.
using word_id_t = std::function<std::int32_t(std::string_view)>;

struct phrase_text_report_t {
  std::uint64_t lines = 0;
  std::uint64_t unknown_words = 0;  // lines left out for a word without id
  std::uint64_t floored = 0;        // probabilities of 0, read as the smallest allowed
};

struct phrase_text_options_t {
  // The weights of the scores, in the order of the file, whose weighted logarithms add up to the
  // one translation score that is packed. A line with another number of scores is an error.
  std::vector<double> weights = {1.0, 1.0, 1.0, 1.0};
  double smallest = 1e-10;  // stands for smaller probabilities
};

// Adds every pair of a phrase table to `builder`, without reordering values.
phrase_text_report_t read_phrase_table(const std::string& path, const word_id_t& source_id,
                                       const word_id_t& target_id, PhraseTableBuilder& builder,
                                       const phrase_text_options_t& options = {});

// Adds the values of a reordering table: monotone, swap and discontinuous towards the phrase
// before, then the same towards the one after.
phrase_text_report_t read_reordering_table(const std::string& path, const word_id_t& source_id,
                                           const word_id_t& target_id, PhraseTableBuilder& builder,
                                           const phrase_text_options_t& options = {});

}  // namespace koralite::toolkit
