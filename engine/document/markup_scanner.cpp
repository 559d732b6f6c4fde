#include "document/markup_scanner.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "common/text_class.h"

namespace koralite::document {

namespace {

using common::text_is_digit;
using common::text_is_digit_or_letter;
using common::text_is_letter;

constexpr std::size_t kLongestTag = std::size_t{1} << 16U;

// All lists are in order of the alphabet.
constexpr std::string_view kBlocks[] = {
    "address", "article",  "aside",      "blockquote", "body",   "br",       "caption", "center",
    "col",     "colgroup", "dd",         "details",    "dialog", "dir",      "div",     "dl",
    "dt",      "fieldset", "figcaption", "figure",     "footer", "form",     "frame",   "frameset",
    "h1",      "h2",       "h3",         "h4",         "h5",     "h6",       "head",    "header",
    "hgroup",  "hr",       "html",       "iframe",     "legend", "li",       "link",    "main",
    "menu",    "meta",     "nav",        "noscript",   "ol",     "optgroup", "option",  "p",
    "pre",     "script",   "section",    "select",     "source", "style",    "summary", "table",
    "tbody",   "td",       "template",   "textarea",   "tfoot",  "th",       "thead",   "title",
    "tr",      "ul"};
constexpr std::string_view kInline[] = {
    "a",    "abbr", "acronym", "b",         "bdi",      "bdo",  "big",    "bpt",      "bx",
    "cite", "code", "data",    "del",       "dfn",      "ec",   "em",     "emphasis", "ept",
    "ex",   "font", "g",       "guibutton", "guilabel", "i",    "img",    "input",    "ins",
    "it",   "kbd",  "label",   "literal",   "mark",     "mrk",  "pc",     "ph",       "q",
    "ruby", "s",    "samp",    "sc",        "small",    "span", "strike", "strong",   "sub",
    "sup",  "time", "tt",      "u",         "var",      "wbr",  "x"};
constexpr std::string_view kVoid[] = {"area",  "base", "br",   "col",   "embed",  "hr",    "img",
                                      "input", "link", "meta", "param", "source", "track", "wbr"};
constexpr std::string_view kCode[] = {"code",   "kbd",   "math", "pre",     "samp",
                                      "script", "style", "svg",  "textarea"};

template <std::size_t kCount>
bool is_one_of(std::string_view word, const std::string_view (&list)[kCount]) {
  return std::binary_search(std::begin(list), std::end(list), word);
}

constexpr std::pair<std::string_view, char32_t> kEntities[] = {
    {"amp", '&'},      {"apos", '\''},    {"bull", 0x2022},   {"cent", 0xA2},    {"copy", 0xA9},
    {"darr", 0x2193},  {"deg", 0xB0},     {"divide", 0xF7},   {"eacute", 0xE9},  {"egrave", 0xE8},
    {"euro", 0x20AC},  {"gt", '>'},       {"hellip", 0x2026}, {"laquo", 0xAB},   {"larr", 0x2190},
    {"ldquo", 0x201C}, {"lsquo", 0x2018}, {"lt", '<'},        {"mdash", 0x2014}, {"micro", 0xB5},
    {"middot", 0xB7},  {"minus", 0x2212}, {"nbsp", 0xA0},     {"ndash", 0x2013}, {"ouml", 0xF6},
    {"para", 0xB6},    {"plusmn", 0xB1},  {"pound", 0xA3},    {"quot", '"'},     {"raquo", 0xBB},
    {"rarr", 0x2192},  {"rdquo", 0x201D}, {"reg", 0xAE},      {"rsquo", 0x2019}, {"sect", 0xA7},
    {"times", 0xD7},   {"trade", 0x2122}, {"uarr", 0x2191},   {"uuml", 0xFC},    {"yen", 0xA5}};

char byte(std::string_view text, std::size_t at) {
  return at < text.size() ? text[at] : '\0';
}

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool is_name_byte(char c) {
  return text_is_digit_or_letter(c) || c == '_' || c == '-' || c == ':' || c == '.';
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), common::text_to_lower);
  return lower;
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::vector<token_t> run() {
    std::size_t text_begin = 0;
    for (std::size_t at = 0; at < text_.size();) {
      at = std::min(text_.find('<', at), text_.size());
      token_t token;
      if (at == text_.size() || !read_tag(at, token)) {
        at += at < text_.size() ? 1 : 0;
        continue;
      }
      put_text(text_begin, at);
      at = text_begin = token.end;
      const bool is_raw =
          token.kind == TokenKind::kOpen && (token.name == "script" || token.name == "style");
      const std::string name = token.name;
      tokens_.push_back(std::move(token));
      if (is_raw) {
        at = text_begin = put_raw(name, at);
      }
    }
    put_text(text_begin, text_.size());
    match();
    return std::move(tokens_);
  }

