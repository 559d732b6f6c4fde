#include "textProcess/punct_processors.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "common/word_node.h"
#include "textProcess/text_helpers.h"

namespace koralite::textProcess {
namespace {

struct Mark {
  const char* source;
  const char* target;
};

constexpr Mark kChineseEnglish[] = {{"。", "."}, {"！", "!"}, {"，", ","},  {"、", ","},
                                    {"；", ";"}, {"：", ":"}, {"…", "..."}, {"—", "-"},
                                    {"”", "\""}, {"“", "\""}};
constexpr Mark kEnglishChinese[] = {{".", "。"}, {"!", "！"},  {",", "，"}, {";", "；"},
                                    {":", "："}, {"...", "…"}, {"-", "—"}};
constexpr Mark kChineseJapanese[] = {{"。", "。"}, {"！", "！"}, {"，", "、"}, {"、", "、"},
                                     {"；", "、"}, {"：", "："}, {"…", "…"},   {"—", "—"},
                                     {"”", "」"},  {"“", "「"},  {"？", "？"}};
constexpr Mark kJapaneseChinese[] = {{"。", "。"}, {"！", "！"}, {"、", "，"},
                                     {"：", "："}, {"…", "…"},   {"—", "—"}};
// The ideographic full stop even where the source is not written with it.
constexpr Mark kFullStop[] = {{"。", "."}};
// Thai ends a sentence with nothing.
constexpr Mark kNoFullStop[] = {{"。", ""}};

struct PairMarks {
  LangType source;
  LangType target;
  std::span<const Mark> marks;
};

constexpr PairMarks kPairs[] = {
    {LangType::kChinese, LangType::kEnglish, kChineseEnglish},
    {LangType::kEnglish, LangType::kChinese, kEnglishChinese},
    {LangType::kChinese, LangType::kJapanese, kChineseJapanese},
    {LangType::kJapanese, LangType::kChinese, kJapaneseChinese},
    {LangType::kEnglish, LangType::kThai, kFullStop},
    {LangType::kEnglish, LangType::kArabic, kFullStop},
    {LangType::kThai, LangType::kEnglish, kFullStop},
    {LangType::kArabic, LangType::kEnglish, kFullStop},
    {LangType::kChinese, LangType::kThai, kNoFullStop},
};

constexpr const char* kEnglishMarker = "english";
constexpr std::size_t kMarkSize = 3;  // bytes of each mark of the other sets

void cut_last_link(const std::string& output, std::vector<common::align_t>& alignment) {
  if (alignment.empty()) {
    return;
  }
  const auto length = static_cast<std::int32_t>(output.size());
  if (alignment.back().target_first < length) {
    alignment.back().target_last = length - 1;
  } else {
    alignment.pop_back();
  }
}

}  // namespace

void PunctTruncateProcessor::GetTruncateMap(LangType source, LangType target,
                                            std::map<std::string, std::string>& map) {
  for (const PairMarks& pair : kPairs) {
    if (pair.source != source || pair.target != target) {
      continue;
    }
    for (const Mark& mark : pair.marks) {
      map.emplace(mark.source, mark.target);
    }
  }
}

bool PunctTruncateProcessor::DoTruncatePunct(ProcessWordSeq& words, ProcessWordSeq& removed,
                                             const std::map<std::string, std::string>& map) {
  removed = ProcessWordSeq(words.has_positions());
  if (!words.consistent()) {
    return false;
  }

  std::size_t kept = words.words().size();
  while (kept > 0) {
    common::word_node_t& node = words.words()[kept - 1];
    const auto entry = map.find(node.word);
    if (entry == map.end()) {
      break;
    }
    node.translation = entry->second.c_str();
    --kept;
  }
  const auto cut = [kept](auto& from, auto& to) {
    const auto first = from.begin() + static_cast<std::ptrdiff_t>(kept);
    to.assign(first, from.end());
    from.erase(first, from.end());
  };
  cut(words.words(), removed.words());
  if (words.has_positions()) {
    cut(words.positions(), removed.positions());
  }
  return true;
}

void PunctAppendProcessor::GetPunctSet(LangType target, std::set<std::string>& set) {
  switch (target) {
    case LangType::kEnglish:
      set = {kEnglishMarker};
      break;
    case LangType::kChinese:
      set = {"。", "！", "，", "；", "：", "…", "—"};
      break;
    case LangType::kJapanese:
      set = {"。", "！", "、", "：", "…", "—", "」", "「"};
      break;
    default:
      set.clear();
  }
}

void PunctAppendProcessor::DoAppendPunct(ProcessWordSeq& words, ProcessWordSeq& removed,
                                         std::string& output,
                                         std::vector<common::align_t>& alignment,
                                         const std::set<std::string>& set) {
  if (removed.words().empty()) {
    return;
  }
  if (set.size() == 1 && *set.begin() == kEnglishMarker) {
    DelSentEndPuncts_eng(output, alignment);
  } else {
    DelSentEndPuncts(output, alignment, set);
  }
  for (common::word_node_t& node : removed.words()) {
    const std::string_view mark = node.translation == nullptr ? "" : node.translation;
    if (!mark.empty()) {
      const auto word = static_cast<std::int32_t>(words.words().size());
      const auto first = static_cast<std::int32_t>(output.size());
      output += mark;
      alignment.push_back({.source_first = word,
                           .source_last = word,
                           .target_first = first,
                           .target_last = static_cast<std::int32_t>(output.size()) - 1});
    }
    node.translation = nullptr;
    words.words().push_back(node);
  }
  if (words.has_positions() && removed.has_positions()) {
    words.positions().insert(words.positions().end(), removed.positions().begin(),
                             removed.positions().end());
  }
}

void PunctAppendProcessor::DelSentEndPuncts_eng(std::string& output,
                                                std::vector<common::align_t>& alignment) {
  if (output.empty()) {
    return;
  }
  switch (output.back()) {
    case '.':
      if (text_is_abbrev_eng(common::text_prefix_at(output, output.size() - 1))) {
        return;
      }
      break;
    case '!':
    case ',':
    case ';':
    case ':':
      break;
    default:
      return;
  }
  output.pop_back();
  cut_last_link(output, alignment);
}

void PunctAppendProcessor::DelSentEndPuncts(std::string& output,
                                            std::vector<common::align_t>& alignment,
                                            const std::set<std::string>& set) {
  if (output.size() < kMarkSize) {
    return;
  }
  const std::size_t left = output.size() - kMarkSize;
  if (!set.contains(output.substr(left))) {
    return;
  }
  output.resize(left);
  cut_last_link(output, alignment);
}

}  // namespace koralite::textProcess
