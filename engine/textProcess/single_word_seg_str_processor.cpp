#include "textProcess/single_word_seg_str_processor.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "textProcess/tmining_util.h"

namespace koralite::textProcess {

SingleWordSegStrProcessor::SingleWordSegStrProcessor(unsigned id,
                                                     std::unique_ptr<AbstractStringProcessor> prior)
    : SegmentStrProcessor(id, std::move(prior), "single word split") {}

int SingleWordSegStrProcessor::OnProcess(ProcessStr& str) {
  return replace_text(str, word_split(str.text()));
}

std::string SingleWordSegStrProcessor::word_split(const std::string& text) {
  std::string out;
  out.reserve(text.size() * 2);
  bool blank_due = false;  // a blank comes before the next character, unless it is the first
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == ' ') {
      blank_due = true;
      ++at;
      continue;
    }
    const int size = text_get_utf8_char_len(std::string_view(text).substr(at));
    const std::size_t take = size < 1 ? 1 : static_cast<std::size_t>(size);
    if (blank_due && !out.empty()) {
      out += ' ';
    }
    out.append(text, at, take);
    blank_due = take > 1;
    at += take;
  }
  return out;
}

}  // namespace koralite::textProcess