 private:
  void put_text(std::size_t begin, std::size_t end) {
    if (begin < end) {
      tokens_.push_back({TokenKind::kText, begin, end, {}, 0});
    }
  }

  // The inside of a script is text up to its closing tag, or to the end of the document.
  std::size_t put_raw(const std::string& name, std::size_t at) {
    std::size_t end = at;
    for (;; ++end) {
      end = std::min(text_.find("</", end), text_.size());
      if (end == text_.size() || lowered(text_.substr(end + 2, name.size())) == name) {
        break;
      }
    }
    put_text(at, end);
    return end;
  }

  // The next end of a kind of tag, looked for once.
  struct next_end_t {
    std::size_t from = 0;
    std::size_t end = 0;  // behind the mark; 0 before the first search
  };

  // The end of what ends in `mark`, or 0.
  std::size_t end_of(std::string_view mark, std::size_t at, next_end_t& next) {
    const bool known = next.end > 0 && next.from <= at && at + mark.size() <= next.end;
    if (!known) {
      next.from = at;
      const std::size_t found = text_.find(mark, at);
      next.end = found == std::string_view::npos ? std::string_view::npos : found + mark.size();
    }
    return next.end == std::string_view::npos ? 0 : next.end;
  }

  bool read_tag(std::size_t at, token_t& token) {
    token.begin = at;
    const std::string_view rest = text_.substr(at);
    if (rest.starts_with("<!--")) {
      token.kind = TokenKind::kOther;
      token.end = end_of("-->", at + 4, comment_end_);
      return token.end > 0;
    }
    if (rest.starts_with("<![CDATA[")) {
      token.kind = TokenKind::kOther;
      token.end = end_of("]]>", at + 9, section_end_);
      return token.end > 0;
    }
    if (rest.starts_with("<?")) {
      token.kind = TokenKind::kOther;
      token.end = end_of("?>", at + 2, instruction_end_);
      return token.end > 0;
    }
    if (rest.starts_with("<!")) {
      token.kind = TokenKind::kOther;
      token.end = text_is_letter(byte(text_, at + 2)) ? end_of(">", at + 2, tag_end_) : 0;
      return token.end > 0;
    }
    const bool closes = byte(text_, at + 1) == '/';
    const std::size_t name = at + (closes ? 2 : 1);
    if (!text_is_letter(byte(text_, name))) {
      return false;
    }
    std::size_t end = name;
    while (end < text_.size() && is_name_byte(text_[end])) {
      ++end;
    }
    const char after = byte(text_, end);
    if (end - name > 64 ||
        !(is_space(after) || after == '>' || (after == '/' && byte(text_, end + 1) == '>'))) {
      return false;
    }
    const std::size_t first_close = end_of(">", end, tag_end_);
    if (first_close == 0) {
      return false;
    }
    token.name = lowered(text_.substr(name, end - name));
    token.end = tag_end(end, first_close);
    if (token.end == 0) {
      return false;
    }
    token.kind = closes                                                        ? TokenKind::kClose
                 : text_[token.end - 2] == '/' || is_one_of(token.name, kVoid) ? TokenKind::kEmpty
                                                                               : TokenKind::kOpen;
    return true;
  }

  // Behind the ">" outside of quotes; where quotes don't close, behind the first one. 0 where
  // another tag begins before that.
  std::size_t tag_end(std::size_t at, std::size_t first_close) const {
    const std::size_t limit = std::min(text_.size(), at + kLongestTag);
    char quote = '\0';
    for (std::size_t i = at; i < limit; ++i) {
      const char c = text_[i];
      if (quote != '\0') {
        quote = c == quote ? '\0' : quote;
      } else if (c == '>') {
        return i + 1;
      } else if ((c == '"' || c == '\'') && text_[i - 1] == '=') {
        quote = c;
      } else if (c == '<') {
        return 0;
      }
    }
    return first_close;
  }

