#include "document/span_recognizer.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "common/text_class.h"
#include "document/utf8.h"

namespace koralite::document {

using common::ByteSet;
using common::text_is_digit;
using common::text_is_digit_or_letter;
using common::text_is_letter;
using common::text_is_lower;
using common::text_is_non_ascii;
using common::text_is_upper;
using common::text_is_word_byte;
using textProcess::LangType;

namespace {

constexpr std::size_t kNone = 0;
constexpr std::size_t kReach = 256;      // bytes that a placeholder may have
constexpr std::size_t kTagReach = 4096;  // bytes that a tag may have
constexpr std::size_t kMostPatterns = 64;

// What may stand before an option, a path or a mention.
constexpr ByteSet kOpeners(" \t\n\r\"'`([{<|,=:;/");
constexpr ByteSet kPathBytes("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ",
                             "0123456789_-.+~/*");
constexpr ByteSet kHostBytes("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ",
                             "0123456789-.");
constexpr ByteSet kMailBytes("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ",
                             "0123456789_-.+%");
constexpr ByteSet kUrlBytes("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789",
                            "-._~:/?#[]@!$&'()*+,;=%{}|\\^");
constexpr std::string_view kSentenceMarks = ".,:;!?'\"";

constexpr std::string_view kExtensions[] = {
    "7z",   "a",       "asc",  "avi",   "bak",        "bash", "bat", "bin",  "bmp",  "bz2", "c",
    "cc",   "cfg",     "cgi",  "class", "cmake",      "conf", "cpp", "crt",  "css",  "csv", "db",
    "deb",  "desktop", "diff", "dll",   "doc",        "docx", "dtd", "el",   "elf",  "eps", "exe",
    "flac", "gif",     "gpg",  "gz",    "h",          "hpp",  "htm", "html", "ico",  "img", "in",
    "info", "ini",     "iso",  "jar",   "java",       "jpeg", "jpg", "js",   "json", "key", "ko",
    "log",  "lua",     "m3u",  "m4",    "md",         "mkv",  "mo",  "mov",  "mp3",  "mp4", "mpeg",
    "o",    "odp",     "ods",  "odt",   "ogg",        "pdf",  "pem", "php",  "pl",   "pm",  "png",
    "po",   "pot",     "ppt",  "pptx",  "properties", "ps",   "py",  "qml",  "rar",  "rb",  "rc",
    "rpm",  "rs",      "rst",  "rtf",   "service",    "sh",   "so",  "sql",  "srt",  "svg", "tar",
    "tex",  "tgz",     "tiff", "toml",  "tmp",        "ts",   "ttf", "txt",  "ui",   "vtt", "wav",
    "webm", "webp",    "xcf",  "xhtml", "xls",        "xlsx", "xml", "xpm",  "xsd",  "xsl", "xz",
    "yaml", "yml",     "zip",  "zst"};

constexpr std::string_view kDomains[] = {"app", "biz", "cn",  "co",  "com", "de", "dev", "edu",
                                         "eu",  "fr",  "gov", "hk",  "io",  "jp", "kr",  "me",
                                         "mil", "net", "nl",  "org", "ru",  "tw", "uk",  "us"};

template <std::size_t kCount>
bool is_one_of(std::string_view word, const std::string_view (&list)[kCount]) {
  std::array<char, 12> lower{};
  if (word.empty() || word.size() > lower.size()) {
    return false;
  }
  std::transform(word.begin(), word.end(), lower.begin(), common::text_to_lower);
  const std::string_view wanted(lower.data(), word.size());
  return std::find(std::begin(list), std::end(list), wanted) != std::end(list);
}

}  // namespace

// One pass over one text.
class SpanScan {
 public:
  SpanScan(const SpanRecognizer& rules, std::string_view text) : rules_(rules), text_(text) {}

  std::vector<span_t> run() {
    std::vector<span_t> spans;
    for (std::size_t i = 0; i < text_.size();) {
      span_t span{i, i, kFormats};
      if (find_at(span)) {
        spans.push_back(span);
        i = span.end;
      } else {
        i += text_is_non_ascii(text_[i]) ? character_at(text_, i).length : 1;
      }
    }
    return spans;
  }

