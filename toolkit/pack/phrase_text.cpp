#include "toolkit/pack/phrase_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "toolkit/io/line_reader.h"

namespace koralite::toolkit {
namespace {

constexpr std::string_view kBar = "|||";

// Where the next bar that stands between blanks is; others are part of a phrase.
std::size_t find_bar(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  std::size_t at = text.find(kBar);
  for (; at != std::string_view::npos; at = text.find(kBar, at + 1)) {
    const std::size_t end = at + kBar.size();
    if ((at == 0 || is_blank(text[at - 1])) && (end == text.size() || is_blank(text[end]))) {
      break;
    }
  }
  return at;
}

// One line after the other as source, target and scores.
class TableReader {
 public:
  TableReader(const std::string& path, const word_id_t& source_id, const word_id_t& target_id,
              const phrase_text_options_t& options)
      : lines_(path), source_id_(source_id), target_id_(target_id), options_(options) {}

  // The next line whose words all have ids, with the logarithms of its first `scores` scores.
  // A phrase table has no more than these.
  bool next(std::size_t scores, bool has_more = true) {
    std::string_view line;
    while (lines_.next(line)) {
      if (line.find_first_not_of(" \t") == std::string_view::npos) {
        continue;
      }
      ++report_.lines;
      const std::string_view source_words = field(line);
      const std::string_view target_words = field(line);
      const std::string_view score_list = field(line);
      if (source_words.data() == nullptr || target_words.data() == nullptr ||
          score_list.data() == nullptr) {
        throw lines_.error("\"source ||| target ||| scores\" expected");
      }
      read_scores(score_list, scores, has_more);
      if (read_words(source_words, source_id_, source) &&
          read_words(target_words, target_id_, target)) {
        return true;
      }
      ++report_.unknown_words;
    }
    return false;
  }

  phrase_t source;
  phrase_t target;
  std::vector<double> logs;

  const phrase_text_report_t& report() const { return report_; }

 private:
  // Takes the text up to the next bar off `rest`; a null view when nothing is left.
  static std::string_view field(std::string_view& rest) {
    if (rest.data() == nullptr) {
      return {};
    }
    const std::size_t bar = find_bar(rest);
    const std::string_view taken = rest.substr(0, bar);
    rest = bar == std::string_view::npos ? std::string_view() : rest.substr(bar + kBar.size());
    return taken;
  }

  bool read_words(std::string_view text, const word_id_t& id_of, phrase_t& phrase) {
    split_blanks(text, fields_);
    phrase = {};
    for (const std::string_view word : fields_) {
      const std::int32_t id = id_of(word);
      if (id < 0) {
        return false;
      }
      phrase.push_back(id);
    }
    return true;
  }

  void read_scores(std::string_view text, std::size_t wanted, bool has_more) {
    split_blanks(text, fields_);
    if (fields_.size() < wanted || (!has_more && fields_.size() > wanted)) {
      throw lines_.error(
          std::to_string(wanted) + " scores expected, but " + std::to_string(fields_.size()) +
          (fields_.size() < wanted ? " found" : " found; give a weight for each with --weights"));
    }
    logs.clear();
    for (std::size_t i = 0; i < wanted; ++i) {
      double value = 0;
      if (!parse_number(fields_[i], value) || !(value >= 0.0) || std::isinf(value)) {
        throw lines_.error("\"" + std::string(fields_[i]) + "\" is no probability");
      }
      if (value < options_.smallest) {
        ++report_.floored;
        value = options_.smallest;
      }
      logs.push_back(std::log(value));
    }
  }

  LineReader lines_;
  const word_id_t& source_id_;
  const word_id_t& target_id_;
  const phrase_text_options_t& options_;
  std::vector<std::string_view> fields_;
  phrase_text_report_t report_;
};

}  // namespace

std::string unescaped(std::string_view word) {
  constexpr std::array<std::pair<std::string_view, char>, 8> kEscapes = {{{"&apos;", '\''},
                                                                          {"&quot;", '"'},
                                                                          {"&lt;", '<'},
                                                                          {"&gt;", '>'},
                                                                          {"&amp;", '&'},
                                                                          {"&#124;", '|'},
                                                                          {"&#91;", '['},
                                                                          {"&#93;", ']'}}};
  std::string text;
  while (!word.empty()) {
    const auto escape = std::find_if(kEscapes.begin(), kEscapes.end(), [&](const auto& entry) {
      return word.starts_with(entry.first);
    });
    text += escape == kEscapes.end() ? word.front() : escape->second;
    word.remove_prefix(escape == kEscapes.end() ? 1 : escape->first.size());
  }
  return text;
}

phrase_text_report_t read_phrase_table(const std::string& path, const word_id_t& source_id,
                                       const word_id_t& target_id, PhraseTableBuilder& builder,
                                       const phrase_text_options_t& options) {
  TableReader reader(path, source_id, target_id, options);
  while (reader.next(options.weights.size(), false)) {
    phrase_entry_t entry;
    entry.source = reader.source;
    entry.target = reader.target;
    double sum = 0;
    for (std::size_t i = 0; i < options.weights.size(); ++i) {
      sum += options.weights[i] * reader.logs[i];
    }
    entry.translation = static_cast<float>(sum);
    builder.add(entry);
  }
  return reader.report();
}

phrase_text_report_t read_reordering_table(const std::string& path, const word_id_t& source_id,
                                           const word_id_t& target_id, PhraseTableBuilder& builder,
                                           const phrase_text_options_t& options) {
  TableReader reader(path, source_id, target_id, options);
  std::array<float, 6> values{};
  while (reader.next(values.size())) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = static_cast<float>(reader.logs[i]);
    }
    builder.add_reordering(reader.source, reader.target, ReorderingKind::kLogProbs, values);
  }
  return reader.report();
}

}  // namespace koralite::toolkit
