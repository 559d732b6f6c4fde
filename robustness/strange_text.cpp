#include "robustness/strange_text.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace kora_proof {

namespace {

class Random {
 public:
  std::size_t below(std::size_t limit) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::size_t>(state_ >> 33U) % limit;
  }
  template <class List>
  const auto& one_of(const List& list) {
    return list[below(std::size(list))];
  }

 private:
  std::uint64_t state_ = 1;
};

constexpr const char* kEnglishWords[] = {
    "the",    "file",       "opens", "a",    "program", "reads", "new",   "york",   "is",    "not",
    "5",      "well-known", "it",    "menu", "click",   "and",   "save",  "to",     "page",  "in",
    "window", "with",       "from",  "3.5",  "error",   "your",  "first", "twenty", "don't", "of"};
constexpr const char* kChineseWords[] = {"这",   "个",   "文件", "打开",   "程序", "读取", "上海",
                                         "是",   "不",   "5",    "和",     "保存", "到",   "张三",
                                         "页",   "在",   "了",   "第",     "单击", "窗口", "三百",
                                         "错误", "您的", "从",   "李小明", "菜单", "中国", "3.5"};

bool without_blanks(std::string_view language) {
  return language == "zh" || language == "ja";
}

// Letters drawn by chance, so that no unit of them repeats.
char letter(Random& random) {
  return static_cast<char>('a' + random.below(26));
}

void append_character(std::string& text, std::uint32_t code) {
  text += static_cast<char>(0xE0U | code >> 12U);
  text += static_cast<char>(0x80U | (code >> 6U & 0x3FU));
  text += static_cast<char>(0x80U | (code & 0x3FU));
}

using add_t = std::function<void(std::string&, Random&, std::string_view)>;

add_t repeat(std::string unit) {
  return [unit = std::move(unit)](std::string& text, Random&, std::string_view) { text += unit; };
}

void add_word(std::string& text, Random& random, std::string_view language) {
  if (without_blanks(language)) {
    text += random.one_of(kChineseWords);
  } else {
    text.append(random.one_of(kEnglishWords)).append(1, ' ');
  }
}

void add_sentence(std::string& text, Random& random, std::string_view language) {
  for (std::size_t n = 4 + random.below(12); n > 0; --n) {
    add_word(text, random, language);
  }
  if (without_blanks(language)) {
    text += "。";
  } else {
    text.back() = '.';
    text += ' ';
  }
}

struct kind_t {
  const char* name;
  add_t add;
};

const std::vector<kind_t>& kinds() {
  static const std::vector<kind_t> kList = {
      {"ordinary sentences", add_sentence},
      {"one sentence without end", add_word},
      {"one letter over and over", repeat("a")},
      {"letters without spaces",
       [](std::string& text, Random& random, std::string_view) { text += letter(random); }},
      {"Chinese characters by chance",
       [](std::string& text, Random& random, std::string_view) {
         append_character(text, 0x4E00U + static_cast<std::uint32_t>(random.below(0x5200)));
       }},
      {"one Chinese character over and over", repeat("的")},
      {"one number", [](std::string& text, Random& random,
                        std::string_view) { text += static_cast<char>('0' + random.below(10)); }},
      {"numbers of 2 KB",
       [](std::string& text, Random& random, std::string_view) {
         for (int i = 0; i < 2000; ++i) {
           text += static_cast<char>('0' + random.below(10));
         }
         text += ' ';
       }},
      {"grouped digits", repeat("1,000,")},
      {"dotted digits", repeat("1.2.")},
      {"English number words", repeat("one hundred and twenty thousand ")},
      {"Chinese number words", repeat("三千五百万")},
      {"percent signs", repeat("5% ")},
      {"open brackets", repeat("(")},
      {"nested brackets", repeat("([{\"“（")},
      {"nested tags", repeat("<b><i>")},
      {"entities", repeat("&amp;&#x41;&lt;")},
      {"placeholders", repeat("<NUM>#0 ")},
      {"bytes by chance",
       [](std::string& text, Random& random, std::string_view) {
         const auto byte = static_cast<char>(random.below(256));
         text += byte == '\n' ? ' ' : byte;
       }},
      {"broken characters", repeat("\xE4\xBD")},
      {"bytes 255", repeat("\xFF")},
      {"letters and bytes 0", repeat(std::string("a\0", 2))},
      {"full stops", repeat(".")},
      {"full stops with spaces", repeat(". ")},
      {"initials", repeat("a.b.")},
      {"dots before letters", repeat("..a")},
      {"ends of sentences", repeat("!?。！")},
      {"hyphens", repeat("-")},
      {"hyphenated letters", repeat("a-b-")},
      {"apostrophes", repeat("a'b'")},
      {"addresses", repeat("http://a.b/c?d=e")},
      {"signs at", repeat("a@b.c@")},
      {"empty calls", repeat("f()")},
      {"underscores and letters", repeat("a_")},
      {"backslashes and signs", repeat("\\#")},
      {"spaces", repeat(" ")},
      {"tabs", repeat("a\t")},
      {"full-width letters", repeat("Ａ５％")},
      {"line feeds", repeat("\n")},
      {"lines of one letter", repeat("a\n")},
  };
  return kList;
}

}  // namespace

const std::vector<std::string>& strange_kinds() {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> made;
    for (const kind_t& kind : kinds()) {
      made.emplace_back(kind.name);
    }
    return made;
  }();
  return kNames;
}

std::string strange_text(std::string_view name, std::string_view language, std::size_t size) {
  std::string text;
  for (const kind_t& kind : kinds()) {
    if (kind.name != name) {
      continue;
    }
    Random random;
    while (text.size() < size) {
      kind.add(text, random, language);
    }
  }
  return text;
}

std::vector<std::string> ordinary_sentences(std::string_view language, std::size_t count) {
  Random random;
  std::vector<std::string> made(count);
  for (std::string& text : made) {
    add_sentence(text, random, language);
  }
  return made;
}

}  // namespace kora_proof