 private:
  char byte(std::size_t at) const { return at < text_.size() ? text_[at] : '\0'; }
  bool is(span_kind_t kind) const { return (rules_.kinds_ & kind) != 0; }
  // Whether a word begins at `at`, where a word byte or a non-ASCII byte stands.
  bool begins_word(std::size_t at) const { return at == 0 || !text_is_word_byte(text_[at - 1]); }
  bool after_opener(std::size_t at) const {
    return at == 0 || kOpeners.contains(text_[at - 1]) || text_is_non_ascii(text_[at - 1]);
  }
  std::size_t word_end(std::size_t at) const {
    while (at < text_.size() && text_is_word_byte(text_[at])) {
      ++at;
    }
    return at;
  }

  // Each gives the end of what begins at `at`, or kNone.
  std::size_t pattern(std::size_t at) const {
    for (const std::string& pattern : rules_.patterns_) {
      if (const std::size_t end = match(pattern, at); end != kNone) {
        return end;
      }
    }
    return kNone;
  }

  std::size_t match(const std::string& pattern, std::size_t at) const {
    for (std::size_t p = 0; p < pattern.size(); ++p) {
      const char c = pattern[p];
      const std::size_t limit = std::min(text_.size(), at + kReach);
      if (c == '*' || c == '#') {
        const std::size_t first = at;
        while (at < limit &&
               (text_is_digit(text_[at]) ||
                (c == '*' && (text_is_word_byte(text_[at]) || text_is_non_ascii(text_[at]))))) {
          ++at;
        }
        if (at == first) {
          return kNone;
        }
        continue;
      }
      if (at >= text_.size() || text_[at] == '\n' ||
          (c == '?' && static_cast<unsigned char>(text_[at]) <= ' ')) {
        return kNone;
      }
      if (c == '\\') {
        ++p;
      }
      if (c != '?' && text_[at] != pattern[p]) {
        return kNone;
      }
      ++at;
    }
    // A span ends between characters.
    while (at < text_.size() && is_continuation_byte(text_[at])) {
      ++at;
    }
    return at;
  }

  std::size_t printf_format(std::size_t at) const {
    std::size_t i = at + 1;
    const char first = byte(i);
    if (first == '%') {
      return at + 2;
    }
    if (first == '(' || first == '{') {
      const std::size_t close = close_within(i + 1, first == '(' ? ')' : '}');
      if (close == kNone) {
        return kNone;
      }
      return first == '{' ? close + 1 : conversion(close + 1, kNone, at);
    }
    if (text_is_letter(first) || first == '_') {
      const std::size_t end = word_end(i);  // %NAME%
      if (end > i + 1 && byte(end) == '%' && !text_is_word_byte(byte(end + 1)) &&
          byte(end + 1) != '%' && end - i < kReach) {
        return end + 1;
      }
    }
    if (first == 'L' && text_is_digit(byte(i + 1))) {
      ++i;
    }
    std::size_t digits = i;
    while (text_is_digit(byte(digits)) && digits - i < 3) {
      ++digits;
    }
    if (digits > i && byte(digits) == '$') {
      return conversion(digits + 1, kNone, at);
    }
    const bool numbered =
        digits > i && first != '0' && digits - i <= 2 && !(at > 0 && text_is_digit(text_[at - 1]));
    if (numbered && first == 'L') {
      return digits;
    }
    return conversion(at + 1, numbered ? digits : kNone, at);
  }

  // The rest of a printf format behind "%", "%1$" or "%(name)"; `otherwise` if there is none.
  std::size_t conversion(std::size_t i, std::size_t otherwise, std::size_t percent) const {
    const std::size_t begin = i;
    while (i - begin < 8 && ByteSet("-+#0'").contains(byte(i)) && i < text_.size()) {
      ++i;
    }
    const auto number = [&] {
      if (byte(i) == '*') {
        ++i;
        return;
      }
      for (std::size_t n = 0; n < 6 && text_is_digit(byte(i)); ++n) {
        ++i;
      }
    };
    number();
    if (byte(i) == '.') {
      ++i;
      number();
    }
    if (byte(i) == 'l' || byte(i) == 'h') {
      i += byte(i + 1) == byte(i) ? 2 : 1;
    } else if (byte(i) != '\0' && ByteSet("Lqjzt").contains(byte(i)) &&
               ByteSet("diouxXeEfFgG").contains(byte(i + 1)) && byte(i + 1) != '\0') {
      ++i;
    }
    const char c = byte(i);
    if (c == '\0') {
      return otherwise;
    }
    // "50%of": a percentage, not a format.
    const bool after_digit = percent > 0 && text_is_digit(text_[percent - 1]);
    const bool word_follows = text_is_lower(byte(i + 1)) && text_is_lower(byte(i + 2));
    if (ByteSet("diouxXeEfFgGcsSpn@").contains(c)) {
      return after_digit && i == percent + 1 && word_follows ? otherwise : i + 1;
    }
    if (i == percent + 1 && ByteSet("YHMBbymZzIlkLNDTRuwWAaCrUVGhpj").contains(c) &&
        !text_is_letter(byte(i + 1)) && !after_digit) {
      return i + 1;
    }
    return otherwise;
  }

