#include <random>
#include <string>
#include <string_view>

#include "textProcess/blank_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/text_helpers.h"
#include "textProcess/text_units.h"
#include "textProcess/tokenize_eng_str_processor.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_view_literals;

TEST(TokenizeEng, Texts) {
  TokenizeEngStrProcessor step(7);
  expect_texts(step,
               {
                   {"", ""},
                   {"   ", ""},
                   {"Mr. Smith, 3.14 and 1,000 e-mail", "Mr. Smith , 3.14 and 1,000 e-mail"},
                   {"I don't know.", "I don 't know ."},
                   {"I'M John's; they'Ll o'clock dogs' 'hi' '",
                    "I 'M John 's ; they 'Ll o'clock dogs ' ' hi ' '"},
                   {"rock'n'roll '90s x'9", "rock'n'roll ' 90s x '9"},
                   {"Visit abc.def.", "Visit abc.def ."},
                   {"Visit abc.def, or http://ab.cd/e?", "Visit abc.def , or http://ab.cd/e ?"},
                   {"Wait...", "Wait ..."},
                   {"DR. No Dr. Who etc. foo. J. u.s. on sat. So am I.",
                    "DR. No Dr. Who etc. foo . J. u.s. on sat. So am I."},
                   {"etc... wait....", "etc. .. wait ...."},
                   {"10:30 a:b 1,a ,1", "10:30 a : b 1 , a , 1"},
                   {"3.14 .5 5. 3.x", "3.14 . 5 5 . 3 . x"},
                   {"well-known 3-4 a--b -x- - a-(b", "well-known 3-4 a -- b - x - - a - ( b"},
                   // Units are looked for at every index, inside words too.
                   {"100000 10000 xaaaaay aaaa", "1 00000 10000 x aaaaa y aaaa"},
                   {"===== ==== a=b", "===== = = = = a = b"},
                   {"a-f() f()'s g(x)", "a- f() f() 's g ( x )"},
                   {"abc,def.gh a/b.com", "abc , def.gh a / b.com"},
                   {"see中文here 中 x", "see 中文 here 中 x"},
                   {"a_b c\td", "a_b c \t d"},
                   {"ab\0.cd"sv, "ab \0 . cd"sv},
                   {"\xff\xfe!\x80", "\xff\xfe ! \x80"},
               });
}

TEST(TokenizeEng, Places) {
  TokenizeEngStrProcessor step(0);
  expect_places(step, {
                          {"a, b", "a , b", {0, 1, 1, 1, 3}},
                          // Behind a unit stands the blank of its last byte.
                          {"x中  y", "x 中 y", {0, 1, 1, 2, 3, 3, 6}},
                          {"don't", "don 't", {0, 1, 2, 3, 3, 4}},
                          {"a . . b", "a .. b", {0, 1, 2, 4, 4, 6}},
                          {"(a--b)", "( a -- b )", {0, 0, 1, 2, 2, 3, 3, 4, 5, 5}},
                      });
}

TEST(DetokenizeEng, Texts) {
  DetokenizeEngStrProcessor step(0);
  expect_texts(step, {
                         {"", ""},
                         {"I don 't know .", "I don't know."},
                         {"a , b ; c : d ! e ? f % g", "a, b; c: d! e? f% g"},
                         {"( a ) [ b ] { c } $ 5", "(a) [b] {c} $5"},
                         {"he said \" hi \" and \" bye \" .", "he said \"hi\" and \"bye\"."},
                         {"a ' b ' c", "a 'b' c"},
                         {"the dogs ' tails ' x ' y", "the dogs' tails' x 'y"},
                         {"said 'hi", "said'hi"},
                         {" a b ", " a b"},
                         {"(  b", "( b"},
                         {"a  \"  b", "a \" b"},
                         {"'", "'"},
                         {"中 文 ,", "中 文,"},
                     });
  expect_places(step, {{"a  ( b  c", "a (b c", {0, 3, 3, 5, 8, 8}}});
}

TEST(InsertBlankEng, Texts) {
  InsertBlankEngStrProcessor step(0);
  expect_texts(step, {
                         {"end.The", "end. The"},
                         {"ok.Yes, x", "ok. Yes, x"},
                         {".The .The", ". The . The"},
                         {"J.K vitamin.C, Node.Js is", "J. K vitamin. C, Node. Js is"},
                         {"U.S.A", "U.S.A"},
                         {"e.g.x x1.2 end.The. ok.Yes.No a-b.The a.Th1",
                          "e.g.x x1.2 end.The. ok.Yes.No a-b.The a.Th1"},
                         {"中.The a.", "中.The a."},
                     });
  expect_places(step, {{"a.B", "a. B", {0, 1, 1, 2}}});
}

TEST(ConnectEllipsis, Texts) {
  ConnectEllipsisStrProcessor step(0);
  expect_texts(step, {
                         {". . .", "..."},
                         {"wait . . .", "wait ..."},
                         {"x. .", "x. ."},
                         {"x. . .", "x. .."},
                         {"x . .5", "x ..5"},
                         {".. .", ".. ."},
                         {"a . b . . c", "a . b .. c"},
                     });
}

