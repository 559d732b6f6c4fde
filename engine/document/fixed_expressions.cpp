#include "document/fixed_expressions.h"

#include <algorithm>
#include <utility>

#include "common/text_class.h"

namespace koralite::document {

namespace {

using common::text_is_digit;
using common::text_is_word_byte;
using textProcess::LangType;

char byte(std::string_view text, std::size_t at) {
  return at < text.size() ? text[at] : '\0';
}

// The end of "3:30" that begins at `at`, or `at`.
std::size_t clock_end(std::string_view text, std::size_t at) {
  std::size_t i = at;
  while (i - at < 2 && text_is_digit(byte(text, i))) {
    ++i;
  }
  const bool fits = i > at && byte(text, i) == ':' && text_is_digit(byte(text, i + 1)) &&
                    text_is_digit(byte(text, i + 2)) && !text_is_digit(byte(text, i + 3)) &&
                    byte(text, i + 3) != ':';
  return fits ? i + 3 : at;
}

// "3:30 p.m.", "11:05 AM": "下午3:30".
bool english_time(std::string_view text, std::size_t at, expression_t& found) {
  const std::size_t clock = clock_end(text, at);
  if (clock == at) {
    return false;
  }
  std::size_t i = clock + (byte(text, clock) == ' ' ? 1 : 0);
  const char half = common::text_to_lower(byte(text, i));
  const bool dotted = byte(text, i + 1) == '.';
  const std::size_t m = i + (dotted ? 2 : 1);
  if ((half != 'a' && half != 'p') || common::text_to_lower(byte(text, m)) != 'm') {
    return false;
  }
  std::size_t end = m + 1;
  if (text_is_word_byte(byte(text, end))) {
    return false;
  }
  // The dot of "p.m." may end the sentence too; then it stays for that.
  const bool ends = byte(text, end) == '.' &&
                    std::all_of(text.begin() + static_cast<std::ptrdiff_t>(end) + 1, text.end(),
                                [](char c) { return c == ' ' || c == '"' || c == ')'; });
  if (dotted && byte(text, end) == '.' && !ends) {
    ++end;
  }
  found = {at, end, (half == 'a' ? "上午" : "下午") + std::string(text.substr(at, clock - at))};
  return true;
}

// "Room 205": "205室".
bool english_room(std::string_view text, std::size_t at, expression_t& found) {
  if (!text.substr(at).starts_with("Room ")) {
    return false;
  }
  const std::size_t number = at + 5;
  std::size_t end = number;
  while (end - number < 5 && text_is_digit(byte(text, end))) {
    ++end;
  }
  if (end == number || text_is_word_byte(byte(text, end)) ||
      (byte(text, end) == '.' && text_is_digit(byte(text, end + 1)))) {
    return false;
  }
  found = {at, end, std::string(text.substr(number, end - number)) + "室"};
  return true;
}

// "$100,000": "100000美元". Only what the tokenizer would cut: five equal digits in a row.
bool english_money(std::string_view text, std::size_t at, expression_t& found) {
  constexpr std::pair<std::string_view, std::string_view> kSigns[] = {
      {"US$", "美元"}, {"$", "美元"}, {"€", "欧元"}, {"£", "英镑"}};
  for (const auto& [sign, name] : kSigns) {
    if (!text.substr(at).starts_with(sign)) {
      continue;
    }
    std::string digits;
    std::size_t end = at + sign.size();
    std::size_t run = 0;
    bool cut = false;
    for (; end < text.size() && digits.size() < 20; ++end) {
      if (text_is_digit(text[end])) {
        run = !digits.empty() && digits.back() == text[end] ? run + 1 : 1;
        cut = cut || run >= 5;
        digits += text[end];
      } else if (text[end] != ',' || digits.empty() || !text_is_digit(byte(text, end + 1))) {
        break;
      }
    }
    if (!cut || text_is_word_byte(byte(text, end)) ||
        (byte(text, end) == '.' && text_is_digit(byte(text, end + 1)))) {
      return false;
    }
    found = {at, end, digits + std::string(name)};
    return true;
  }
  return false;
}

// "下午3:30": "3:30 p.m."; "205室": "Room 205".
bool chinese_expression(std::string_view text, std::size_t at, expression_t& found) {
  const std::string_view rest = text.substr(at);
  for (const auto& [half, name] :
       {std::pair<std::string_view, std::string_view>{"上午", " a.m."}, {"下午", " p.m."}}) {
    if (rest.starts_with(half)) {
      const std::size_t clock = at + half.size();
      const std::size_t end = clock_end(text, clock);
      if (end == clock) {
        return false;
      }
      found = {at, end, std::string(text.substr(clock, end - clock)) + std::string(name)};
      return true;
    }
  }
  std::size_t digits = 0;
  while (digits < 5 && text_is_digit(byte(text, at + digits))) {
    ++digits;
  }
  constexpr std::string_view kRoom = "室";
  if (digits < 2 || !text.substr(at + digits).starts_with(kRoom)) {
    return false;
  }
  found = {at, at + digits + kRoom.size(), "Room " + std::string(text.substr(at, digits))};
  return true;
}

}  // namespace

std::vector<expression_t> find_expressions(std::string_view text, LangType source,
                                           LangType target) {
  const bool from_english = source == LangType::kEnglish && target == LangType::kChinese;
  const bool from_chinese = source == LangType::kChinese && target == LangType::kEnglish;
  std::vector<expression_t> all;
  if (!from_english && !from_chinese) {
    return all;
  }
  for (std::size_t at = 0; at < text.size();) {
    const bool begins = at == 0 || !(text_is_word_byte(text[at - 1]) || text[at - 1] == ':' ||
                                     text[at - 1] == '.' || text[at - 1] == ',');
    expression_t found;
    const bool some =
        begins && (from_english ? english_time(text, at, found) || english_room(text, at, found) ||
                                      english_money(text, at, found)
                                : chinese_expression(text, at, found));
    if (some) {
      at = found.end;
      all.push_back(std::move(found));
    } else {
      ++at;
    }
  }
  return all;
}

}  // namespace koralite::document
