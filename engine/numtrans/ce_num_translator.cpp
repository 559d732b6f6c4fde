#include "numtrans/ce_num_translator.h"

#include <algorithm>
#include <bit>

namespace koralite::numtrans {
namespace {

constexpr std::size_t kLongestCharacter = 6;

// The first character of a text that is not empty. Malformed text is cut into
// some pieces or other, all within the text.
std::string_view first_character(std::string_view text) {
  const auto ones = static_cast<std::size_t>(std::countl_one(static_cast<unsigned char>(text[0])));
  return text.substr(0, std::clamp<std::size_t>(ones, 1, kLongestCharacter));
}

}  // namespace

CeNumTranslator::CeNumTranslator(const common::FilePath& path) : NumTranslator(path) {
  for (const Rule& rule : rules()) {
    for (std::string_view piece : rule.source) {
      if (is_number(piece)) {
        continue;
      }
      while (!piece.empty()) {
        const std::string_view character = first_character(piece);
        keywords_.add(character);
        piece.remove_prefix(character.size());
      }
    }
  }
}

bool CeNumTranslator::is_acceptable(const char* text) const {
  std::string_view rest(text);
  while (!rest.empty()) {
    const std::string_view character = first_character(rest);
    const bool digit = character.size() == 1 && ArabicNumAcceptor::is_acceptable(character[0]);
    if (!digit && !keywords_.has(character)) {
      return false;
    }
    rest.remove_prefix(character.size());
  }
  return true;
}

}  // namespace koralite::numtrans
