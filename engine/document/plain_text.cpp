// The layout of plain text.
#include <algorithm>
#include <utility>

#include "common/text_class.h"
#include "document/document_translator.h"
#include "document/inline_segment.h"
#include "document/markup_scanner.h"
#include "document/segment_builder.h"
#include "document/utf8.h"

namespace koralite::document {

namespace {

constexpr std::string_view kWideBlanks[] = {"\xC2\xA0", "\xE3\x80\x80", "\xEF\xBB\xBF"};
constexpr std::string_view kBullets[] = {"-", "*", "+", ">", "•", "◦", "‣",
                                         "·", "–", "—", "●", "■", "○"};

bool is_thin_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\0' || c == '\v' || c == '\f';
}

std::size_t leading_blanks(std::string_view text) {
  std::size_t at = 0;
  for (bool more = true; more && at < text.size();) {
    more = false;
    if (is_thin_blank(text[at])) {
      ++at;
      more = true;
      continue;
    }
    for (const std::string_view blank : kWideBlanks) {
      if (text.substr(at).starts_with(blank)) {
        at += blank.size();
        more = true;
        break;
      }
    }
  }
  return at;
}

std::size_t without_trailing_blanks(std::string_view text) {
  std::size_t end = text.size();
  for (bool more = true; more && end > 0;) {
    more = false;
    if (is_thin_blank(text[end - 1])) {
      --end;
      more = true;
      continue;
    }
    for (const std::string_view blank : kWideBlanks) {
      if (text.substr(0, end).ends_with(blank)) {
        end -= blank.size();
        more = true;
        break;
      }
    }
  }
  return end;
}

// The length of a list mark with the blanks behind it, or 0.
std::size_t list_mark(std::string_view text) {
  std::size_t end = 0;
  for (const std::string_view bullet : kBullets) {
    if (text.starts_with(bullet)) {
      end = bullet.size();
      break;
    }
  }
  if (end == 0 && text.starts_with('#')) {
    end = std::min(text.find_first_not_of('#'), text.size());
    end = end > 6 ? 0 : end;
  }
  if (end == 0) {
    std::size_t i = 0;
    while (i < text.size() && i < 4 && common::text_is_digit(text[i])) {
      ++i;
    }
    if (i == 0 && !text.empty() && common::text_is_letter(text[0]) &&
        text.substr(1).starts_with(')')) {
      i = 1;
    }
    if (i > 0 && i < 4 && i < text.size() && (text[i] == '.' || text[i] == ')')) {
      end = i + 1;
    }
  }
  if (end == 0 || end == text.size() || (text[end] != ' ' && text[end] != '\t')) {
    return 0;
  }
  return end + leading_blanks(text.substr(end));
}

}  // namespace

void append_piece(const line_result_t& piece, std::size_t offset, document_result_t& result) {
  const auto source = static_cast<std::int32_t>(offset);
  const auto target = static_cast<std::int32_t>(result.text.size());
  for (const common::align_t& link : piece.links) {
    result.links.push_back({link.source_first + source, link.source_last + source,
                            link.target_first + target, link.target_last + target});
  }
  result.text += piece.text;
}

