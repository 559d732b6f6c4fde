#include <string>
#include <string_view>

#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/norm_str_processors.h"
#include "text_steps.h"

namespace koralite::textProcess {
namespace {

using namespace std::string_view_literals;

TEST(Normalise, Bytes) {
  LowercaseEngStrProcessor lower(0);
  expect_texts(lower, {{"", ""}, {"AbZ@[ÀÉ", "abz@[ÀÉ"}});
  ReplaceCharStrProcessor tabs(0, nullptr, '\t', ' ');
  expect_texts(tabs, {{"a\tb\t\n", "a b \n"}});
  CleanStrProcessor clean(0);
  expect_texts(clean, {{"\0a\0\0b\0"sv, "ab"}, {"\0"sv, ""}, {"a\x80", "a\x80"}});
  expect_places(clean, {{"\0a\0b"sv, "ab", {1, 3}}});
}

TEST(Normalise, Blanks) {
  UniqueBlankStrProcessor unique(0);
  expect_texts(unique, {{"   ", ""}, {"  a   b c ", "a b c"}, {" \t  \t", "\t \t"}, {"a", "a"}});
  expect_places(unique, {{" a  b ", "a b", {1, 2, 4}}});
  EraseBlankChsStrProcessor chinese(0);
  expect_texts(chinese, {{"中 国 ab cd", "中国ab cd"},
                         {"   ", ""},
                         {" ab  中 \x80 c",
                          "ab中\x80"
                          "c"},
                         {"a é b", "aéb"}});
  expect_places(chinese, {{"a  b 中", "a b中", {0, 1, 3, 5, 6, 7}}});
}

TEST(Normalise, DigitGroups) {
  EraseCommaStrProcessor step(0);
  expect_texts(step, {{"1,234,567", "1234567"},
                      {"a,b 1,00 1,23a 1,", "a,b 1,00 1,23a 1,"},
                      {"1,0000", "10000"},
                      {"1,234，567", "1234567"},
                      {"1，23", "1，23"},
                      {",123 1,,234", ",123 1,,234"},
                      {"1\xef\xbc", "1\xef\xbc"}});
  expect_places(step, {{"1，234", "1234", {0, 4, 5, 6}}});
}

TEST(Normalise, Escapes) {
  ReplaceSpecCharStrProcessor escape(0);
  RestoreSpecCharStrProcessor restore(0);
  expect_texts(escape, {{R"(a#\b)", R"(a\#\\b)"}, {"", ""}});
  expect_texts(restore, {{R"(a\#\\b)", R"(a#\b)"}, {R"(a\)", "a"}, {R"(\x\\\)", R"(x\)"}});
  expect_places(escape, {{"a#", "a\\#", {0, 1, 1}}});
  expect_places(restore, {{"a\\#", "a#", {0, 2}}});
}

TEST(Normalise, FullWidthToHalf) {
  Sbc2DbcStrProcessor step(0);
  expect_texts(step, {{"ＡＺａｚ０９％．　", "AZaz09%. "},
                      {"，！＠［｀｛～。「", "，！＠［｀｛～。「"},
                      {"\xef\xbc", "\xef\xbc"},
                      {"\xef\xbc\x41\xe3\x80", "\xef\xbc\x41\xe3\x80"}});
  expect_places(step, {{"中Ａa", "中Aa", {0, 1, 2, 3, 6}}});
}

TEST(Normalise, PunctuationToAscii) {
  NormPuncEngStrProcessor step(0);
  expect_texts(step, {{"“a” ‘b’ （c），：；—？。！…", "\"a\" 'b' (c),:;-?.!..."},
                      {"、《》–", "、《》–"},
                      {"\xe2\x80", "\xe2\x80"},
                      {"\xe2\x80\xe2\x80\x9c", "\xe2\x80\""}});
  expect_places(step, {{"a…b", "a...b", {0, 1, 1, 1, 4}}});
}

TEST(Normalise, PunctuationToChinese) {
  NormPuncChsStrProcessor step(0);
  expect_texts(step, {{"\"\"\"", "“”“"},
                      {"....", "…."},
                      {"......", "……"},
                      {"a.b ..", "a.b .."},
                      {"Note: yes", "Note: yes"},
                      {":-)", "：-）"},
                      {"10：30 中：1 1：中 ： 10：", "10:30 中：1 1：中 : 10："},
                      {"：1", "：1"},
                      {"1,000 1,a ,1 a,", "1,000 1，a ，1 a，"},
                      {"a:中 中:a :", "a:中 中：a ："},
                      {"(a);?!", "（a）；？！"}});
  expect_places(step, {{"a?b", "a？b", {0, 1, 1, 1, 2}}, {"1：2", "1:2", {0, 1, 4}}});
}

}  // namespace
}  // namespace koralite::textProcess
