#include "toolkit/pack/phrase_text.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "toolkit/io/line_reader.h"

namespace koralite::toolkit {
namespace {

constexpr std::string_view kBar = "|||";

// One line after the other as source, target and scores.
class TableReader {
 public:
  TableReader(const std::string& path, const word_id_t& source_id, const word_id_t& target_id,
              const phrase_text_options_t& options)
      : lines_(path), source_id_(source_id), target_id_(target_id), options_(options) {}

  // The next line whose words all have ids, with the logarithms of its first `scores` scores.
  bool next(std::size_t scores) {
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
      read_scores(score_list, scores);
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
    const std::size_t bar = rest.find(kBar);
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

  void read_scores(std::string_view text, std::size_t wanted) {
    split_blanks(text, fields_);
    if (fields_.size() < wanted) {
      throw lines_.error(std::to_string(wanted) + " scores expected, but " +
                         std::to_string(fields_.size()) + " found");
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

phrase_text_report_t read_phrase_table(const std::string& path, const word_id_t& source_id,
                                       const word_id_t& target_id, PhraseTableBuilder& builder,
                                       const phrase_text_options_t& options) {
  TableReader reader(path, source_id, target_id, options);
  while (reader.next(options.weights.size())) {
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
