#include "textProcess/char_str_processors.h"

#include <algorithm>
#include <string>

#include "textProcess/text_helpers.h"

namespace koralite::textProcess {
namespace {

constexpr std::string_view kFullWidthComma = "，";

bool three_digits(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && text_is_digit(text[at]) && text_is_digit(text[at + 1]) &&
         text_is_digit(text[at + 2]);
}

}  // namespace

int LowercaseEngStrProcessor::OnProcess(ProcessStr& str) {
  for (char& c : str.text()) {
    c = common::text_to_lower(c);
  }
  return 1;
}

int ReplaceCharStrProcessor::OnProcess(ProcessStr& str) {
  std::replace(str.text().begin(), str.text().end(), find_, replacement_);
  return 1;
}

template <bool kPlaced>
void CleanStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t end = std::min(in.find('\0', i), in.size());
    out.copy(i, end - i);
    i = end + 1;
  }
}

template <bool kPlaced>
void EraseCommaStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kCommaLeads(",\xef");
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t comma = kCommaLeads.find(in, i);
    out.copy(i, comma - i);
    if (comma == in.size()) {
      return;
    }
    i = comma;
    const std::size_t size = in[comma] == ',' ? 1 : kFullWidthComma.size();
    if (comma > 0 && text_is_digit(in[comma - 1]) &&
        (size == 1 || in.substr(comma, size) == kFullWidthComma) &&
        three_digits(in, comma + size)) {
      i += size;
    } else {
      out.copy(i++);
    }
  }
}

template <bool kPlaced>
void ReplaceSpecCharStrProcessor::rewrite(std::string_view in,
                                          common::TextWriter<kPlaced>& out) const {
  constexpr common::ByteSet kReserved("\\#");
  for (std::size_t i = 0; i < in.size(); ++i) {
    const std::size_t next = kReserved.find(in, i);
    out.copy(i, next - i);
    if (next == in.size()) {
      return;
    }
    out.insert('\\', next);
    out.copy(next);
    i = next;
  }
}

template <bool kPlaced>
void RestoreSpecCharStrProcessor::rewrite(std::string_view in,
                                          common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t next = std::min(in.find('\\', i), in.size());
    out.copy(i, next - i);
    if (next + 1 < in.size()) {
      out.copy(next + 1);
    }
    i = next + 2;
  }
}

KORA_INSTANTIATE_REWRITE(CleanStrProcessor);
KORA_INSTANTIATE_REWRITE(EraseCommaStrProcessor);
KORA_INSTANTIATE_REWRITE(ReplaceSpecCharStrProcessor);
KORA_INSTANTIATE_REWRITE(RestoreSpecCharStrProcessor);

}  // namespace koralite::textProcess
