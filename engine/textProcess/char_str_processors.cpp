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
  for (char& c : str.text()) c = common::text_to_lower(c);
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
  for (std::size_t i = 0; i < in.size();) {
    out.copy(i);
    const bool digit = text_is_digit(in[i]);
    ++i;
    if (!digit || i == in.size()) continue;
    if (in[i] == ',') {
      if (three_digits(in, i + 1)) ++i;
    } else if (in.substr(i, kFullWidthComma.size()) == kFullWidthComma) {
      if (three_digits(in, i + kFullWidthComma.size())) i += kFullWidthComma.size();
    }
  }
}

template <bool kPlaced>
void ReplaceSpecCharStrProcessor::rewrite(std::string_view in,
                                          common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '\\' || in[i] == '#') out.insert('\\', i);
    out.copy(i);
  }
}

template <bool kPlaced>
void RestoreSpecCharStrProcessor::rewrite(std::string_view in,
                                          common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '\\' && ++i == in.size()) break;
    out.copy(i);
  }
}

KORA_INSTANTIATE_REWRITE(CleanStrProcessor);
KORA_INSTANTIATE_REWRITE(EraseCommaStrProcessor);
KORA_INSTANTIATE_REWRITE(ReplaceSpecCharStrProcessor);
KORA_INSTANTIATE_REWRITE(RestoreSpecCharStrProcessor);

}  // namespace koralite::textProcess
