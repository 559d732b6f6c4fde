// Names of Chinese persons in pinyin: surname and given name, each with a
// capital. Without state that changes; borrows the converter.
#pragma once

#include <string>
#include <string_view>

#include "textProcess/pinyin_converter.h"

namespace koralite::textProcess {

class NameConverter {
 public:
  explicit NameConverter(const PinyinConverter& pinyin) : pinyin_(&pinyin) {}

  // Sets `out` to "Surname Givenname". The surname is the first character, or the
  // first two if they are a compound surname. False when one of the name's first
  // two characters is broken.
  bool convert(const std::string& name, std::string& out) const;

 private:
  std::string transliterate(std::string_view part) const;

  const PinyinConverter* pinyin_;
};

}  // namespace koralite::textProcess
