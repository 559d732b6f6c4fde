#include "textProcess/blank_str_processors.h"

#include <algorithm>

#include "textProcess/text_helpers.h"

namespace koralite::textProcess {

template <bool kPlaced>
void UniqueBlankStrProcessor::rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t blank = i;  // the first of a run, if there is one
    while (i < in.size() && in[i] == ' ') {
      ++i;
    }
    const std::size_t word = i;
    while (i < in.size() && in[i] != ' ') {
      ++i;
    }
    if (word == i) {
      return;
    }
    if (blank != word && !out.empty()) {
      out.insert(' ', blank);
    }
    out.copy(word, i - word);
  }
}

int EraseBlankChsStrProcessor::OnProcess(ProcessStr& str) {
  if (const int result = unique_blank_.OnProcess(str); result == 0) {
    return result;
  }
  return RewriteStrProcessor::OnProcess(str);
}

template <bool kPlaced>
void EraseBlankChsStrProcessor::rewrite(std::string_view in,
                                        common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size();) {
    const bool dropped =
        in[i] == ' ' && (i == 0 || i + 1 == in.size() || text_is_non_ascii(in[i - 1]) ||
                         text_is_non_ascii(in[i + 1]));
    const std::size_t next = std::min(in.find(' ', i + 1), in.size());
    const std::size_t first = dropped ? i + 1 : i;
    out.copy(first, next - first);
    i = next;
  }
}

namespace {

bool ends_capitalised_word(char c) {
  return std::string_view(" ,;:!?").find(c) != std::string_view::npos;
}

// Whether the dot at `dot` ends a plain word and begins none: "end.The", not "U.S.A".
bool glues_sentences(std::string_view in, std::size_t dot) {
  std::size_t next = dot + 1;
  if (next == in.size() || !common::text_is_upper(in[next])) {
    return false;
  }
  do {
    ++next;
  } while (next < in.size() && common::text_is_lower(in[next]));
  if (next < in.size() && !ends_capitalised_word(in[next])) {
    return false;
  }
  std::size_t first = dot;
  while (first > 0 && text_is_digit_or_letter(in[first - 1])) {
    --first;
  }
  return first == 0 || in[first - 1] == ' ';
}

}  // namespace

template <bool kPlaced>
void InsertBlankEngStrProcessor::rewrite(std::string_view in,
                                         common::TextWriter<kPlaced>& out) const {
  for (std::size_t i = 0; i < in.size();) {
    const std::size_t dot = std::min(in.find('.', i), in.size());
    out.copy(i, dot + 1 - i);
    if (dot < in.size() && glues_sentences(in, dot)) {
      out.insert(' ', dot);
    }
    i = dot + 1;
  }
}

KORA_INSTANTIATE_REWRITE(UniqueBlankStrProcessor);
KORA_INSTANTIATE_REWRITE(EraseBlankChsStrProcessor);
KORA_INSTANTIATE_REWRITE(InsertBlankEngStrProcessor);

}  // namespace koralite::textProcess
