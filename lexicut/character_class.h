// Which characters stay together when no dictionary word covers them.
#pragma once

#include <cstdint>

namespace lexicut {

enum class CharacterClass : std::uint8_t {
  kSingle,    // a word by itself: Chinese characters, hiragana, punctuation, symbols
  kBlank,     // spaces; a run is one token
  kLetter,    // letters and digits of the Latin, Greek and Cyrillic scripts
  kKatakana,  // katakana with the long vowel mark: loan words in Japanese text
  kSyllable,  // Hangul and the scripts of South and South-East Asia and the Near East
};

inline CharacterClass class_of(std::uint32_t c) {
  if (c < 0x80) {
    if (c == ' ') {
      return CharacterClass::kBlank;
    }
    const bool is_word =
        (c >= '0' && c <= '9') || ((c | 0x20U) >= 'a' && (c | 0x20U) <= 'z') || c == '_';
    return is_word ? CharacterClass::kLetter : CharacterClass::kSingle;
  }
  if (c >= 0x3400 && c <= 0x9FFF) {
    return CharacterClass::kSingle;
  }
  if ((c >= 0xC0 && c <= 0x24F && c != 0xD7 && c != 0xF7) || (c >= 0x370 && c <= 0x52F)) {
    return CharacterClass::kLetter;
  }
  if ((c >= 0x30A1 && c <= 0x30FA) || c == 0x30FC) {
    return CharacterClass::kKatakana;
  }
  if ((c >= 0x590 && c <= 0x10FF) || (c >= 0xAC00 && c <= 0xD7A3)) {
    return CharacterClass::kSyllable;
  }
  return CharacterClass::kSingle;
}

}  // namespace lexicut
