#include "translator/alignment.h"

#include <algorithm>
#include <cstddef>

namespace koralite::translator {

namespace {

using common::align_t;

bool in_range(std::int32_t first, std::int32_t last, std::int64_t length) {
  return 0 <= first && first <= last && last < length;
}

bool is_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Which link each byte of the decoder's output belongs to, -1 for none; where
// links overlap the first one counts.
std::vector<std::int32_t> owners(const std::vector<align_t>& alignment,
                                 std::span<const std::int32_t> output_positions) {
  std::int32_t size = 0;
  for (const std::int32_t position : output_positions) {
    size = std::max(size, position + 1);
  }
  std::vector<std::int32_t> owner(static_cast<std::size_t>(size), -1);
  for (std::size_t i = 0; i < alignment.size(); ++i) {
    const std::int32_t last = std::min(alignment[i].target_last, size - 1);
    for (std::int32_t b = std::max(alignment[i].target_first, 0); b <= last; ++b) {
      std::int32_t& at = owner[static_cast<std::size_t>(b)];
      if (at < 0) {
        at = static_cast<std::int32_t>(i);
      }
    }
  }
  return owner;
}

// Turns a range of words into a range of source bytes without trailing blanks.
void carry_source(const std::string& source, std::span<const std::int32_t> word_positions,
                  align_t& link) {
  const auto size = static_cast<std::int32_t>(source.size());
  const auto words = static_cast<std::int32_t>(word_positions.size());
  if (words == 0 || size == 0) {
    link.source_first = 0;
    link.source_last = 0;
    return;
  }
  const auto position = [&](std::int32_t word) {
    return std::clamp(word_positions[static_cast<std::size_t>(word)], 0, size - 1);
  };
  const std::int32_t first = position(std::clamp(link.source_first, 0, words - 1));
  const std::int32_t after = link.source_last + 1;
  std::int32_t end = after < words ? position(std::max(after, 0)) : size;
  while (end > first + 1 && source[static_cast<std::size_t>(end - 1)] == ' ') {
    --end;
  }
  link.source_first = first;
  link.source_last = std::max(first, end - 1);
}

}  // namespace

align_t whole_alignment(std::size_t source_length, std::size_t target_length) {
  const auto last = [](std::size_t length) {
    return static_cast<std::int32_t>(length == 0 ? 0 : length - 1);
  };
  return {0, last(source_length), 0, last(target_length)};
}

bool check_alignment(int source_words, int output_length, const std::vector<align_t>& alignment) {
  if (alignment.empty()) {
    return source_words > 0;
  }
  return std::all_of(alignment.begin(), alignment.end(), [&](const align_t& link) {
    return in_range(link.source_first, link.source_last, source_words) &&
           in_range(link.target_first, link.target_last, output_length);
  });
}

bool check_alignment(const std::string& source, const std::string& output,
                     const std::vector<align_t>& alignment) {
  if (alignment.empty()) {
    return output.empty();
  }
  const auto source_length = static_cast<std::int64_t>(source.size());
  const auto length = static_cast<std::int64_t>(output.size());
  std::int64_t next = 0;
  for (const align_t& link : alignment) {
    if (!in_range(link.source_first, link.source_last, source_length)) {
      return false;
    }
    if (!in_range(link.target_first, link.target_last, length)) {
      return false;
    }
    const std::int64_t first = link.target_first;
    const std::int64_t after = std::int64_t{link.target_last} + 1;
    if (next == 0 && first != 0) {
      return false;
    }
    if (first > next + 1) {
      return false;
    }
    if (first == next + 1 && output[static_cast<std::size_t>(next)] != ' ') {
      return false;
    }
    if (is_continuation(output[static_cast<std::size_t>(first)])) {
      return false;
    }
    if (after < length && is_continuation(output[static_cast<std::size_t>(after)])) {
      return false;
    }
    next = after;
  }
  return next == length;
}

void modify_alignment(const std::string& source, const std::string& output,
                      std::span<const std::int32_t> word_positions,
                      std::span<const std::int32_t> output_positions,
                      std::vector<align_t>& alignment) {
  const auto length = static_cast<std::int32_t>(output.size());
  const std::vector<std::int32_t> owner = owners(alignment, output_positions);

  // The first and the last output byte that each link reaches.
  std::vector<align_t> reached(alignment.size(), {0, 0, length, -1});
  for (std::size_t b = 0; b < output_positions.size(); ++b) {
    const std::int32_t from = output_positions[b];
    if (from < 0 || owner[static_cast<std::size_t>(from)] < 0) {
      continue;
    }
    align_t& link = reached[static_cast<std::size_t>(owner[static_cast<std::size_t>(from)])];
    link.target_first = std::min(link.target_first, static_cast<std::int32_t>(b));
    link.target_last = std::max(link.target_last, static_cast<std::int32_t>(b));
  }
  std::vector<align_t> result;
  for (std::size_t i = 0; i < alignment.size(); ++i) {
    if (reached[i].target_last < 0) {
      continue;
    }
    align_t link = alignment[i];
    carry_source(source, word_positions, link);
    link.target_first = reached[i].target_first;
    link.target_last = reached[i].target_last;
    result.push_back(link);
  }

  // Bytes that no link reached go to the link before them, a lone blank to none.
  for (std::size_t i = 0; i < result.size(); ++i) {
    if (i == 0) {
      result[0].target_first = 0;
      continue;
    }
    align_t& before = result[i - 1];
    const std::int32_t gap = result[i].target_first - before.target_last - 1;
    const bool lone_blank =
        gap == 1 && output[static_cast<std::size_t>(before.target_last) + 1] == ' ';
    if (gap > 0 && !lone_blank) {
      before.target_last = result[i].target_first - 1;
    }
  }
  if (!result.empty()) {
    result.back().target_last = length - 1;
  }
  if (output.empty()) {
    result.clear();
  }
  alignment = std::move(result);
}

}  // namespace koralite::translator
