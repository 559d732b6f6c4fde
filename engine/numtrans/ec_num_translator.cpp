#include "numtrans/ec_num_translator.h"

#include <algorithm>
#include <cstring>

namespace koralite::numtrans {

EcNumTranslator::EcNumTranslator(const common::FilePath& path) : NumTranslator(path) {
  for (const Rule& rule : rules()) {
    for (std::string_view piece : rule.source) {
      if (is_number(piece)) {
        continue;
      }
      while (!piece.empty()) {
        const std::size_t end = std::min(piece.find(' '), piece.size());
        if (end > 0) {
          keywords_.add(piece.substr(0, end));
        }
        piece.remove_prefix(std::min(end + 1, piece.size()));
      }
    }
  }
}

bool EcNumTranslator::is_acceptable(const char* text) const {
  const char* word = text;
  while (true) {
    word += std::strspn(word, " ");
    if (*word == '\0') {
      break;
    }
    const char* const end = word + std::strcspn(word, " ");
    const std::string_view token(word, static_cast<std::size_t>(end - word));
    if (!keywords_.has(token) && !ArabicNumAcceptor::is_acceptable(word, end)) {
      return false;
    }
    word = end;
  }
  return static_cast<std::size_t>(word - text) <= kMaxLine;
}

}  // namespace koralite::numtrans
