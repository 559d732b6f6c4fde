#include "toolkit/train/word_breaks.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <map>
#include <memory>
#include <stdexcept>

namespace koralite::toolkit {

std::vector<segment_word_t> learn_words(std::span<const std::string> lines,
                                        std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale locale(std::string(language).c_str());
  const std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createWordInstance(locale, status));
  if (U_FAILURE(status) || !breaks) {
    throw std::runtime_error("no word breaks for the language '" + std::string(language) +
                             "'; give a word list with --dictionary");
  }
  std::map<std::string, std::uint64_t> counts;
  for (const std::string& line : lines) {
    const icu::UnicodeString text = icu::UnicodeString::fromUTF8(line);
    breaks->setText(text);
    std::int32_t begin = breaks->first();
    for (std::int32_t end = breaks->next(); end != icu::BreakIterator::DONE;
         begin = end, end = breaks->next()) {
      if (breaks->getRuleStatus() < UBRK_WORD_LETTER) continue;
      std::string word;
      text.tempSubStringBetween(begin, end).toUTF8String(word);
      ++counts[word];
    }
  }
  std::vector<segment_word_t> words;
  for (const auto& [word, count] : counts) words.push_back({word, count, ""});
  return words;
}

}  // namespace koralite::toolkit
