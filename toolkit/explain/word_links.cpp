#include "toolkit/explain/word_links.h"

#include <set>

namespace koralite::toolkit {

std::vector<std::pair<std::size_t, std::size_t>> word_ranges(std::string_view text,
                                                             bool by_character) {
  std::vector<std::pair<std::size_t, std::size_t>> words;
  bool inside = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool is_continuation = (byte & 0xC0) == 0x80;
    if (byte <= ' ') {
      inside = false;
    } else if (by_character && byte >= 0x80) {
      if (is_continuation && !words.empty() && words.back().second + 1 == i) {
        words.back().second = i;
      } else {
        words.emplace_back(i, i);
      }
      inside = false;
    } else if (inside) {
      words.back().second = i;
    } else {
      words.emplace_back(i, i);
      inside = true;
    }
  }
  return words;
}

std::string format_word_links(std::span<const common::align_t> links, std::string_view source,
                              bool source_by_character, std::string_view target,
                              bool target_by_character) {
  const auto source_words = word_ranges(source, source_by_character);
  const auto target_words = word_ranges(target, target_by_character);
  const auto touched = [](const auto& words, std::int32_t first, std::int32_t last) {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (first >= 0 && words[i].first <= static_cast<std::size_t>(last) &&
          words[i].second >= static_cast<std::size_t>(first)) {
        numbers.push_back(i);
      }
    }
    return numbers;
  };
  std::set<std::pair<std::size_t, std::size_t>> pairs;
  for (const common::align_t& link : links) {
    for (const std::size_t i : touched(source_words, link.source_first, link.source_last)) {
      for (const std::size_t j : touched(target_words, link.target_first, link.target_last)) {
        pairs.emplace(i, j);
      }
    }
  }
  std::string text;
  for (const auto& [i, j] : pairs) {
    if (!text.empty()) {
      text += ' ';
    }
    text += std::to_string(i) + '-' + std::to_string(j);
  }
  return text;
}

std::string format_byte_links(std::span<const common::align_t> links) {
  std::string text;
  for (const common::align_t& link : links) {
    if (!text.empty()) {
      text += ' ';
    }
    text += std::to_string(link.source_first) + ':' + std::to_string(link.source_last) + '-' +
            std::to_string(link.target_first) + ':' + std::to_string(link.target_last);
  }
  return text;
}

}  // namespace koralite::toolkit
