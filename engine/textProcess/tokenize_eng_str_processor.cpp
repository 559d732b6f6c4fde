#include "textProcess/tokenize_eng_str_processor.h"

#include <string>

#include "textProcess/text_helpers.h"
#include "textProcess/text_units.h"

namespace koralite::textProcess {
namespace {

constexpr std::string_view kContractions[] = {"'s", "'t", "'m", "'re", "'ll", "'ve", "'d"};

bool is_contraction(std::string_view suffix) {
  for (const std::string_view known : kContractions) {
    if (suffix == known) {
      return true;
    }
  }
  return false;
}

}  // namespace

int TokenizeEngStrProcessor::OnProcess(ProcessStr& str) {
  if (const int result = RewriteStrProcessor::OnProcess(str); result == 0) {
    return result;
  }
  if (const int result = unique_blank_.OnProcess(str); result == 0) {
    return result;
  }
  return connect_ellipsis_.OnProcess(str);
}

template <bool kPlaced>
void TokenizeEngStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  // Contractions and abbreviations are known in lower case.
  std::string lowered(in);
  for (char& c : lowered) {
    c = common::text_to_lower(c);
  }

  const auto surround = [&](std::size_t at) {
    out.insert(' ', at);
    out.copy(at);
    out.insert(' ', at);
  };
  const auto between = [&](std::size_t at, auto is_kind) {
    return at > 0 && at + 1 < in.size() && is_kind(in[at - 1]) && is_kind(in[at + 1]);
  };

  UnitScanner units(in);
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] == ' ' && i + 1 < in.size() && in[i + 1] != ' ') {
      out.insert("   ", i);
      continue;
    }
    if (const std::size_t end = units.plain_word_end(i); end > i) {
      out.copy(i, end - i);
      i = end - 1;
      continue;
    }
    if (const std::size_t length = units.integral_at(i)) {
      const std::size_t last = i + length - 1;
      if (!out.empty()) {
        out.insert(' ', i);
      }
      out.copy(i, length);
      out.insert(' ', last);
      i = last;
      continue;
    }
    const char c = in[i];
    if (text_is_word_byte(c) || text_is_non_ascii(c)) {
      out.copy(i);
      continue;
    }
    switch (c) {
      case '.':
        if (between(i, text_is_digit) || text_is_abbrev_eng(common::text_prefix_at(lowered, i))) {
          out.copy(i);
        } else {
          surround(i);
        }
        break;
      case '\'':
        if (i == 0 || in[i - 1] == ' ') {
          out.copy(i);
          out.insert(' ', i);
        } else {
          // Only a letter behind it that makes no contraction keeps the word whole.
          const bool whole = i + 1 < in.size() && text_is_letter(in[i + 1]) &&
                             !is_contraction(common::text_suffix_at(lowered, i));
          if (!whole) {
            out.insert(' ', i);
          }
          out.copy(i);
        }
        break;
      case ':':
      case ',':
        if (between(i, text_is_digit)) {
          out.copy(i);
        } else {
          surround(i);
        }
        break;
      case '-':
        if (between(i, text_is_digit_or_letter)) {
          out.copy(i);
        } else {
          if (i > 0 && in[i - 1] != '-') {
            out.insert(' ', i);
          }
          out.copy(i);
          if (i + 1 < in.size() && in[i + 1] != '-') {
            out.insert(' ', i);
          }
        }
        break;
      default:
        surround(i);
    }
  }
}

KORA_INSTANTIATE_REWRITE(TokenizeEngStrProcessor);

}  // namespace koralite::textProcess
