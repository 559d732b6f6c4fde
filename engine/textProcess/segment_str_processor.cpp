#include "textProcess/segment_str_processor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace koralite::textProcess {

bool SegmentStrProcessor::text_align_string(const ProcessStr& source, ProcessStr& target) {
  if (!source.has_positions() || !target.has_positions() || !source.consistent()) {
    return false;
  }
  const std::string& from = source.text();
  const std::string& to = target.text();
  if (from.empty()) {
    return false;
  }

  ProcessStr::Positions positions;
  positions.reserve(to.size());
  std::int32_t last = source.positions().front();
  std::size_t i = 0;
  while (i < from.size() && positions.size() < to.size()) {
    if (from[i] == ' ') {
      ++i;
    } else if (to[positions.size()] == ' ') {
      positions.push_back(last);
    } else if (to[positions.size()] == from[i]) {
      last = source.positions()[i++];
      positions.push_back(last);
    } else {
      return false;
    }
  }
  // One of the texts is used up: of the other only blanks may be left.
  const auto rest_is_blank = [](const std::string& text, std::size_t begin) {
    return text.find_first_not_of(' ', begin) == std::string::npos;
  };
  if (!rest_is_blank(from, i) || !rest_is_blank(to, positions.size())) {
    return false;
  }
  positions.resize(to.size(), last);
  target.positions() = std::move(positions);
  return true;
}

int SegmentStrProcessor::replace_text(ProcessStr& str, std::string segmented) {
  if (!str.has_positions()) {
    str.text() = std::move(segmented);
    return 1;
  }
  ProcessStr target(true, std::move(segmented));
  if (!text_align_string(str, target)) {
    return 0;
  }
  str = std::move(target);
  return 1;
}

}  // namespace koralite::textProcess
