#include "toolkit/folder/tag_words.h"

namespace koralite::toolkit {

bool is_tag_word(std::string_view word) {
  if (word.size() < 5 || word.front() != '<' || word[1] == '>') {
    return false;
  }
  const std::size_t close = word.find('>');
  return close + 3 == word.size() && word[close + 1] == '#' && word.back() >= '0' &&
         word.back() <= '7';
}

}  // namespace koralite::toolkit