  // The position of `close` from `at` on, without blank or line feed before it, or kNone.
  std::size_t close_within(std::size_t at, char close) const {
    const std::size_t limit = std::min(text_.size(), at + kReach);
    for (std::size_t i = at; i < limit; ++i) {
      if (text_[i] == close) {
        return i > at ? i : kNone;
      }
      if (text_[i] == ' ' || text_[i] == '\n' || text_[i] == '\t' || text_[i] == '\r') {
        return kNone;
      }
    }
    return kNone;
  }

  std::size_t braces(std::size_t at) const {
    const std::size_t limit = std::min(text_.size(), at + kReach);
    const bool two = byte(at + 1) == '{' || byte(at + 1) == '%';
    if (byte(at + 1) == '}') {
      return at + 2;
    }
    if (!two && !text_is_word_byte(byte(at + 1)) && byte(at + 1) != ':' && byte(at + 1) != '$' &&
        byte(at + 1) != '@' && byte(at + 1) != '!') {
      return kNone;
    }
    int depth = 0;
    for (std::size_t i = at; i < limit; ++i) {
      const char c = text_[i];
      if (c == '\n' || (!two && (c == ' ' || c == '\t'))) {
        return kNone;
      }
      if (c == '{') {
        ++depth;
      } else if (c == '}' && --depth == 0) {
        return i + 1;
      }
    }
    return kNone;
  }

  std::size_t dollar(std::size_t at) const {
    const char next = byte(at + 1);
    if (next == '{' || next == '(') {
      const std::size_t close = close_within(at + 2, next == '{' ? '}' : ')');
      return close == kNone ? kNone : close + 1;
    }
    if ((text_is_letter(next) || next == '_') && begins_word(at)) {
      return word_end(at + 1);
    }
    return kNone;
  }

  std::size_t entity(std::size_t at) const {
    std::size_t i = at + 1;
    if (byte(i) == '#') {
      ++i;
    }
    const std::size_t first = i;
    while (text_is_digit_or_letter(byte(i)) && i - first < 32) {
      ++i;
    }
    return i > first && byte(i) == ';' ? i + 1 : kNone;
  }

  // "&File", "_File": the mark and the word behind it.
  std::size_t accelerator(std::size_t at) const {
    const char mark = text_[at];
    if (!text_is_digit_or_letter(byte(at + 1))) {
      return kNone;
    }
    if (at > 0 && (text_is_word_byte(text_[at - 1]) || text_[at - 1] == mark)) {
      return kNone;
    }
    std::size_t end = at + 1;
    while (text_is_digit_or_letter(byte(end))) {
      ++end;
    }
    if (byte(end) == '_' || byte(end) == mark || byte(end) == '(' || byte(end) == '=') {
      return kNone;
    }
    return end;
  }

  // "(&F)", as languages without an alphabet have it.
  std::size_t bracketed_accelerator(std::size_t at, std::size_t open,
                                    std::string_view close) const {
    const std::size_t mark = at + open;
    const bool fits = (byte(mark) == '&' || byte(mark) == '_') &&
                      text_is_digit_or_letter(byte(mark + 1)) &&
                      text_.substr(std::min(mark + 2, text_.size())).starts_with(close);
    return fits ? mark + 2 + close.size() : kNone;
  }

