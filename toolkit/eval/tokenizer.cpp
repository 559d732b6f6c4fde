#include "toolkit/eval/tokenizer.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace koralite::toolkit {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// What counts as a Chinese sign. The second half of the list covers punctuation
// and full-width forms; U+2001 to U+2A6D and U+2F81 to U+2FA1 stand where rarer
// planes were meant, and are kept because every published score has them.
constexpr std::array<Range, 22> kChinese{
    {{0x3400, 0x4DB5}, {0x4E00, 0x9FA5}, {0x9FA6, 0x9FBB}, {0xF900, 0xFA2D}, {0xFA30, 0xFA6A},
     {0xFA70, 0xFAD9}, {0x2001, 0x2A6D}, {0x2F81, 0x2FA1}, {0xFF00, 0xFFEF}, {0x2E80, 0x2EFF},
     {0x3000, 0x303F}, {0x31C0, 0x31EF}, {0x2F00, 0x2FDF}, {0x2FF0, 0x2FFF}, {0x3100, 0x312F},
     {0x31A0, 0x31BF}, {0xFE10, 0xFE1F}, {0xFE30, 0xFE4F}, {0x2600, 0x26FF}, {0x2700, 0x27BF},
     {0x3200, 0x32FF}, {0x3300, 0x33FF}}};

bool is_chinese(char32_t c) {
  return std::any_of(kChinese.begin(), kChinese.end(),
                     [c](const Range& r) { return c >= r.first && c <= r.last; });
}

bool is_digit(char32_t c) {
  return c >= U'0' && c <= U'9';
}
bool is_stop(char32_t c) {
  return c == U'.' || c == U',';
}

// Signs that always stand by themselves: all of ASCII's but quotes-in-words (')
// and those whose neighbours decide (, - .).
bool is_sign(char32_t c) {
  return (c >= U'{' && c <= U'~') || (c >= U'[' && c <= U'`') || (c >= U' ' && c <= U'&') ||
         (c >= U'(' && c <= U'+') || (c >= U':' && c <= U'@') || c == U'/';
}

// The four replacements, each from left to right over the result of the last,
// each match taking its characters out of play for the next match.
std::u32string separate_signs(const std::u32string& in) {
  std::u32string a;
  for (const char32_t c : in) {
    if (is_sign(c)) {
      a.append({U' ', c, U' '});
    } else {
      a.push_back(c);
    }
  }
  std::u32string b;  // a stop after anything but a digit
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (i + 1 < a.size() && !is_digit(a[i]) && is_stop(a[i + 1])) {
      b.append({a[i], U' ', a[i + 1], U' '});
      ++i;
    } else {
      b.push_back(a[i]);
    }
  }
  std::u32string c;  // a stop before anything but a digit
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (i + 1 < b.size() && is_stop(b[i]) && !is_digit(b[i + 1])) {
      c.append({U' ', b[i], U' ', b[i + 1]});
      ++i;
    } else {
      c.push_back(b[i]);
    }
  }
  std::u32string d;  // a hyphen after a digit
  for (std::size_t i = 0; i < c.size(); ++i) {
    if (i + 1 < c.size() && is_digit(c[i]) && c[i + 1] == U'-') {
      d.append({c[i], U' ', U'-', U' '});
      ++i;
    } else {
      d.push_back(c[i]);
    }
  }
  return d;
}

void replace_all(std::string& text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
}

std::string to_utf8(std::u32string_view text) {
  std::string out;
  icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text.data()),
                                static_cast<int32_t>(text.size()))
      .toUTF8String(out);
  return out;
}

std::vector<std::string> split_spaces(std::u32string_view text) {
  std::vector<std::string> words;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t end = begin;
    while (end < text.size() && !is_space(text[end])) {
      ++end;
    }
    if (end > begin) {
      words.push_back(to_utf8(text.substr(begin, end - begin)));
    }
    begin = end + 1;
  }
  return words;
}

}  // namespace

bool is_space(char32_t c) {
  return (c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20) || c == 0x85 || c == 0xA0 ||
         c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
         c == 0x205F || c == 0x3000;
}

std::string_view name_of(Tokenizer tokenizer) {
  switch (tokenizer) {
    case Tokenizer::k13a:
      return "13a";
    case Tokenizer::kZh:
      return "zh";
    case Tokenizer::kChar:
      return "char";
    case Tokenizer::kNone:
      break;
  }
  return "none";
}

Tokenizer tokenizer_by_name(std::string_view name) {
  for (const Tokenizer t : {Tokenizer::kNone, Tokenizer::k13a, Tokenizer::kZh, Tokenizer::kChar}) {
    if (name == name_of(t)) {
      return t;
    }
  }
  throw std::runtime_error("unknown tokenization \"" + std::string(name) +
                           "\" (known: none, 13a, zh, char)");
}

Tokenizer tokenizer_for_language(std::string_view language) {
  if (language == "zh") {
    return Tokenizer::kZh;
  }
  if (language == "ja" || language == "th") {
    return Tokenizer::kChar;
  }
  return Tokenizer::k13a;
}

std::u32string code_points(std::string_view text) {
  const icu::UnicodeString utf16 = icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  std::u32string points;
  for (int32_t i = 0; i < utf16.length(); i = utf16.moveIndex32(i, 1)) {
    points.push_back(static_cast<char32_t>(utf16.char32At(i)));
  }
  return points;
}

std::string lower_case(std::string_view text) {
  std::string out;
  icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
      .toLower(icu::Locale::getRoot())
      .toUTF8String(out);
  return out;
}

std::vector<std::string> tokenize(std::string_view line, Tokenizer tokenizer) {
  switch (tokenizer) {
    case Tokenizer::k13a: {
      std::string text(line);
      replace_all(text, "<skipped>", "");
      replace_all(text, "-\n", "");
      replace_all(text, "\n", " ");
      replace_all(text, "&quot;", "\"");
      replace_all(text, "&amp;", "&");
      replace_all(text, "&lt;", "<");
      replace_all(text, "&gt;", ">");
      return split_spaces(separate_signs(code_points(" " + text + " ")));
    }
    case Tokenizer::kZh: {
      std::u32string apart;
      std::u32string points = code_points(line);
      while (!points.empty() && is_space(points.back())) {
        points.pop_back();
      }
      points.erase(points.begin(), std::find_if_not(points.begin(), points.end(), is_space));
      for (const char32_t c : points) {
        if (is_chinese(c)) {
          apart.append({U' ', c, U' '});
        } else {
          apart.push_back(c);
        }
      }
      return split_spaces(separate_signs(apart));
    }
    case Tokenizer::kChar: {
      std::vector<std::string> words;
      for (const char32_t c : code_points(line)) {
        if (!is_space(c)) {
          words.push_back(to_utf8({&c, 1}));
        }
      }
      return words;
    }
    case Tokenizer::kNone:
      break;
  }
  return split_spaces(code_points(line));
}

}  // namespace koralite::toolkit
