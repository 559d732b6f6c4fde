#include "toolkit/folder/direction.h"

#include <array>

#include "translator/text_translation.h"

namespace koralite::toolkit {

namespace {

constexpr std::array<direction_t, 34> kTable = {{
    {0, "zh", "en"},   {1, "en", "zh"},   {2, "zh", "ja"},   {3, "ja", "zh"},   {4, "th", "en"},
    {5, "en", "th"},   {6, "ar", "en"},   {7, "en", "ar"},   {8, "ja", "en"},   {9, "en", "ja"},
    {10, "zh", "th"},  {11, "th", "zh"},  {12, "zh", "es"},  {13, "es", "zh"},  {14, "zh", "fr"},
    {15, "fr", "zh"},  {16, "zh", "ar"},  {17, "ar", "zh"},  {18, "en", "es"},  {19, "es", "en"},
    {20, "en", "fr"},  {21, "fr", "en"},  {22, "zh", "ko"},  {23, "ko", "zh"},  {24, "zh", "ru"},
    {25, "ru", "zh"},  {26, "en", "pt"},  {27, "pt", "en"},  {28, "zh", "de"},  {29, "de", "zh"},
    {30, "zh", "lzh"}, {31, "lzh", "zh"}, {32, "zh", "yue"}, {33, "yue", "zh"},
}};

// Language codes in order of the engine's language types, from 1.
constexpr std::array<std::string_view, 13> kLanguages = {"zh", "en", "ja", "ko", "th",  "ar", "es",
                                                         "fr", "ru", "de", "pt", "lzh", "yue"};

}  // namespace

bool can_translate(const direction_t& direction) {
  return translator::can_translate(language_type(direction.source),
                                   language_type(direction.target));
}

std::string why_not_translated(const direction_t& direction) {
  if (!translator::can_split(language_type(direction.source))) {
    return "text in '" + std::string(direction.source) + "' cannot be cut into sentences";
  }
  return can_translate(direction)
             ? ""
             : "there are no text steps that write '" + std::string(direction.target) + "'";
}

std::span<const direction_t> directions() {
  return kTable;
}

std::optional<direction_t> find_direction(std::string_view name) {
  for (const direction_t& direction : kTable) {
    if (direction.name() == name) {
      return direction;
    }
  }
  return std::nullopt;
}

std::optional<direction_t> find_direction(int code) {
  if (code < 0 || code >= static_cast<int>(kTable.size())) {
    return std::nullopt;
  }
  return kTable[static_cast<std::size_t>(code)];
}

std::string direction_names() {
  std::string names;
  for (const direction_t& direction : kTable) {
    if (!can_translate(direction)) {
      continue;
    }
    if (!names.empty()) {
      names += ' ';
    }
    names += direction.name();
  }
  return names;
}

bool has_no_blanks(std::string_view language) {
  return language == "zh" || language == "ja" || language == "th" || language == "lzh" ||
         language == "yue";
}

std::string language_codes() {
  std::string codes;
  for (const std::string_view code : kLanguages) {
    codes += (codes.empty() ? "" : " ") + std::string(code);
  }
  return codes;
}

textProcess::LangType language_type(std::string_view code) {
  for (std::size_t i = 0; i < kLanguages.size(); ++i) {
    if (kLanguages[i] == code) {
      return static_cast<textProcess::LangType>(i + 1);
    }
  }
  return {};
}

}  // namespace koralite::toolkit
