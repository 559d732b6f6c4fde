// The inside of Decoder: the models of one handle, the search, and the words of
// the sentence that is being translated. Split over decoder.cpp (the way of a
// sentence), decoder_output.cpp (from hypotheses to text) and decoder_trace.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "decoder/beam_search.h"
#include "decoder/compact_trans_model.h"
#include "decoder/constraint.h"
#include "decoder/decoder.h"
#include "decoder/explanation.h"
#include "decoder/option_table.h"
#include "decoder/shared_member.h"
#include "decoder/unk_translator.h"

namespace koralite::decoder {

class Decoder::Impl {
 public:
  Impl(SharedMember& shared, Constraint* constraint, const UnkTranslator* unknown);

  // Searches one chunk of 1 to kMaxWords words; its result stands until the next.
  void search_chunk(words_t words, std::string* log);

  // The text of a complete hypothesis of the chunk is appended to `text`, and its
  // links, in bytes from the text's first one, to `alignment` if that is given.
  // Bytes are counted from where the chunk's text starts.
  void trace_back(words_t words, const Hypothesis& hypothesis, std::string& text,
                  std::vector<common::align_t>* alignment);

  void translate(words_t words, std::string& output, std::vector<common::align_t>* alignment,
                 std::string* log);
  void translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                 std::vector<float>& totals, std::string* log);

  void explain(unsigned n, words_t words, explanation_t& explanation);

  BeamSearch& search() { return search_; }
  std::size_t memory() const;

 private:
  void preprocess(words_t words);
  void output_option(words_t words, const Option& option, std::string& text) const;
  // The options of a hypothesis's chain, in target order, into chain_.
  void follow(const Hypothesis& hypothesis);

  explained_option_t explain_option(const Option& option) const;
  derivation_t explain_derivation(words_t words, const Hypothesis& hypothesis,
                                  const std::vector<std::size_t>& places);

  // Trace lines.
  void write_line(std::string_view line, std::string* log) const;
  void trace_options(std::string* log) const;
  void trace_matrix(std::string* log) const;
  void trace_result(std::string* log);
  std::string print_option(const Option& option) const;
  std::string print_hypothesis(const Hypothesis& hypothesis) const;
  std::string hypothesis_name(const Hypothesis* hypothesis) const;

  const Parameter& parameter_;
  const Vocab& source_vocab_;
  const Vocab& target_vocab_;
  Constraint* constraint_;
  const UnkTranslator* unknown_;
  CompactTransModel trans_model_;
  OptionTable options_;
  BeamSearch search_;
  std::vector<std::int32_t> surface_ids_;
  std::vector<std::int32_t> search_ids_;
  std::vector<const Option*> chain_;
};

}  // namespace koralite::decoder
