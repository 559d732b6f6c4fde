#include "translator/text_explanation.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <utility>

#include "common/classic_number.h"
#include "common/parse_number.h"
#include "decoder/explanation.h"
#include "translator/text_translation.h"

namespace koralite::translator {

namespace {

using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

bool is_lower(char c) {
  return c >= 'a' && c <= 'z';
}

// A phrase as the output would show it. Postprocessing takes it for a sentence and gives it a
// capital, which it keeps only where a sentence begins.
std::string shown(TransImpl& handle, const std::string& target, bool begins_sentence) {
  ProcessStr text(false, target);
  handle.DoPostprocess(text);
  std::string result = std::move(text.text());
  if (!begins_sentence && !target.empty() && !result.empty() && is_lower(target[0]) &&
      result[0] == target[0] - 'a' + 'A') {
    result[0] = target[0];
  }
  return result;
}

class SentenceExplainer {
 public:
  SentenceExplainer(TransImpl& handle, const std::string& sentence, std::size_t offset,
                    unsigned limit)
      : handle_(handle), sentence_(sentence), offset_(offset), limit_(limit) {}

  explained_sentence_t run() {
    result_.source_begin = offset_;
    result_.source_end = offset_ + sentence_.find_last_not_of(' ') + 1;  // npos + 1 is 0
    if (sentence_.find_first_not_of('\0') == std::string::npos || limit_ == 0) {
      return std::move(result_);
    }
    add_translations();
    add_phrases();
    return std::move(result_);
  }

 private:
  void add_translations() {
    ProcessStr str(false, sentence_);
    ProcessWordSeq words(false);
    handle_.DoPreprocess(str, words);
    std::vector<std::string> texts;
    std::vector<float> scores;
    std::string log;
    handle_.translator().Translate(limit_, words, texts, scores, log);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ProcessStr text(false, std::move(texts[i]));
      handle_.DoPostprocess(text);
      result_.translations.push_back(
          {std::move(text.text()), i < scores.size() ? scores[i] : 0.0F});
    }
  }

  void add_phrases() {
    ProcessStr str(true, sentence_);
    str.set_identity();
    ProcessWordSeq words(true);
    handle_.DoPreprocess(str, words);
    positions_ = words.positions();
    ProcessWordSeq removed(true);
    handle_.TruncatePunct(words, removed);
    const std::span<const common::word_node_t> all = words.words();
    for (std::size_t begin = 0; begin < all.size(); begin += decoder::Decoder::kMaxWords) {
      decoder::explanation_t search;
      handle_.translator().search().explain(1, decoder::Decoder::chunk(all, begin), search);
      if (search.derivations.empty()) {
        continue;
      }
      for (const decoder::explained_step_t& step : search.derivations.front().steps) {
        add_phrase(search, step, begin);
      }
    }
  }

  void add_phrase(const decoder::explanation_t& search, const decoder::explained_step_t& step,
                  std::size_t part) {
    const decoder::explained_option_t& chosen = search.options[step.option];
    const bool first = result_.phrases.empty();
    explained_phrase_t& phrase = result_.phrases.emplace_back();
    phrase.source_begin = offset_ + begin_of(part + static_cast<std::size_t>(chosen.start));
    phrase.source_end = offset_ + end_of(part + static_cast<std::size_t>(chosen.end));
    phrase.source_end = std::max(phrase.source_end, phrase.source_begin);
    phrase.alternatives.push_back({shown(handle_, step.text, first), chosen.future});
    for (const decoder::explained_option_t& option : search.options) {
      if (phrase.alternatives.size() >= limit_) {
        break;
      }
      // What stands for a name or number is no text of its own.
      if (option.start != chosen.start || option.end != chosen.end || &option == &chosen ||
          option.target.find("<") != std::string::npos) {
        continue;
      }
      phrase.alternatives.push_back({shown(handle_, option.target, first), option.future});
    }
    std::stable_sort(
        phrase.alternatives.begin(), phrase.alternatives.end(),
        [](const scored_text_t& a, const scored_text_t& b) { return a.score > b.score; });
  }

  std::size_t begin_of(std::size_t word) const {
    return word < positions_.size()
               ? std::min(static_cast<std::size_t>(std::max(0, positions_[word])), sentence_.size())
               : sentence_.size();
  }

  std::size_t end_of(std::size_t word) const {
    std::size_t end = begin_of(word + 1);
    while (end > begin_of(word) && sentence_[end - 1] == ' ') {
      --end;
    }
    return end;
  }

  TransImpl& handle_;
  const std::string& sentence_;
  std::size_t offset_;
  unsigned limit_;
  ProcessWordSeq::Positions positions_;  // of all words, those at the end included
  explained_sentence_t result_;
};

void write_text(std::string_view text, std::string& json) {
  constexpr const char* kDigits = "0123456789abcdef";
  json += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20U) {
      json.append("\\u00").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
      continue;
    }
    if (c == '"' || c == '\\') {
      json += '\\';
    }
    json += c;
  }
  json += '"';
}

template <class List, class Write>
void write_list(const char* name, const List& list, std::string& json, Write&& write) {
  json.append("\"").append(name).append("\": [");
  bool first = true;
  for (const auto& item : list) {
    json += first ? "{" : ", {";
    first = false;
    write(item);
    json += '}';
  }
  json += ']';
}

// As few digits as give this very number again; nine always do. Written the same way by every
// standard library, so that it is the same text everywhere.
std::string shortest(float value) {
  constexpr int kEnough = 9;
  for (int digits = 1; digits < kEnough; ++digits) {
    std::string text = common::classic_text(static_cast<double>(value), digits);
    if (common::parse_leading_float(text) == value) {
      return text;
    }
  }
  return common::classic_text(static_cast<double>(value), kEnough);
}

void write_texts(const char* name, const std::vector<scored_text_t>& texts, std::string& json) {
  write_list(name, texts, json, [&](const scored_text_t& scored) {
    json += "\"text\": ";
    write_text(scored.text, json);
    json += ", \"score\": ";
    json += std::isfinite(scored.score) ? shortest(scored.score) : "null";
  });
}

template <class Part>
void write_source(const Part& part, std::string& json) {
  json.append("\"source\": [").append(std::to_string(part.source_begin)).append(", ");
  json.append(std::to_string(part.source_end)).append("], ");
}

}  // namespace

std::vector<explained_sentence_t> explain_text(TransImpl& handle, textProcess::LangType source,
                                               std::string_view input, unsigned limit) {
  std::vector<explained_sentence_t> sentences;
  for (std::size_t begin = 0; begin < input.size();) {
    const std::size_t end = std::min(input.find('\n', begin), input.size());
    std::size_t offset = begin;
    for (const std::string& sentence :
         split_sentences(std::string(input.substr(begin, end - begin)), source)) {
      sentences.push_back(SentenceExplainer(handle, sentence, offset, limit).run());
      offset += sentence.size();
    }
    begin = end + 1;
  }
  return sentences;
}

std::string explanation_as_json(const std::vector<explained_sentence_t>& sentences) {
  std::string json = "{";
  write_list("sentences", sentences, json, [&](const explained_sentence_t& sentence) {
    write_source(sentence, json);
    write_texts("translations", sentence.translations, json);
    json += ", ";
    write_list("phrases", sentence.phrases, json, [&](const explained_phrase_t& phrase) {
      write_source(phrase, json);
      write_texts("alternatives", phrase.alternatives, json);
    });
  });
  json += "}\n";
  return json;
}

}  // namespace koralite::translator
