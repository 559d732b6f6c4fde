// Translates one line so that what must survive does: spans that the recogniser finds or
// the caller names come out byte for byte, terms of the glossary as it says, copied words
// as they were written. Sentences above the search's reach are cut at clause ends.
//
// How: each span is replaced by a stand-in, a word that no step of the pipeline changes.
// It becomes one word with a fixed translation for the search, and is replaced by the
// span's bytes after the last step. Where a stand-in got lost or doubled on the way, the
// text between the spans is translated piece by piece instead: none is ever lost.
//
// Borrows the handle, which must outlive it; one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/align.h"
#include "document/glossary.h"
#include "document/span_recognizer.h"
#include "document/stand_ins.h"
#include "textProcess/lang_type.h"
#include "translator/trans_impl.h"

namespace koralite::document {

// A span that the caller found itself, and what comes out for it.
struct forced_span_t {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string text;
};

struct line_counts_t {
  std::size_t sentences = 0;
  std::size_t spans = 0;
  std::size_t rescued = 0;  // sentences whose spans the search lost, translated in pieces
};

struct line_result_t {
  std::string text;
  std::vector<common::align_t> links;  // bytes of the line, bytes of `text`; in order of `text`
};

class LineTranslator {
 public:
  LineTranslator(translator::TransImpl& handle, textProcess::LangType source,
                 textProcess::LangType target);

  SpanRecognizer& recognizer() { return recognizer_; }
  const SpanRecognizer& recognizer() const { return recognizer_; }
  Glossary& glossary() { return glossary_; }
  translator::TransImpl& handle() { return handle_; }
  textProcess::LangType source() const { return source_; }

  // Replaces `result`. The line holds no line feed and begins and ends in no space; `forced`
  // are in order, apart from one another and inside the line.
  void translate(std::string_view line, std::span<const forced_span_t> forced, bool with_links,
                 line_result_t& result);

  const line_counts_t& counts() const { return counts_; }
  void reset_counts() { counts_ = {}; }

 private:
  struct masked_t {
    std::string text;
    std::vector<std::int32_t> first;  // for each byte the first and last byte of the line that it
    std::vector<std::int32_t> last;   // stands for
  };
  struct accelerator_t {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string mark;  // "&F"
  };

  void mask(std::string_view line, std::span<const forced_span_t> forced);
  void put_stand_in(std::string_view line, held_t held);
  void put_bytes(std::string_view line, std::size_t begin, std::size_t end);
  void translate_sentence(std::string_view line, std::size_t begin, std::size_t end,
                          line_result_t& result);
  bool search(std::string_view line, std::size_t begin, std::size_t end, line_result_t& result);
  void rescue(std::string_view line, std::size_t begin, std::size_t end, line_result_t& result);
  void hold_words(const std::string& sentence, std::size_t begin,
                  textProcess::ProcessWordSeq& words);
  void apply_glossary(const std::string& sentence, std::size_t begin,
                      textProcess::ProcessWordSeq& words);
  void hold(common::word_node_t& node, textProcess::ProcessWordSeq& words, held_t held);
  void keep_copied(const std::string& sentence, std::size_t begin, std::size_t index,
                   textProcess::ProcessWordSeq& words);
  void decode(textProcess::ProcessWordSeq& words, std::string& decoded,
              std::vector<common::align_t>& links);
  void restore(std::string_view line, std::string_view output,
               const std::vector<found_stand_in_t>& found,
               const std::vector<common::align_t>& links, line_result_t& result) const;
  void keep_order(std::vector<found_stand_in_t>& found) const;
  bool keeps_together(std::string_view line, std::string_view output,
                      const std::vector<found_stand_in_t>& found, std::size_t which,
                      bool on_the_right) const;
  void put_accelerator(line_result_t& result) const;
  void join(std::string_view line, std::size_t from, std::size_t to, const line_result_t& next,
            line_result_t& result) const;
  const char* known_tag(const char* tag);

  translator::TransImpl& handle_;
  textProcess::LangType source_;
  textProcess::LangType target_;
  bool target_has_blanks_;
  SpanRecognizer recognizer_;
  Glossary glossary_;
  StandIns stand_ins_;
  masked_t masked_;
  std::optional<accelerator_t> accelerator_;
  bool with_links_ = false;
  line_counts_t counts_;
  line_result_t sentence_;  // kept for its memory
};

}  // namespace koralite::document
