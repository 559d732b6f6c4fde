// Translates documents: plain text with its layout, fragments of HTML and XML with their
// tags. Placeholders, addresses, terms and the like survive; see line_translator.h.
//
//   document::DocumentTranslator translator(handle, source, target);
//   translator.lines().glossary().add(table, false, handle);
//   const auto result = translator.translate_text(text, true);
//
// Text is UTF-8; any bytes are survived. Where a line holds nothing to protect, its
// translation is that of the handle, but for spaces between sentences, sentences above
// 32 words (cut at clause ends here) and capitals of unknown words (kept here).
//
// Borrows the handle, which must outlive it. Serves one thread at a time. Throws what the
// handle throws (std::runtime_error) and stays usable.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "common/align.h"
#include "document/line_translator.h"

namespace koralite::document {

struct document_result_t {
  std::string text;
  // In bytes of both whole documents, in order of the output. What is copied as layout or
  // markup has none.
  std::vector<common::align_t> links;
  std::size_t segments = 0;  // sentences translated
  std::size_t spans = 0;     // protected spans, all of which are in `text`
  std::size_t rescued = 0;   // sentences that were translated piece by piece, worth a look
};

struct markup_options_t {
  bool with_links = false;
  bool translates_attributes = false;  // alt, title, placeholder
};

// Puts a translated piece that begins at byte `offset` of the document after the result.
void append_piece(const line_result_t& piece, std::size_t offset, document_result_t& result);

class DocumentTranslator {
 public:
  DocumentTranslator(translator::TransImpl& handle, textProcess::LangType source,
                     textProcess::LangType target)
      : lines_(handle, source, target) {}

  // Plain text: line ends, indentation, list marks, tabs, spaces at the ends of lines come
  // out as they went in.
  document_result_t translate_text(std::string_view text, bool with_links);

  // HTML or XML. Inline tags follow their words and stay nested, none is lost or doubled;
  // block tags and <br> end sentences; pre, code, kbd, samp, script, style, textarea, svg,
  // math, comments and what is marked translate="no" is left alone. Entities are decoded
  // for translating and `&`, `<` and `>` written as entities again. What is no tag is text.
  document_result_t translate_markup(std::string_view text, const markup_options_t& options);

  // Recogniser, glossary, counts.
  LineTranslator& lines() { return lines_; }

 private:
  void translate_line(std::string_view line, std::size_t offset, bool with_links,
                      document_result_t& result);
  // The first `kept` bytes of a cell end in no layout.
  void translate_cell(std::string_view cell, std::size_t offset, std::size_t kept, bool with_links,
                      document_result_t& result);

  bool translate_tagged(std::string_view cell, std::size_t offset, bool with_links);
  void take_counts(document_result_t& result) const;

  LineTranslator lines_;
  line_result_t cell_;  // kept for its memory
};

}  // namespace koralite::document
