#include "textProcess/name_converter.h"

#include <cstddef>

#include "textProcess/tmining_util.h"

namespace koralite::textProcess {
namespace {

// Surnames of two characters, each with a blank behind it.
constexpr std::string_view kCompoundSurnames =
    "欧阳 太史 端木 上官 司马 东方 独孤 南宫 万俟 "
    "闻人 夏侯 诸葛 尉迟 公羊 赫连 澹台 皇甫 宗政 "
    "濮阳 公冶 太叔 申屠 公孙 慕容 仲孙 钟离 长孙 "
    "宇文 司徒 鲜于 司空 闾丘 子车 亓官 司寇 巫马 "
    "公西 颛孙 壤驷 公良 漆雕 乐正 宰父 谷梁 拓跋 "
    "夹谷 轩辕 令狐 段干 百里 呼延 东郭 南门 羊舌 "
    "微生 公户 公玉 公仪 梁丘 公仲 公上 公门 公山 "
    "公坚 左丘 公伯 西门 公祖 第五 公乘 贯丘 公皙 "
    "南荣 东里 东宫 仲长 子书 子桑 即墨 达奚 褚师 ";

}  // namespace

bool NameConverter::convert(const std::string& name, std::string& out) const {
  out.clear();
  if (name.empty()) {
    return true;
  }
  const int first = text_get_utf8_char_len(name);
  if (first < 1) {
    return false;
  }
  auto surname = static_cast<std::size_t>(first);
  if (surname < name.size()) {
    const int second = text_get_utf8_char_len(std::string_view(name).substr(surname));
    if (second < 1) {
      return false;
    }
    const std::size_t both = surname + static_cast<std::size_t>(second);
    if (kCompoundSurnames.find(std::string_view(name).substr(0, both)) != std::string_view::npos) {
      surname = both;
    }
  }
  out = transliterate(std::string_view(name).substr(0, surname));
  const std::string given = transliterate(std::string_view(name).substr(surname));
  if (!given.empty()) {
    out.append(1, ' ').append(given);
  }
  return true;
}

std::string NameConverter::transliterate(std::string_view part) const {
  std::string out;
  pinyin_->get_pinyin(part, out);  // what comes before a broken byte still counts
  capitalise_first(out);
  return out;
}

}  // namespace koralite::textProcess
