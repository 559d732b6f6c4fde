#include "textProcess/detokenize_eng_str_processors.h"

#include <algorithm>

#include "common/text_class.h"

namespace koralite::textProcess {

template <bool kPlaced>
void DetokenizeEngStrProcessor::rewrite(std::string_view in,
                                        common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kSpecial(" ,.:;!?%)]}([{$\"'");
  bool blank = false;        // one is due, unless the next byte attaches to the left
  bool double_opens = true;  // the next double quote
  bool single_opens = true;  // the next single quote
  const auto attach_left = [&](std::size_t at) {
    out.copy(at);
    blank = false;
  };
  const auto set_off = [&](std::size_t at) {
    if (blank) {
      out.insert(' ', at);
    }
    attach_left(at);
  };
  for (std::size_t i = 0; i < in.size(); ++i) {
    const bool blank_follows = i + 1 < in.size() && in[i + 1] == ' ';
    const auto attach_right = [&] {
      set_off(i);
      if (blank_follows) {
        ++i;
      }
    };
    switch (in[i]) {
      case ' ':
        blank = true;
        break;
      case ',':
      case '.':
      case ':':
      case ';':
      case '!':
      case '?':
      case '%':
      case ')':
      case ']':
      case '}':
        attach_left(i);
        break;
      case '(':
      case '[':
      case '{':
      case '$':
        attach_right();
        break;
      case '"':
        if (double_opens) {
          attach_right();
        } else {
          attach_left(i);
        }
        double_opens = !double_opens;
        break;
      case '\'': {
        const bool contraction = i + 1 < in.size() && !blank_follows;
        const bool possessive =
            i >= 2 && in[i - 1] == ' ' && (in[i - 2] == 's' || in[i - 2] == 'S');
        if (contraction || possessive) {
          attach_left(i);
          break;
        }
        if (single_opens) {
          attach_right();
        } else {
          attach_left(i);
        }
        single_opens = !single_opens;
        break;
      }
      default: {
        const std::size_t end = kSpecial.find(in, i + 1);
        if (blank) {
          out.insert(' ', i);
        }
        blank = false;
        out.copy(i, end - i);
        i = end - 1;
      }
    }
  }
}

template <bool kPlaced>
void ConnectEllipsisStrProcessor::rewrite(std::string_view in,
                                          common::TextWriter<kPlaced>& out) const {
  std::size_t i = 0;
  bool in_run = in.starts_with('.');
  if (in_run) {
    out.copy(i++);
  }
  while (i < in.size()) {
    if (in.substr(i, 2) == " .") {
      if (!in_run) {
        out.copy(i);
      }
      out.copy(i + 1);
      i += 2;
      in_run = true;
    } else {
      const std::size_t end = std::min(in.find(' ', i + 1), in.size());
      out.copy(i, end - i);
      i = end;
      in_run = false;
    }
  }
}

KORA_INSTANTIATE_REWRITE(DetokenizeEngStrProcessor);
KORA_INSTANTIATE_REWRITE(ConnectEllipsisStrProcessor);

}  // namespace koralite::textProcess