// Pairs of tags in plain text go around their words, as in markup; links are in bytes of the
// document. False if there is no pair.
bool DocumentTranslator::translate_tagged(std::string_view cell, std::size_t offset,
                                          bool with_links) {
  if ((lines_.recognizer().kinds() & kTags) == 0 || cell.find("</") == std::string_view::npos) {
    return false;
  }
  std::vector<token_t> tokens = scan_markup(cell);
  if (std::none_of(tokens.begin(), tokens.end(),
                   [](const token_t& token) { return token.match > 0; })) {
    return false;
  }
  SegmentBuilder builder(cell);
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const token_t& token = tokens[i];
    const std::string bytes(cell.substr(token.begin, token.end - token.begin));
    using Kind = SegmentBuilder::Kind;
    if (token.kind == TokenKind::kText) {
      builder.add({Kind::kText, token.begin, token.end, {}, {}, false});
    } else if (token.kind == TokenKind::kOpen) {
      builder.add({Kind::kOpen, token.begin, token.end, bytes, token.name, false});
    } else if (token.kind == TokenKind::kClose) {
      builder.add({Kind::kClose, token.begin, token.end, bytes, token.name, false});
    } else {
      builder.add({Kind::kPoint, token.begin, token.end, bytes, {}, true});
    }
  }
  segment_t segment;
  std::string before;
  std::string after;
  cell_.text.clear();
  cell_.links.clear();
  const bool some = builder.finish(
      segment, before, after, [&](std::size_t begin, std::size_t end, segment_t& into) {
        for (std::size_t at = begin; at < end; ++at) {
          if (cell[at] == kPointByte || cell[at] == '\x1C' || cell[at] == '\x1D') {
            SegmentBuilder::add_point(at, at + 1, std::string(1, cell[at]), into);
          } else {
            into.append(cell.substr(at, 1), at, at);
          }
        }
      });
  line_result_t piece;
  if (some) {
    translate_segment(lines_, segment, with_links, piece);
  }
  document_result_t whole;
  whole.text = before;
  append_piece(piece, 0, whole);
  cell_.text = whole.text + after;
  cell_.links = std::move(whole.links);
  for (common::align_t& link : cell_.links) {
    link.source_first += static_cast<std::int32_t>(offset);
    link.source_last += static_cast<std::int32_t>(offset);
  }
  return true;
}

void DocumentTranslator::translate_cell(std::string_view cell, std::size_t offset, std::size_t kept,
                                        bool with_links, document_result_t& result) {
  const std::size_t begin = leading_blanks(cell);
  const std::size_t end =
      std::max({begin, kept, begin + without_trailing_blanks(cell.substr(begin))});
  result.text += cell.substr(0, begin);
  if (begin < end) {
    const std::string_view words = cell.substr(begin, end - begin);
    if (translate_tagged(words, offset + begin, with_links)) {
      append_piece(cell_, 0, result);
    } else {
      lines_.translate(words, {}, with_links, cell_);
      append_piece(cell_, offset + begin, result);
    }
  }
  result.text += cell.substr(end);
}

void DocumentTranslator::translate_line(std::string_view line, std::size_t offset, bool with_links,
                                        document_result_t& result) {
  const std::vector<span_t> spans = lines_.recognizer().find(line);
  const std::size_t first_span = spans.empty() ? line.size() : spans.front().begin;
  std::size_t begin = std::min(leading_blanks(line), first_span);
  if (const std::size_t mark = list_mark(line.substr(begin)); begin + mark <= first_span) {
    begin += mark;
  }
  result.text += line.substr(0, begin);
  // A TAB inside a span parts no cells, a blank at its end is no layout.
  std::size_t next = 0;
  while (begin < line.size()) {
    std::size_t end = std::min(line.find('\t', begin), line.size());
    std::size_t kept = begin;  // what no trimming may cut off
    for (; next < spans.size() && spans[next].begin < end; ++next) {
      kept = spans[next].end;
      if (spans[next].end > end) {
        end = std::min(line.find('\t', spans[next].end), line.size());
      }
    }
    translate_cell(line.substr(begin, end - begin), offset + begin, kept - begin, with_links,
                   result);
    if (end < line.size()) {
      result.text += '\t';
    }
    begin = end + 1;
  }
}

document_result_t DocumentTranslator::translate_text(std::string_view text, bool with_links) {
  document_result_t result;
  lines_.reset_counts();
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    translate_line(text.substr(begin, end - begin), begin, with_links, result);
    if (end < text.size()) {
      result.text += '\n';
    }
    begin = end + 1;
  }
  take_counts(result);
  return result;
}

void DocumentTranslator::take_counts(document_result_t& result) const {
  result.segments = lines_.counts().sentences;
  result.spans = lines_.counts().spans;
  result.rescued = lines_.counts().rescued;
}

}  // namespace koralite::document