  std::size_t tag(std::size_t at) {
    std::size_t i = at + 1;
    if (text_.substr(at).starts_with("<!--")) {
      const std::size_t end = text_.substr(at, kTagReach).find("-->", 4);
      const std::size_t line = text_.substr(at, kTagReach).find('\n');
      return end == std::string_view::npos || line < end ? kNone : at + end + 3;
    }
    if (byte(i) == '/') {
      ++i;
    }
    if (!text_is_letter(byte(i)) && byte(i) != '_' && byte(i) != '?' && byte(i) != '!') {
      return kNone;
    }
    char quote = '\0';
    const std::size_t limit = std::min(text_.size(), at + kTagReach);
    // Where the last attempt saw no end, the next one sees none before the same place.
    if (i < no_tag_end_) {
      return kNone;
    }
    for (; i < limit; ++i) {
      const char c = text_[i];
      if (c == '\n') {
        break;
      }
      if (quote != '\0') {
        quote = c == quote ? '\0' : quote;
      } else if (c == '>') {
        return i + 1;
      } else if (c == '<') {
        return kNone;
      } else if ((c == '"' || c == '\'') && text_[i - 1] == '=') {
        quote = c;
      }
    }
    if (quote == '\0') {
      no_tag_end_ = i;
    }
    return kNone;
  }

  std::size_t backticks(std::size_t at) {
    if (at < no_backtick_) {
      return kNone;
    }
    const std::size_t limit = std::min(text_.size(), at + kReach);
    std::size_t open = at;
    while (open < limit && text_[open] == '`') {
      ++open;
    }
    const std::string_view mark = text_.substr(at, open - at);
    if (mark.size() > 3) {
      return kNone;
    }
    const std::string_view rest = text_.substr(open, limit - open);
    const std::size_t close = rest.find(mark);
    if (close == std::string_view::npos || rest.find('\n') < close) {
      if (mark.size() == 1) {
        no_backtick_ = open + std::min(rest.find('\n'), rest.size());
      }
      return kNone;
    }
    return close == 0 ? kNone : open + close + mark.size();
  }

  std::size_t option(std::size_t at) const {
    std::size_t i = at + 1;
    if (byte(i) == '-') {
      ++i;
    }
    if (!text_is_letter(byte(i))) {
      return kNone;
    }
    while (text_is_word_byte(byte(i)) || (byte(i) == '-' && text_is_word_byte(byte(i + 1)))) {
      ++i;
    }
    if (byte(i) == '=' && i - at < kReach) {
      std::size_t value = i + 1;
      while (value - i < kReach &&
             (text_is_word_byte(byte(value)) || ByteSet("-./:%+").contains(byte(value))) &&
             value < text_.size()) {
        ++value;
      }
      i = trim_marks(i, value);
    }
    return i;
  }

  // The end without sentence marks that close it.
  std::size_t trim_marks(std::size_t begin, std::size_t end) const {
    while (end > begin && kSentenceMarks.find(text_[end - 1]) != std::string_view::npos) {
      --end;
    }
    return end;
  }

  std::size_t url(std::size_t at) {
    std::size_t head = kNone;
    if (text_.substr(at).starts_with("www.")) {
      head = at + 4;
    } else if (text_.substr(at).starts_with("mailto:")) {
      head = at + 7;
    } else {
      std::size_t i = at;
      while (i - at < 32 && (text_is_digit_or_letter(byte(i)) || byte(i) == '+' || byte(i) == '-' ||
                             byte(i) == '.')) {
        ++i;
      }
      if (text_.substr(i).starts_with("://")) {
        head = i + 3;
      }
    }
    if (head == kNone || head >= text_.size() || !kUrlBytes.contains(text_[head])) {
      return kNone;
    }
    std::size_t end = head;
    int depth = 0;
    for (; end < text_.size() && kUrlBytes.contains(text_[end]); ++end) {
      if (text_[end] == '(') {
        ++depth;
      } else if (text_[end] == ')' && --depth < 0) {
        break;
      }
    }
    end = trim_marks(head, end);
    return end > head ? end : kNone;
  }

