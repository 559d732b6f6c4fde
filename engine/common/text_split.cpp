#include "common/text_split.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "common/text_abbrev.h"
#include "common/text_class.h"
#include "common/text_writer.h"

namespace koralite::common {
namespace {

constexpr std::size_t kSpare = 100;  // room for line feeds before the output must grow
constexpr ByteSet kEnglishEnders(".!?");
constexpr ByteSet kMarkLeads("\xe2\xe3\xef");  // first bytes of the marks below

struct EnglishSplitter {
  template <bool kPlaced>
  static void run(const std::string& in, TextWriter<kPlaced>& out) {
    std::string lower;
    text_lowercase_eng(in, lower);
    bool ended = false;
    for (std::size_t i = 0; i < in.size(); ++i) {
      if (!ended) {
        const std::size_t next = kEnglishEnders.find(in, i);
        out.copy(i, next - i);
        if (next == in.size()) {
          return;
        }
        i = next;
      }
      const char c = in[i];
      if (ended) {
        if (c != '\'' && c != ' ' && c != '"' && c != ')') {
          out.insert('\n', i);
          ended = false;
        }
      } else if (c == '!' || c == '?') {
        ended = true;
      } else if (c == '.' && (i + 1 == in.size() || in[i + 1] == ' ')) {
        ended = !text_is_abbrev_eng(text_prefix_at(lower, i));
      }
      out.copy(i);
    }
  }
};

struct ChineseSplitter {
  template <bool kPlaced>
  static void run(const std::string& in, TextWriter<kPlaced>& out) {
    const std::string_view text = in;
    bool ended = false;
    for (std::size_t i = 0; i < text.size();) {
      if (!ended) {
        const std::size_t next = kMarkLeads.find(text, i);
        out.copy(i, next - i);
        if (next == text.size()) {
          return;
        }
        i = next;
      }
      const std::string_view mark =
          text_is_non_ascii(text[i]) ? text.substr(i, 3) : std::string_view();
      const bool ender = mark == "？" || mark == "。" || mark == "！" || mark == "…";
      if (ender || (ended && (mark == "’" || mark == "”" || mark == "）"))) {
        out.copy(i, 3);
        i += 3;
        ended = true;
        continue;
      }
      if (ended && text[i] != ' ') {
        out.insert('\n', i);
        ended = false;
      }
      out.copy(i++);
    }
  }
};

template <class Splitter>
void split(const std::string& in, std::string& out) {
  TextWriter<false> writer(in, nullptr, in.size() + kSpare);
  Splitter::run(in, writer);
  out = std::move(writer.text());
}

template <class Splitter>
bool split(const std::string& in, std::string& out, const std::vector<std::int32_t>& in_positions,
           std::vector<std::int32_t>& out_positions) {
  if (in_positions.size() != in.size()) {
    out.clear();
    out_positions.clear();
    return false;
  }
  TextWriter<true> writer(in, in_positions.data(), in.size() + kSpare);
  Splitter::run(in, writer);
  out = std::move(writer.text());
  out_positions = std::move(writer.positions());
  return true;
}

}  // namespace

void text_split_sent_eng(const std::string& in, std::string& out) {
  split<EnglishSplitter>(in, out);
}

bool text_split_sent_eng(const std::string& in, std::string& out,
                         const std::vector<std::int32_t>& in_positions,
                         std::vector<std::int32_t>& out_positions) {
  return split<EnglishSplitter>(in, out, in_positions, out_positions);
}

void text_split_sent_chs(const std::string& in, std::string& out) {
  split<ChineseSplitter>(in, out);
}

bool text_split_sent_chs(const std::string& in, std::string& out,
                         const std::vector<std::int32_t>& in_positions,
                         std::vector<std::int32_t>& out_positions) {
  return split<ChineseSplitter>(in, out, in_positions, out_positions);
}

void text_lowercase_eng(const std::string& in, std::string& out) {
  out = in;
  for (char& c : out) {
    c = text_to_lower(c);
  }
}

void text_uppercase_eng(const std::string& in, std::string& out) {
  out = in;
  bool capitalise = true;
  bool quoted = false;
  for (std::size_t i = 0; i < out.size(); ++i) {
    char& c = out[i];
    if (c == '"') {
      quoted = !quoted;
    }
    if (capitalise) {
      if (c == ' ' || (c == '"' && quoted)) {
        continue;
      }
      c = text_to_upper(c);
      capitalise = false;
    } else if (c == '.') {
      capitalise = i == 0 || out[i - 1] == '.' || out[i - 1] == ' ';
    } else {
      capitalise = c == '?' || c == '!';
    }
  }
}

}  // namespace koralite::common