TEST(Abbreviations, Known) {
  for (const char* word :
       {"a.", "J.", "u.s.", "e.g.", "x1.b.c.", "ab.", "mr.", "yrs.", "messrs."}) {
    EXPECT_TRUE(text_is_abbrev_eng(word)) << word;
  }
  for (const char* word : {"", ".", "1.", "foo.", "Mr.", "mr", "1.2.", "ab..", "zz.", "aa."}) {
    EXPECT_FALSE(text_is_abbrev_eng(word)) << word;
  }
  EXPECT_FALSE(text_is_abbrev_eng(static_cast<const char*>(nullptr)));
}

TEST(WordAround, PrefixAndSuffix) {
  std::string out;
  text_get_prefix("say Mr. x_1", 6, out);
  EXPECT_EQ(out, "Mr.");
  text_get_prefix(" .", 1, out);
  EXPECT_EQ(out, ".");
  text_get_suffix("don't go", 3, out);
  EXPECT_EQ(out, "'t");
  text_get_suffix("x", 1, out);
  EXPECT_EQ(out, "");
}

TEST(Units, Lengths) {
  struct Case {
    const char* text;
    std::size_t url;
    std::size_t whole;
  };
  for (const Case& c : {
           Case{"abc.def.gh x", 10, 10},
           {"ab://cd.ef/g", 12, 12},
           {"abc.def", 7, 7},
           {"abc.def,", 7, 7},
           {"abc.def.", 7, 7},
           {"a.b", 0, 0},
           {"ab.c", 0, 0},
           {"ab-.cd", 0, 0},
           {"abc.def:80", 0, 0},
           {"abc.def)", 0, 0},
           {"http://ab.cd?x=1", 0, 0},
           {"http://ab.cd)", 12, 12},
           {"@ab.cd", 6, 6},
           {"me@ab.cd", 8, 8},
           {"ab.cd/e.f", 0, 0},
           {".abc.de", 0, 0},
           {" ab.cd", 0, 0},
           {"f()", 0, 3},
           {"f_1()x", 0, 5},
           {"()", 0, 0},
           {"f( )", 0, 0},
           {"=====a", 0, 5},
           {"====", 0, 0},
           {"中文a", 0, 6},
           {"", 0, 0},
       }) {
    EXPECT_EQ(text_is_url(c.text), c.url) << c.text;
    EXPECT_EQ(text_is_integral(c.text), c.whole) << c.text;
  }
}

// The rules for addresses, read out one after another.
std::size_t plain_url(const char* p) {
  const auto label = [](char c) { return text_is_digit_or_letter(c) || c == '_' || c == '-'; };
  const auto path = [&](char c) { return label(c) || c == '.' || c == '/'; };
  const std::string_view token = std::string_view(p).substr(0, std::string_view(p).find(' '));
  if (token.find('.') == token.npos) return 0;
  const std::size_t stop = std::min(token.find_first_of(",;?!:@"), token.size());
  for (const char c : token.substr(0, stop)) {
    if (!path(c)) return 0;
  }
  std::size_t host = 0;
  if (token.substr(stop).starts_with("://")) host = stop + 3;
  if (token.substr(stop).starts_with("@")) host = stop + 1;
  const std::size_t dot = token.find('.', host);
  if (dot == token.npos || dot == host) return 0;
  for (const char c : token.substr(host, dot - host)) {
    if (!label(c)) return 0;
  }
  if (dot + 1 == token.size() || !text_is_digit_or_letter(token[dot + 1])) return 0;
  for (std::size_t i = dot; i < token.size(); ++i) {
    const bool last = i + 1 == token.size();
    if (token[i] == '.') {
      if (!text_is_digit_or_letter(token[i - 1])) return 0;
      if (!last && !text_is_digit_or_letter(token[i + 1])) return 0;
    } else if (!path(token[i]) && !last) {
      return 0;
    }
  }
  std::size_t length = token.size();
  if (!text_is_digit_or_letter(token.back()) && token.back() != '/') --length;
  if (length < 4 || token[length - 1] == '.' || token[length - 2] == '.') return 0;
  return length;
}

TEST(Units, ScannerAgreesWithTheRulesAtEveryIndex) {
  std::mt19937 random(20);
  std::size_t addresses = 0;
  for (int round = 0; round < 40000; ++round) {
    constexpr std::string_view kBytes = "aaaaB1.._-//:@@ ,()\0中"sv;
    std::string text;
    for (std::size_t size = random() % 24; size > 0; --size) {
      const std::size_t pick = random() % (kBytes.size() + 2);
      text += pick < kBytes.size()    ? std::string(1, kBytes[pick])
              : pick == kBytes.size() ? "://"
                                      : "ab.cd";
    }
    UnitScanner scanner(text);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const std::size_t url = plain_url(text.c_str() + i);
      addresses += url > 0 ? 1 : 0;
      ASSERT_EQ(scanner.url_at(i), url) << "[" << text << "] at " << i;
      ASSERT_EQ(text_is_url(text.c_str() + i), url) << "[" << text << "] at " << i;
      ASSERT_EQ(scanner.function_at(i), text_is_function(text.c_str() + i));
      for (std::size_t plain = i, end = scanner.plain_word_end(i); plain < end; ++plain) {
        ASSERT_EQ(text_is_integral(text.c_str() + plain), 0U) << "[" << text << "] at " << plain;
        ASSERT_TRUE(text_is_word_byte(text[plain]));
      }
    }
  }
  EXPECT_GT(addresses, 10000U);
}

}  // namespace
}  // namespace koralite::textProcess
