// Documents of HTML and XML.
#include <algorithm>
#include <string>
#include <utility>

#include "common/text_class.h"
#include "document/document_translator.h"
#include "document/inline_segment.h"
#include "document/markup_scanner.h"
#include "document/segment_builder.h"
#include "document/utf8.h"

namespace koralite::document {

namespace {

constexpr std::string_view kTranslated[] = {"alt", "placeholder", "title"};

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// A text with its entities decoded, blanks as single ones.
void append_decoded(std::string_view document, std::size_t begin, std::size_t end,
                    segment_t& segment) {
  segment.escapes.is_markup = true;
  for (std::size_t at = begin; at < end;) {
    const char c = document[at];
    if (is_space(c)) {
      const std::size_t first = at;
      while (at < end && is_space(document[at])) {
        ++at;
      }
      if (!segment.text.empty() && segment.text.back() != ' ') {
        segment.append(" ", first, at - 1);
      }
      continue;
    }
    std::size_t length = 1;
    if (c == '&') {
      const entity_t entity = entity_at(document.substr(0, end), at);
      if (entity.length > 0) {
        std::string decoded;
        append_character(entity.code == 0xA0 ? ' ' : entity.code, decoded);
        segment.append(decoded, at, at + entity.length - 1);
        at += entity.length;
        continue;
      }
      // An entity that has another name stays as it is.
      while (length < 33 && at + length < end &&
             common::text_is_digit_or_letter(document[at + length])) {
        ++length;
      }
      if (length > 1 && at + length < end && document[at + length] == ';') {
        SegmentBuilder::add_point(at, at + length + 1, std::string(document.substr(at, length + 1)),
                                  segment);
        at += length + 1;
        continue;
      }
      segment.escapes.bare_ampersand = true;
    } else if (c == '<') {
      segment.escapes.bare_less = true;
    } else if (c == '>') {
      segment.escapes.bare_greater = true;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      SegmentBuilder::add_point(at, at + 1, std::string(1, c), segment);
      ++at;
      continue;
    }
    segment.append(document.substr(at, 1), at, at);
    ++at;
  }
}

std::string escaped(std::string_view text, bool in_attribute) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += in_attribute ? "&quot;" : "\"";
        break;
      case '\'':
        result += in_attribute ? "&#39;" : "'";
        break;
      default:
        result += c;
    }
  }
  return result;
}

class MarkupTranslation {
 public:
  MarkupTranslation(LineTranslator& lines, std::string_view text, const markup_options_t& options,
                    document_result_t& result)
      : lines_(lines), text_(text), options_(options), result_(result), builder_(text) {}

  void run() {
    const std::vector<token_t> tokens = scan_markup(text_);
    is_xml_ = text_.substr(0, 64).find("<?xml") != std::string_view::npos &&
              std::none_of(tokens.begin(), tokens.end(),
                           [](const token_t& t) { return t.name == "html"; });
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      const token_t& token = tokens[i];
      switch (token.kind) {
        case TokenKind::kText:
          builder_.add({SegmentBuilder::Kind::kText, token.begin, token.end, {}, {}, false});
          break;
        case TokenKind::kOther:
          put_point(token.begin, token.end, false);
          break;
        case TokenKind::kOpen:
          if (is_left_alone(token, text_)) {
            i = leave_alone(tokens, i);
            break;
          }
          [[fallthrough]];
        default:
          put_tag(token);
      }
    }
    flush();
  }

 private:
  std::string_view bytes(std::size_t begin, std::size_t end) const {
    return text_.substr(begin, end - begin);
  }

  void put_point(std::size_t begin, std::size_t end, bool is_word) {
    builder_.add(
        {SegmentBuilder::Kind::kPoint, begin, end, std::string(bytes(begin, end)), {}, is_word});
  }

  // Takes an element as it is; gives the index of its last token.
  std::size_t leave_alone(const std::vector<token_t>& tokens, std::size_t i) {
    const token_t& token = tokens[i];
    const bool is_raw = token.name == "script" || token.name == "style";
    std::size_t last = token.match;
    if (last == 0) {
      if (!is_raw) {
        put_tag(token);
        return i;
      }
      last = tokens.size() - 1;
    }
    const std::size_t end = tokens[last].end;
    if (is_block(token.name, is_xml_)) {
      flush();
      result_.text += bytes(token.begin, end);
    } else {
      put_point(token.begin, end, true);
    }
    return last;
  }

  void put_tag(const token_t& token) {
    std::string markup = tag_text(token);
    if (is_block(token.name, is_xml_)) {
      flush();
      result_.text += markup;
      return;
    }
    const auto kind = token.kind == TokenKind::kOpen    ? SegmentBuilder::Kind::kOpen
                      : token.kind == TokenKind::kClose ? SegmentBuilder::Kind::kClose
                                                        : SegmentBuilder::Kind::kPoint;
    builder_.add({kind, token.begin, token.end, std::move(markup), token.name, false});
  }

  std::string tag_text(const token_t& token) {
    const std::string_view tag = bytes(token.begin, token.end);
    std::string result;
    std::size_t done = 0;
    if (options_.translates_attributes && token.kind != TokenKind::kClose &&
        tag.size() > token.name.size() + 6) {
      for (const attribute_t& attribute : attributes_of(tag)) {
        if (!attribute.quoted || std::find(std::begin(kTranslated), std::end(kTranslated),
                                           attribute.name) == std::end(kTranslated)) {
          continue;
        }
        segment_t value;
        append_decoded(text_, token.begin + attribute.begin, token.begin + attribute.end, value);
        if (!value.points.empty() || !has_words(value.text)) {
          continue;
        }
        lines_.translate(value.text, {}, false, attribute_);
        result += tag.substr(done, attribute.begin - done);
        result += escaped(attribute_.text, true);
        done = attribute.end;
      }
    }
    return result += tag.substr(done);
  }

  static bool has_words(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
      return common::text_is_letter(c) || common::text_is_non_ascii(c);
    });
  }

  void flush() {
    if (builder_.empty()) {
      return;
    }
    const bool some = builder_.finish(segment_, before_, after_,
                                      [&](std::size_t begin, std::size_t end, segment_t& segment) {
                                        append_decoded(text_, begin, end, segment);
                                      });
    result_.text += before_;
    if (some && !has_words(segment_.text)) {
      result_.text += builder_.inside();
    } else if (some) {
      translate_segment(lines_, segment_, options_.with_links, piece_);
      append_piece(piece_, 0, result_);
    }
    result_.text += after_;
  }

  LineTranslator& lines_;
  std::string_view text_;
  const markup_options_t& options_;
  document_result_t& result_;
  SegmentBuilder builder_;
  bool is_xml_ = false;
  segment_t segment_;
  std::string before_;
  std::string after_;
  line_result_t piece_;
  line_result_t attribute_;
};

}  // namespace

document_result_t DocumentTranslator::translate_markup(std::string_view text,
                                                       const markup_options_t& options) {
  document_result_t result;
  lines_.reset_counts();
  MarkupTranslation(lines_, text, options, result).run();
  take_counts(result);
  return result;
}

}  // namespace koralite::document