  // Pairs opening and closing tags of one name.
  void match() {
    std::unordered_map<std::string_view, std::vector<std::size_t>> open;
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      if (tokens_[i].kind == TokenKind::kOpen) {
        open[tokens_[i].name].push_back(i);
      } else if (tokens_[i].kind == TokenKind::kClose) {
        const auto found = open.find(tokens_[i].name);
        if (found != open.end() && !found->second.empty()) {
          tokens_[found->second.back()].match = i;
          found->second.pop_back();
        }
      }
    }
  }

  std::string_view text_;
  std::vector<token_t> tokens_;
  next_end_t comment_end_;
  next_end_t section_end_;
  next_end_t instruction_end_;
  next_end_t tag_end_;
};

}  // namespace

std::vector<token_t> scan_markup(std::string_view text) {
  return Scanner(text).run();
}

bool is_block(std::string_view name, bool is_xml) {
  return is_one_of(name, kBlocks) || (is_xml && !is_one_of(name, kInline));
}

bool is_left_alone(const token_t& token, std::string_view text) {
  if (is_one_of(token.name, kCode)) {
    return true;
  }
  const std::string_view tag = text.substr(token.begin, token.end - token.begin);
  if (tag.size() < token.name.size() + 10) {
    return false;
  }
  for (const attribute_t& attribute : attributes_of(tag)) {
    const std::string_view value = tag.substr(attribute.begin, attribute.end - attribute.begin);
    if ((attribute.name == "translate" && lowered(value) == "no") ||
        (attribute.name == "class" && value.find("notranslate") != std::string_view::npos)) {
      return true;
    }
  }
  return false;
}

std::vector<attribute_t> attributes_of(std::string_view tag) {
  std::vector<attribute_t> attributes;
  std::size_t at = 1;
  while (at < tag.size() && is_name_byte(tag[at])) {
    ++at;
  }
  while (at + 1 < tag.size()) {
    while (at < tag.size() && !is_name_byte(tag[at])) {
      ++at;
    }
    attribute_t attribute;
    const std::size_t name = at;
    while (at < tag.size() && is_name_byte(tag[at])) {
      ++at;
    }
    attribute.name = lowered(tag.substr(name, at - name));
    while (at < tag.size() && is_space(tag[at])) {
      ++at;
    }
    if (byte(tag, at) != '=') {
      continue;
    }
    ++at;
    while (at < tag.size() && is_space(tag[at])) {
      ++at;
    }
    const char quote = byte(tag, at);
    if (quote == '"' || quote == '\'') {
      attribute.quoted = true;
      attribute.begin = ++at;
      attribute.end = tag.find(quote, at);
      if (attribute.end == std::string_view::npos) {
        break;
      }
      at = attribute.end + 1;
    } else {
      attribute.begin = at;
      while (at + 1 < tag.size() && !is_space(tag[at])) {
        ++at;
      }
      attribute.end = at;
    }
    attributes.push_back(std::move(attribute));
  }
  return attributes;
}

entity_t entity_at(std::string_view text, std::size_t at) {
  std::size_t end = at + 1;
  if (byte(text, end) == '#') {
    const bool hex = byte(text, end + 1) == 'x' || byte(text, end + 1) == 'X';
    end += hex ? 2 : 1;
    const std::size_t first = end;
    char32_t code = 0;
    for (; end - first < 8; ++end) {
      const char c = common::text_to_lower(byte(text, end));
      if (text_is_digit(c)) {
        code = code * (hex ? 16 : 10) + static_cast<char32_t>(c - '0');
      } else if (hex && c >= 'a' && c <= 'f') {
        code = code * 16 + static_cast<char32_t>(c - 'a' + 10);
      } else {
        break;
      }
    }
    const bool is_character = code >= 0x20 && code <= 0x10FFFF &&
                              (code < 0xD800 || code > 0xDFFF) && (code < 0x7F || code > 0x9F);
    return end > first && byte(text, end) == ';' && is_character ? entity_t{code, end + 1 - at}
                                                                 : entity_t{};
  }
  while (text_is_digit_or_letter(byte(text, end)) && end - at < 32) {
    ++end;
  }
  if (byte(text, end) != ';') {
    return {};
  }
  const std::string_view name = text.substr(at + 1, end - at - 1);
  const auto* const found = std::lower_bound(
      std::begin(kEntities), std::end(kEntities), name,
      [](const auto& entry, std::string_view wanted) { return entry.first < wanted; });
  return found != std::end(kEntities) && found->first == name
             ? entity_t{found->second, end + 1 - at}
             : entity_t{};
}

}  // namespace koralite::document
