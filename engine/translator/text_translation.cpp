#include "translator/text_translation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "common/text_split.h"

namespace koralite::translator {

namespace {

using common::align_t;
using textProcess::LangType;

bool splits_like_chinese(LangType source) {
  return source == LangType::kChinese || source == LangType::kJapanese;
}

// Calls use(line, offset) for each line that is not empty, until it gives false.
template <class Use>
bool for_each_line(std::string_view input, Use&& use) {
  for (std::size_t begin = 0; begin < input.size();) {
    const std::size_t end = std::min(input.find('\n', begin), input.size());
    if (end > begin && !use(input.substr(begin, end - begin), begin)) {
      return false;
    }
    begin = end + 1;
  }
  return true;
}

// Translates line by line; translate(sentence, source_offset, target_offset) gives
// the text of one sentence, told where both will stand. The target offset counts
// from the start of the line's own result.
template <class TranslateSentence, class FinishLine>
bool translate_lines(LangType source, std::string_view input, std::string& output,
                     TranslateSentence&& translate, FinishLine&& finish_line) {
  output.clear();
  return for_each_line(input, [&](std::string_view line, std::size_t offset) {
    if (!can_split(source)) {
      return false;
    }
    std::string joined;
    bool is_first = true;
    for (const std::string& sentence : split_sentences(std::string(line), source)) {
      if (!is_first) {
        joined += ' ';
      }
      is_first = false;
      joined += translate(sentence, offset, joined.size());
      offset += sentence.size();
    }
    if (!output.empty()) {
      output += '\n';
    }
    finish_line(output.size());
    output += joined;
    return true;
  });
}

}  // namespace

bool can_split(LangType source) {
  return splits_like_chinese(source) || source == LangType::kEnglish || source == LangType::kKorean;
}

bool can_translate(LangType source, LangType target) {
  return can_split(source) && textProcess::has_postprocessor(target);
}

std::vector<std::string> split_sentences(const std::string& line, LangType source) {
  std::string text;
  if (splits_like_chinese(source)) {
    common::text_split_sent_chs(line, text);
  } else {
    common::text_split_sent_eng(line, text);
  }
  std::vector<std::string> sentences;
  for_each_line(text, [&](std::string_view sentence, std::size_t) {
    sentences.emplace_back(sentence);
    return true;
  });
  return sentences;
}

bool translate_text(TransImpl& handle, LangType source, std::string_view input,
                    std::string& output) {
  std::string translation;
  return translate_lines(
      source, input, output,
      [&](const std::string& sentence, std::size_t, std::size_t) -> const std::string& {
        handle.Translate(sentence, translation);
        return translation;
      },
      [](std::size_t) {});
}

bool translate_text(TransImpl& handle, LangType source, std::string_view input, std::string& output,
                    std::vector<align_t>& alignment) {
  alignment.clear();
  std::string translation;
  std::vector<align_t> links;       // of one sentence
  std::vector<align_t> line_links;  // of one line, target bytes counted from its start
  return translate_lines(
      source, input, output,
      [&](const std::string& sentence, std::size_t source_offset,
          std::size_t target_offset) -> const std::string& {
        // Zero bytes are dropped first, and of nothing no step can say where it came from.
        if (sentence.find_first_not_of('\0') == std::string::npos) {
          translation.clear();
          return translation;
        }
        handle.Translate(sentence, translation, links);
        const auto s = static_cast<std::int32_t>(source_offset);
        const auto t = static_cast<std::int32_t>(target_offset);
        for (const align_t& link : links) {
          line_links.push_back({link.source_first + s, link.source_last + s, link.target_first + t,
                                link.target_last + t});
        }
        return translation;
      },
      [&](std::size_t line_start) {
        const auto start = static_cast<std::int32_t>(line_start);
        for (align_t& link : line_links) {
          link.target_first += start;
          link.target_last += start;
          alignment.push_back(link);
        }
        line_links.clear();
      });
}

}  // namespace koralite::translator
