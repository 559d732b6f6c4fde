#include "document/glossary.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "common/text_class.h"
#include "document/utf8.h"
#include "translator/text_translation.h"

namespace koralite::document {

using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\r')) {
    text.remove_prefix(1);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

std::string first_character(std::string_view text) {
  return std::string(text.substr(0, character_at(text, 0).length));
}

}  // namespace

bool Glossary::has_blanks_(LangType language) {
  return language == LangType::kEnglish || language == LangType::kKorean ||
         language == LangType::kArabic || language == LangType::kRussian;
}

void Glossary::clear() {
  by_words_.clear();
  longest_.clear();
  by_bytes_.clear();
  lengths_.clear();
}

std::string Glossary::add(std::string_view table, bool is_case_sensitive,
                          translator::TransImpl& handle) {
  std::string report;
  std::size_t number = 0;
  if (table.starts_with("\xEF\xBB\xBF")) {
    table.remove_prefix(3);
  }
  for (std::size_t begin = 0; begin < table.size();) {
    const std::size_t end = std::min(table.find('\n', begin), table.size());
    const std::string_view line = table.substr(begin, end - begin);
    begin = end + 1;
    ++number;
    if (trimmed(line).empty() || line.front() == '#') {
      continue;
    }
    const std::size_t tab = line.find('\t');
    const std::string source(trimmed(line.substr(0, tab)));
    const auto refuse = [&](const std::string& why) {
      report +=
          "line " + std::to_string(number) + ": '" + source + "' can never match: " + why + '\n';
    };
    if (tab == std::string_view::npos) {
      refuse("there is no TAB between source and target");
      continue;
    }
    if (source.empty()) {
      refuse("the source is empty");
      continue;
    }
    const std::string target(trimmed(line.substr(tab + 1)));
    if (target.find('\t') != std::string::npos) {
      refuse("there is a second TAB");
      continue;
    }
    const entry_t entry{target, target.empty(), is_case_sensitive, source};
    ProcessStr str(false, source);
    ProcessWordSeq words(false);
    try {
      handle.DoPreprocess(str, words);
    } catch (const std::runtime_error&) {
      words.clear();
    }
    if (words.words().empty()) {
      refuse("the text steps leave nothing of it");
      continue;
    }
    if (translator::split_sentences(source, source_).size() > 1) {
      refuse("it is more than one sentence, and sentences are translated one by one");
      continue;
    }
    by_bytes_[source] = entry;
    if (matches_bytes()) {
      auto& lengths = lengths_[first_character(source)];
      if (std::find(lengths.begin(), lengths.end(), source.size()) == lengths.end()) {
        lengths.push_back(source.size());
        std::sort(lengths.begin(), lengths.end(), std::greater<>());
      }
      continue;
    }
    if (words.words().size() > kMostWords) {
      refuse("it has more than " + std::to_string(kMostWords) + " words");
      continue;
    }
    std::string key;
    for (const common::word_node_t& node : words.words()) {
      if (!key.empty()) {
        key += ' ';
      }
      key += node.word;
    }
    auto& known = by_words_[key];
    std::erase_if(known, [&](const entry_t& other) {
      return other.written == source || (!other.is_case_sensitive && !is_case_sensitive);
    });
    known.push_back(entry);
    std::size_t& longest = longest_[words.words().front().word];
    longest = std::max(longest, words.words().size());
  }
  return report;
}

const std::string* Glossary::find_exactly(std::string_view bytes) const {
  const auto found = by_bytes_.find(std::string(bytes));
  if (found == by_bytes_.end()) {
    return nullptr;
  }
  return found->second.keeps ? &found->first : &found->second.target;
}

Glossary::match_t Glossary::find_words(const std::vector<const char*>& words,
                                       const std::vector<std::string_view>& written,
                                       std::size_t first) const {
  const auto start = longest_.find(words[first]);
  if (start == longest_.end()) {
    return {};
  }
  match_t match;
  std::string key;
  for (std::size_t n = 1; n <= start->second && first + n <= words.size(); ++n) {
    if (n > 1) {
      key += ' ';
    }
    key += words[first + n - 1];
    const auto found = by_words_.find(key);
    if (found == by_words_.end()) {
      continue;
    }
    const char* const begin = written[first].data();
    const std::string_view last = written[first + n - 1];
    const std::string_view bytes(begin,
                                 static_cast<std::size_t>(last.data() + last.size() - begin));
    // What is written exactly so comes before what is written so but for capitals.
    const entry_t* best = nullptr;
    for (const entry_t& entry : found->second) {
      if (entry.written == bytes || (!entry.is_case_sensitive && best == nullptr)) {
        best = &entry;
      }
    }
    if (best != nullptr) {
      match = {n, best->keeps ? nullptr : &best->target};
    }
  }
  return match;
}

Glossary::match_t Glossary::find_bytes(std::string_view text, std::size_t at) const {
  const auto lengths = lengths_.find(std::string(text.substr(at, character_at(text, at).length)));
  if (lengths == lengths_.end()) {
    return {};
  }
  for (const std::size_t length : lengths->second) {
    if (text.size() - at < length) {
      continue;
    }
    const auto found = by_bytes_.find(std::string(text.substr(at, length)));
    if (found == by_bytes_.end()) {
      continue;
    }
    // A Latin term ends where a word ends.
    const auto splits = [&](std::size_t place) {
      return place > 0 && place < text.size() && common::text_is_word_byte(text[place - 1]) &&
             common::text_is_word_byte(text[place]);
    };
    if (splits(at) || splits(at + length)) {
      continue;
    }
    return {length, found->second.keeps ? nullptr : &found->second.target};
  }
  return {};
}

}  // namespace koralite::document
