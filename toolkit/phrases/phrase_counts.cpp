#include "toolkit/phrases/phrase_counts.h"

#include <algorithm>

namespace koralite::toolkit {

std::size_t PhraseCounts::slot(const PhraseRef& phrase) const {
  const auto words = text_.subspan(phrase.at, phrase.length);
  std::uint64_t print = 0;
  for (const WordId word : words) {
    print = phrase_print(print, word);
  }
  for (std::size_t at = (print & mask_) & (slots_.size() - 1);;
       at = (at + 1) & (slots_.size() - 1)) {
    const PhraseRef& held = slots_[at].phrase;
    if (held.length == 0) {
      return at;
    }
    if (held.length != phrase.length) {
      continue;
    }
    if (std::equal(words.begin(), words.end(),
                   text_.begin() + static_cast<std::ptrdiff_t>(held.at))) {
      return at;
    }
  }
}

void PhraseCounts::add(const PhraseRef& phrase, std::uint32_t count, std::uint32_t sentences) {
  if (used_ * 4 >= slots_.size() * 3) {
    grow();
  }
  Slot& s = slots_[slot(phrase)];
  if (s.phrase.length == 0) {
    s.phrase = phrase;
    ++used_;
  }
  s.totals.count += count;
  s.totals.sentences += sentences;
  ++s.totals.pairs;
  ++s.totals.pairs_seen[std::min<std::uint32_t>(count, 3) - 1];
}

void PhraseCounts::grow() {
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  for (const Slot& s : old) {
    if (s.phrase.length != 0) {
      slots_[slot(s.phrase)] = s;
    }
  }
}

}  // namespace koralite::toolkit
