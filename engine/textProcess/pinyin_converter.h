// Chinese characters to Hanyu Pinyin by the table of a pinyin file
// (docs/format-pinyin.md), which is read where it lies.
//
// The converter owns the mapped file and does not change after loading: any
// number of threads may use it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "common/mapped_file.h"
#include "decoder/unk_translator.h"

namespace koralite::textProcess {

class PinyinConverter {
 public:
  // Throws std::runtime_error "Cannot open the input pinyin file!", "Invalidate
  // wordSize in the Pinyin File", "Invalidate Pinyin Info in the Pinyin File", or
  // "Invalid input file for PackFreeInput" when the file is too short for its sizes.
  explicit PinyinConverter(const common::FilePath& path);

  // Sets `out` to the pinyin of `text`: ASCII bytes as they are, known characters
  // as their pinyin without separators, everything else left out. False when a
  // broken character ends the walk; `out` then holds what came before it.
  bool get_pinyin(std::string_view text, std::string& out) const;

 private:
  // The pinyin of a three-byte character, empty if it has none.
  std::string_view find(std::string_view character) const;

  common::MappedFile file_;
  std::span<const unsigned char> entries_;  // 5 bytes each: the character, its index
  std::span<const unsigned char> slots_;    // slot_size_ bytes each, zero-terminated
  std::size_t slot_size_ = 0;
};

// Upper-cases the first byte of a text if it is one of a to z.
void capitalise_first(std::string& text);

// Writes words that no model translates in pinyin with a capital: the
// unknown-word translator of Chinese sources. The converter must outlive it.
class PinyinTranslator : public decoder::UnkTranslator {
 public:
  // When not enabled, every translation is empty.
  explicit PinyinTranslator(const PinyinConverter& converter, bool enabled = true)
      : UnkTranslator(enabled), converter_(&converter) {}

  void translate(const char* word, std::string& result) const override;

 private:
  const PinyinConverter* converter_;
};

}  // namespace koralite::textProcess
