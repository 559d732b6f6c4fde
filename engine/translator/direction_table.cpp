#include "translator/direction_table.h"

#include <array>
#include <cstddef>

namespace koralite::translator {

namespace {

using enum textProcess::LangType;

constexpr std::array<language_pair_t, kDirectionCount> kTable = {{
    {kChinese, kEnglish},  {kEnglish, kChinese},  {kChinese, kJapanese},   {kJapanese, kChinese},
    {kThai, kEnglish},     {kEnglish, kThai},     {kArabic, kEnglish},     {kEnglish, kArabic},
    {kJapanese, kEnglish}, {kEnglish, kJapanese}, {kChinese, kThai},       {kThai, kChinese},
    {kChinese, kSpanish},  {kSpanish, kChinese},  {kChinese, kFrench},     {kFrench, kChinese},
    {kChinese, kArabic},   {kArabic, kChinese},   {kEnglish, kSpanish},    {kSpanish, kEnglish},
    {kEnglish, kFrench},   {kFrench, kEnglish},   {kChinese, kKorean},     {kKorean, kChinese},
    {kChinese, kRussian},  {kRussian, kChinese},  {kEnglish, kPortuguese}, {kPortuguese, kEnglish},
    {kChinese, kGerman},   {kGerman, kChinese},   {kChinese, kWenYan},     {kWenYan, kChinese},
    {kChinese, kYue},      {kYue, kChinese},
}};

}  // namespace

language_pair_t languages_of(std::int32_t direction) {
  if (direction < 0 || direction >= kDirectionCount) {
    return {kNone, kNone};
  }
  return kTable[static_cast<std::size_t>(direction)];
}

}  // namespace koralite::translator
