#include "document/stand_ins.h"

#include <algorithm>
#include <utility>

#include "common/text_class.h"

namespace koralite::document {

namespace {

constexpr std::string_view kStart = "qx";
// No letter stands beside its like: the tokenizer cuts long runs of one byte.
constexpr std::string_view kFiller = "jw";
constexpr char kBetween = 'v';

}  // namespace

bool stands_attached(std::string_view text, std::size_t at) {
  const char next = text[at];
  return next == '\'' || ((next == '.' || next == ',' || next == '?' || next == '!') &&
                          (at + 1 == text.size() || text[at + 1] == ' '));
}

void StandIns::reset(std::string_view text) {
  held_.clear();
  // One filler more than the longest run of them: then the prefix is new to the text.
  std::size_t longest = 0;
  std::size_t run = 0;
  for (const char c : text) {
    const char letter = common::text_to_lower(c);
    run = letter == kFiller[run % 2] ? run + 1 : letter == kFiller[0] ? 1 : 0;
    longest = std::max(longest, run);
  }
  prefix_ = kStart;
  for (std::size_t i = 0; i <= longest / 2; ++i) {
    prefix_ += kFiller;
  }
}

std::string StandIns::word(std::size_t index) const {
  std::string word = prefix_;
  for (std::size_t digit = kDigits; digit-- > 0;) {
    word += static_cast<char>('a' + (index >> (4 * digit) & 15U));
    word += kBetween;
  }
  return word;
}

std::string StandIns::add(held_t held) {
  held_.push_back(std::move(held));
  return word(held_.size() - 1);
}

std::size_t StandIns::index_of(std::string_view word) const {
  if (held_.empty()) {
    return 0;
  }
  const std::string_view rest = std::string_view(prefix_).substr(1);
  if (word.size() != prefix_.size() + 2 * kDigits || !word.substr(1).starts_with(rest) ||
      common::text_to_lower(word.front()) != prefix_.front()) {
    return held_.size();
  }
  std::size_t index = 0;
  for (std::size_t i = prefix_.size(); i < word.size(); i += 2) {
    if (word[i] < 'a' || word[i] > 'p' || word[i + 1] != kBetween) {
      return held_.size();
    }
    index = index << 4U | static_cast<std::size_t>(word[i] - 'a');
  }
  return std::min(index, held_.size());
}

std::vector<found_stand_in_t> StandIns::find(std::string_view text) const {
  std::vector<found_stand_in_t> found;
  if (held_.empty()) {
    return found;
  }
  const std::string_view rest = std::string_view(prefix_).substr(1);
  const std::size_t length = prefix_.size() + 2 * kDigits;
  for (std::size_t at = text.find(rest); at != std::string_view::npos;
       at = text.find(rest, at + 1)) {
    if (at == 0 || at - 1 + length > text.size()) {
      continue;
    }
    const std::size_t index = index_of(text.substr(at - 1, length));
    if (index < held_.size()) {
      found.push_back({at - 1, at - 1 + length, index});
    }
  }
  return found;
}

}  // namespace koralite::document