  // A host name or a file name, with or without a path, from the start of a run of path bytes.
  std::size_t path_or_host(std::size_t at, span_kind_t& kind) const {
    if (at > 0 && (kPathBytes.contains(text_[at - 1]) || text_[at - 1] == '@')) {
      return kNone;
    }
    std::size_t end = at;
    std::size_t slashes = 0;
    for (; end < text_.size() && kPathBytes.contains(text_[end]); ++end) {
      slashes += text_[end] == '/' ? 1 : 0;
    }
    // Not "name@host" and not "scheme://".
    if (byte(end) == '@') {
      return kNone;
    }
    end = trim_marks(at, end);
    while (end > at && (text_[end - 1] == '*' && !(end > at + 1 && text_[end - 2] == '/'))) {
      --end;
    }
    const std::string_view run = text_.substr(at, end - at);
    if (run.size() < 3 || run.find_first_not_of("./*-+~_") == std::string_view::npos) {
      return kNone;
    }
    kind = kFiles;
    const bool rooted = run.starts_with("/") || run.starts_with("./") || run.starts_with("../") ||
                        run.starts_with("~/");
    if (rooted && is(kFiles) && after_opener(at)) {
      return run.find_first_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ") ==
                     std::string_view::npos
                 ? kNone
                 : end;
    }
    const std::size_t slash = run.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? run : run.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string_view::npos && dot + 1 < name.size()) {
      const std::string_view extension = name.substr(dot + 1);
      const bool digits =
          name.substr(0, dot).find_first_not_of("0123456789.") == std::string_view::npos;
      if (is(kFiles) && dot > 0 && !digits && is_one_of(extension, kExtensions)) {
        return end;
      }
    }
    if (is(kAddresses) && slashes == 0) {
      const std::size_t last = run.rfind('.');
      if (last != std::string_view::npos && last > 1 && is_one_of(run.substr(last + 1), kDomains) &&
          run.find_first_not_of("0123456789.") != std::string_view::npos &&
          run.find_first_of("*+~") == std::string_view::npos &&
          run.find("..") == std::string_view::npos && !is_initials(run)) {
        kind = kAddresses;
        return end;
      }
    }
    if (is(kAddresses) && slashes > 0) {
      const std::string_view host = run.substr(0, run.find('/'));
      const std::size_t last = host.rfind('.');
      if (last != std::string_view::npos && last > 1 &&
          is_one_of(host.substr(last + 1), kDomains)) {
        kind = kAddresses;
        return url_tail(end);
      }
    }
    // "src/tree/leaf": three names or more, or one that is no word of a language.
    if (is(kFiles) && slashes >= 2 && run.find("//") == std::string_view::npos &&
        run.find_first_of("_.-0123456789") != std::string_view::npos &&
        run.find_first_of("abcdefghijklmnopqrstuvwxyz") != std::string_view::npos) {
      return end;
    }
    return kNone;
  }

  // "U.S", "e.g": letters with dots between them.
  static bool is_initials(std::string_view run) {
    for (std::size_t i = 1; i < run.size(); i += 2) {
      if (run[i] != '.') {
        return false;
      }
    }
    return true;
  }

  std::size_t url_tail(std::size_t end) const {
    const std::size_t begin = end;
    while (end < text_.size() && end - begin < kTagReach && kUrlBytes.contains(text_[end]) &&
           text_[end] != ')' && text_[end] != '(') {
      ++end;
    }
    return trim_marks(begin, end);
  }

  std::size_t mail(std::size_t at) const {
    if (at > 0 && kMailBytes.contains(text_[at - 1])) {
      return kNone;
    }
    std::size_t i = at;
    while (i < text_.size() && kMailBytes.contains(text_[i])) {
      ++i;
    }
    if (i == at || byte(i) != '@') {
      return kNone;
    }
    const std::size_t host = i + 1;
    for (i = host; i < text_.size() && kHostBytes.contains(text_[i]);) {
      ++i;
    }
    i = trim_marks(host, i);
    return text_.substr(host, i - host).find('.') == std::string_view::npos ? kNone : i;
  }

