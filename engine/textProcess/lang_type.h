// The languages that the engine names, as one 32-bit code. The numbers are part
// of the public interface: they are what the direction table holds.
#pragma once

#include <cstdint>

namespace koralite::textProcess {

enum class LangType : std::int32_t {
  kNone = 0,
  kChinese = 1,
  kEnglish = 2,
  kJapanese = 3,
  kKorean = 4,
  kThai = 5,
  kArabic = 6,
  kSpanish = 7,
  kFrench = 8,
  kRussian = 9,
  kGerman = 10,
  kPortuguese = 11,
  kWenYan = 12,
  kYue = 13,
};

}  // namespace koralite::textProcess
