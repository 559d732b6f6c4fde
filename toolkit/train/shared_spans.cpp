#include "toolkit/train/shared_spans.h"

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace koralite::toolkit {

namespace {

using document::span_t;

std::string_view bytes_of(const std::string& text, const span_t& span) {
  return std::string_view(text).substr(span.begin, span.end - span.begin);
}

using counts_t = std::map<std::string_view, std::pair<std::size_t, std::size_t>>;

// Writes a side with its shared spans replaced; `words` gives the word of each occurrence.
template <class Word>
std::string masked(const std::string& text, const std::vector<span_t>& spans,
                   const counts_t& counts, Word&& word) {
  std::string result;
  std::size_t at = 0;
  for (const span_t& span : spans) {
    const auto& [left, right] = counts.at(bytes_of(text, span));
    if (left != right) {
      continue;
    }
    result += text.substr(at, span.begin - at);
    if (!result.empty() && result.back() != ' ') {
      result += ' ';
    }
    result += word(span);
    at = span.end;
    if (at < text.size() && text[at] != ' ' && !document::stands_attached(text, at)) {
      result += ' ';
    }
  }
  return result + text.substr(at);
}

}  // namespace

shared_spans_t share_spans(const document::SpanRecognizer& source_spans,
                           const document::SpanRecognizer& target_spans, const std::string& source,
                           const std::string& target) {
  shared_spans_t result{source, target, {}};
  const std::vector<span_t> left = source_spans.find(source);
  if (left.empty()) {
    return result;
  }
  const std::vector<span_t> right = target_spans.find(target);
  counts_t counts;
  for (const span_t& span : left) {
    ++counts[bytes_of(source, span)].first;
  }
  for (const span_t& span : right) {
    ++counts[bytes_of(target, span)].second;
  }
  result.stand_ins.reset(source + '\n' + target);
  std::map<std::string_view, std::vector<std::string>> words;  // of each span's bytes, in order
  result.source = masked(source, left, counts, [&](const span_t& span) {
    const std::string_view bytes = bytes_of(source, span);
    return words[bytes].emplace_back(result.stand_ins.add(
        {std::string(bytes), document::tag_of(span.kind), span.begin, span.end}));
  });
  std::map<std::string_view, std::size_t> seen;
  result.target = masked(target, right, counts, [&](const span_t& span) {
    const std::string_view bytes = bytes_of(target, span);
    return words.at(bytes)[seen[bytes]++];
  });
  return result;
}

}  // namespace koralite::toolkit
