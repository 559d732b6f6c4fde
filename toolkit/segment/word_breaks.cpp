#include "toolkit/segment/word_breaks.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

namespace koralite::toolkit {

namespace {

std::unique_ptr<icu::BreakIterator> open_breaks(std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale locale(std::string(language).c_str());
  std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createWordInstance(locale, status));
  if (U_FAILURE(status) || !breaks) {
    throw std::runtime_error("no word breaks for the language '" + std::string(language) +
                             "'; give a word list with --dictionary");
  }
  return breaks;
}

// Hands each piece and the kind of its characters to use(piece, status).
template <class Use>
void for_each_piece(icu::BreakIterator& breaks, const std::string& line, Use&& use) {
  const icu::UnicodeString text = icu::UnicodeString::fromUTF8(line);
  breaks.setText(text);
  std::int32_t begin = breaks.first();
  for (std::int32_t end = breaks.next(); end != icu::BreakIterator::DONE;
       begin = end, end = breaks.next()) {
    std::string piece;
    text.tempSubStringBetween(begin, end).toUTF8String(piece);
    use(std::move(piece), breaks.getRuleStatus());
  }
}

}  // namespace

std::vector<segment_word_t> learn_words(std::span<const std::string> lines,
                                        std::string_view language) {
  const auto breaks = open_breaks(language);
  std::map<std::string, std::uint64_t> counts;
  for (const std::string& line : lines) {
    for_each_piece(*breaks, line, [&](std::string piece, std::int32_t status) {
      if (status >= UBRK_WORD_LETTER) {
        ++counts[std::move(piece)];
      }
    });
  }
  std::vector<segment_word_t> words;
  for (const auto& [word, count] : counts) {
    words.push_back({word, count, ""});
  }
  return words;
}

}  // namespace koralite::toolkit