  // Identifiers, calls, versions.
  std::size_t code(std::size_t at) const {
    const std::size_t end = word_end(at);
    const std::string_view word = text_.substr(at, end - at);
    if (text_is_digit(word.front()) || ((word.front() == 'v' || word.front() == 'V') &&
                                        word.size() > 1 && text_is_digit(word[1]))) {
      return version(at);
    }
    std::size_t i = end;
    if (byte(i) == '(' && byte(i + 1) == ')') {
      return i + 2;
    }
    // "std::string", "object->member"
    bool joined = false;
    for (;;) {
      const std::string_view next = text_.substr(i, 2);
      if ((next == "::" || next == "->") && text_is_word_byte(byte(i + 2)) && i - at < kReach) {
        i = word_end(i + 2);
        joined = true;
        continue;
      }
      break;
    }
    if (joined) {
      return byte(i) == '(' && byte(i + 1) == ')' ? i + 2 : i;
    }
    const std::size_t underscore = word.find('_');
    if (underscore != std::string_view::npos && word.size() > 2 &&
        word.find_first_not_of('_') != std::string_view::npos &&
        (underscore > 0 || word.find('_', 1) != std::string_view::npos)) {
      return end;
    }
    // "fooBar"
    if (text_is_lower(word.front())) {
      for (std::size_t k = 1; k + 1 < word.size(); ++k) {
        if (text_is_lower(word[k - 1]) && text_is_upper(word[k])) {
          return end;
        }
      }
    }
    return kNone;
  }

  std::size_t version(std::size_t at) const {
    std::size_t i = at;
    const bool marked = !text_is_digit(text_[i]);
    if (marked) {
      ++i;
    }
    std::size_t dots = 0;
    while (i < text_.size() &&
           (text_is_digit(text_[i]) || (text_[i] == '.' && text_is_digit(byte(i + 1))))) {
      dots += text_[i] == '.' ? 1 : 0;
      ++i;
    }
    if (dots + (marked ? 1 : 0) < 2) {
      return kNone;
    }
    // "-rc1", "+deb12u1", "~beta"
    while ((byte(i) == '-' || byte(i) == '+' || byte(i) == '~') &&
           text_is_digit_or_letter(byte(i + 1)) && i - at < kReach) {
      ++i;
      while (text_is_digit_or_letter(byte(i)) ||
             (byte(i) == '.' && text_is_digit_or_letter(byte(i + 1)))) {
        ++i;
      }
    }
    return i;
  }

  // Runs of digits with single blanks, hyphens and brackets, in the shapes that phones have.
  std::size_t phone(std::size_t at) const {
    std::size_t i = at;
    const bool plus = byte(i) == '+';
    if (plus) {
      ++i;
    }
    std::array<std::size_t, 8> groups{};
    std::size_t count = 0;
    std::size_t digits = 0;
    std::size_t end = i;
    bool bracket = false;
    while (count < groups.size()) {
      const bool open = byte(i) == '(' && count == 0;
      if (open) {
        ++i;
        bracket = true;
      }
      const std::size_t first = i;
      while (text_is_digit(byte(i)) && i - first < 16) {
        ++i;
      }
      if (i == first || text_is_digit(byte(i))) {
        break;
      }
      groups[count++] = i - first;
      digits += i - first;
      if (open) {
        if (byte(i) != ')') {
          return kNone;
        }
        ++i;
      }
      end = i;
      // Blanks part groups behind a "+" and behind brackets, but for lone digits.
      const bool may_blank = (plus || (bracket && count == 1)) && text_is_digit(byte(i + 1)) &&
                             text_is_digit(byte(i + 2));
      if (byte(i) == '-' || (byte(i) == ' ' && may_blank)) {
        ++i;
      } else if (!open) {
        break;
      }
    }
    if (text_is_word_byte(byte(end)) || (byte(end) == '.' && text_is_digit(byte(end + 1)))) {
      return kNone;
    }
    if (plus) {
      return digits >= 7 && digits <= 15 ? end : kNone;
    }
    if (bracket) {
      return count == 3 && groups[1] >= 3 && groups[2] == 4 ? end : kNone;
    }
    if (text_[at] == '(') {
      return kNone;
    }
    const bool shape = (count == 3 && groups[0] == 3 && groups[1] >= 3 && groups[2] == 4) ||
                       (count == 4 && groups[0] <= 3 && groups[1] == 3 && groups[3] == 4) ||
                       (count == 2 && (groups[0] == 3 || groups[0] == 4) && groups[1] >= 7) ||
                       (count == 1 && groups[0] == 11 && text_[at] == '1');
    return shape ? end : kNone;
  }

  // "100,000": a number in which five equal digits follow one another.
  std::size_t long_number(std::size_t at) const {
    std::size_t i = at;
    std::size_t run = 0;
    char last = '\0';
    bool found = false;
    const std::size_t limit = std::min(text_.size(), at + kReach);
    for (; i < limit; ++i) {
      if (text_is_digit(text_[i])) {
        run = text_[i] == last ? run + 1 : 1;
        last = text_[i];
        found = found || run >= 5;
      } else if (!((text_[i] == ',' || text_[i] == '.') && text_is_digit(byte(i + 1)))) {
        break;
      } else if (text_[i] == '.') {
        last = '\0';
      }
    }
    return found && !text_is_letter(byte(i)) ? i : kNone;
  }

  std::size_t mention(std::size_t at) const {
    if (!after_opener(at)) {
      return kNone;
    }
    std::size_t i = at + 1;
    while (i < text_.size() &&
           (text_is_word_byte(text_[i]) ||
            (text_[at] == '#' && text_is_non_ascii(text_[i]) && is_word_character(i)))) {
      i += text_is_non_ascii(text_[i]) ? character_at(text_, i).length : 1;
    }
    if (i == at + 1) {
      return kNone;
    }
    return text_[at] == '@' && byte(i) == '@' ? i + 1 : i;
  }

  bool is_word_character(std::size_t at) const {
    const char32_t c = character_at(text_, at).code;
    return is_latin_letter(c) || is_kana(c) || is_hangul(c);
  }

  // A Latin word with letters beyond ASCII, from its first letter on.
  std::size_t accented_word(std::size_t at) const {
    std::size_t end = at;
    bool accented = false;
    const std::size_t limit = std::min(text_.size(), at + kReach);
    for (std::size_t i = at; i < limit;) {
      if (text_is_letter(text_[i])) {
        end = ++i;
      } else if (text_[i] == '-' && i > at && i + 1 < text_.size()) {
        ++i;
        if (!is_latin_letter(character_at(text_, i).code)) {
          break;
        }
      } else if (text_is_non_ascii(text_[i])) {
        const character_t c = character_at(text_, i);
        if (!c.valid || !is_latin_letter(c.code)) {
          break;
        }
        accented = true;
        end = i += c.length;
      } else {
        break;
      }
    }
    return accented ? end : kNone;
  }

  bool is_foreign(char32_t c) const {
    if (c < 0x370) {
      return false;
    }
    const LangType source = rules_.source_;
    const bool letters =
        (c <= 0x1FFF) || (c >= 0x2C00 && c <= 0x2DFF) || (c >= 0xA000 && c <= 0xABFF);
    if (letters) {
      return source != LangType::kRussian && source != LangType::kArabic &&
             source != LangType::kThai && !is_hangul(c);
    }
    if (is_han(c)) {
      return source == LangType::kEnglish || source == LangType::kRussian ||
             source == LangType::kArabic || source == LangType::kThai;
    }
    if (is_kana(c)) {
      return source != LangType::kJapanese;
    }
    return is_hangul(c) && source != LangType::kKorean;
  }

  std::size_t foreign_word(std::size_t at) const {
    std::size_t i = at;
    while (i < text_.size()) {
      const character_t c = character_at(text_, i);
      if (!c.valid || !(is_foreign(c.code) || (i > at && c.code >= 0x300 && c.code <= 0x36F))) {
        break;
      }
      i += c.length;
    }
    return i;
  }

  std::size_t symbols(std::size_t at) const {
    std::size_t i = at;
    while (i < text_.size()) {
      const character_t c = character_at(text_, i);
      if (!c.valid || !is_symbol(c.code)) {
        break;
      }
      i += c.length;
    }
    return i;
  }

  bool find_at(span_t& span) {
    const std::size_t at = span.begin;
    const auto take = [&](span_kind_t kind, std::size_t end) {
      if (end <= at || !is(kind)) {
        return false;
      }
      span.end = end;
      span.kind = kind;
      return true;
    };
    if (!rules_.patterns_.empty() && is(kPatterns) && take(kPatterns, pattern(at))) {
      return true;
    }
    const char c = text_[at];
    if (text_is_non_ascii(c)) {
      return find_character(at, take);
    }
    if (text_is_word_byte(c)) {
      return begins_word(at) && find_word(at, span, take);
    }
    switch (c) {
      case '%':
        return take(kFormats, printf_format(at));
      case '{':
        return take(kFormats, braces(at));
      case '$':
        return take(kFormats, dollar(at));
      case '&':
        return take(kTags, entity(at)) || take(kAccelerators, accelerator(at));
      case '<':
        return is(kTags) && take(kTags, tag(at));
      case '`':
        return is(kCode) && take(kCode, backticks(at));
      case '-':
        return after_opener(at) && take(kCode, option(at));
      case '@':
        return take(text_is_digit(byte(at + 1)) ? kFormats : kMentions, mention(at));
      case '#':
        return take(kMentions, mention(at));
      case '(':
        if (take(kAccelerators, bracketed_accelerator(at, 1, ")"))) {
          return true;
        }
        [[fallthrough]];
      case '+':
        return (at == 0 || !text_is_word_byte(text_[at - 1])) && take(kPhones, phone(at));
      case '/':
      case '.':
      case '~': {
        span_kind_t kind = kFiles;
        const std::size_t end = path_or_host(at, kind);
        return take(kind, end);
      }
      case '\\':
        return text_is_letter(byte(at + 1)) && !text_is_letter(byte(at + 2)) && take(kCode, at + 2);
      default:
        return false;
    }
  }

  template <class Take>
  bool find_character(std::size_t at, Take&& take) const {
    const character_t c = character_at(text_, at);
    if (!c.valid) {
      return false;
    }
    if (c.code == 0xFF08 && take(kAccelerators, bracketed_accelerator(at, c.length, "）"))) {
      return true;
    }
    if (is_symbol(c.code)) {
      return take(kSymbols, symbols(at));
    }
    if (is_foreign(c.code)) {
      return take(kForeignWords, foreign_word(at));
    }
    return is_latin_letter(c.code) && take(kForeignWords, accented_word(at));
  }

  template <class Take>
  bool find_word(std::size_t at, span_t& span, Take&& take) {
    if (is(kAddresses) && (take(kAddresses, url(at)) || take(kAddresses, mail(at)))) {
      return true;
    }
    if (text_[at] == '_' && take(kAccelerators, accelerator(at))) {
      return true;
    }
    if (text_is_digit(text_[at]) && (take(kPhones, phone(at)))) {
      return true;
    }
    if (take(kCode, code(at))) {
      // A path or file name that begins like an identifier is longer.
      const std::size_t end = span.end;
      span_kind_t kind = kFiles;
      if (const std::size_t longer = path_or_host(at, kind); longer > end) {
        take(kind, longer);
      }
      return true;
    }
    span_kind_t kind = kFiles;
    const std::size_t path = path_or_host(at, kind);
    if (take(kind, path)) {
      return true;
    }
    if (text_is_digit(text_[at])) {
      return rules_.source_ == LangType::kEnglish && take(kNumbers, long_number(at));
    }
    return take(kForeignWords, accented_word(at));
  }

  const SpanRecognizer& rules_;
  std::string_view text_;
  std::size_t no_tag_end_ = 0;
  std::size_t no_backtick_ = 0;
};

void SpanRecognizer::add_pattern(std::string_view pattern) {
  if (pattern.empty() || pattern.size() > kReach) {
    throw std::runtime_error("a pattern has 1 to 256 bytes");
  }
  if (pattern.front() == '*' || pattern.front() == '?') {
    throw std::runtime_error("a pattern begins with what stands for itself or a digit: '" +
                             std::string(pattern) + "'");
  }
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
  if (is_control(pattern.front()) || is_control(pattern.back())) {
    throw std::runtime_error("a pattern neither begins nor ends in a space");
  }
  std::size_t escapes = 0;
  while (escapes < pattern.size() && pattern[pattern.size() - 1 - escapes] == '\\') {
    ++escapes;
  }
  if (escapes % 2 == 1) {
    throw std::runtime_error("a pattern ends in '\\': '" + std::string(pattern) + "'");
  }
  if (patterns_.size() == kMostPatterns) {
    throw std::runtime_error("more than 64 patterns");
  }
  patterns_.emplace_back(pattern);
}

std::vector<span_t> SpanRecognizer::find(std::string_view text) const {
  return SpanScan(*this, text).run();
}

const char* tag_of(span_kind_t kind) {
  switch (kind) {
    case kFormats:
    case kPatterns:
      return "ph";
    case kTags:
    case kSymbols:
      return "mark";
    default:
      return "lit";
  }
}

}  // namespace koralite::document
