#include "toolkit/pack/trained_phrases.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

#include "toolkit/folder/tag_words.h"

namespace koralite::toolkit {

namespace {

// Ids past the first word of a source phrase, and all ids of the language model, have 16 bits, and
// 65535 is taken; ordinary words follow the tag words.
constexpr std::size_t kFirstWord = 256;
constexpr std::size_t kMaxWords = 65535 - kFirstWord;
// The first word of a source phrase has more room: rare words, most of them from a dictionary,
// stand alone.
constexpr std::int32_t kLaterWordLimit = 65535;
constexpr std::size_t kMaxFirstWords = 500000;

// Smallest probability that is told from zero.
constexpr double kLeastProbability = 1e-30;

using counts_t = std::unordered_map<std::string, std::uint64_t>;

// Gives ids to the words in `used`, the frequent ones first. Those beyond the limit get none.
void fill_vocab(const counts_t& used, std::span<const std::string> text, std::size_t most,
                VocabBuilder& vocab) {
  counts_t counts = used;
  for (auto& [word, count] : counts) {
    count = 0;
  }
  for (const std::string& line : text) {
    for (const std::string_view word : split_blanks(line)) {
      const auto at = counts.find(std::string(word));
      if (at != counts.end()) {
        ++at->second;
      }
    }
  }
  std::vector<std::pair<std::uint64_t, std::string>> order;
  for (const auto& [word, count] : counts) {
    order.emplace_back(count, word);
  }
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return a.first != b.first ? a.first > b.first : a.second < b.second;
  });
  for (const auto& [count, word] : order) {
    if (is_tag_word(word) || vocab.word_count() < most) {
      vocab.encode(word);
    }
  }
}

}  // namespace

TrainedPhrases::TrainedPhrases(const std::string& phrases, std::span<const std::string> source_text,
                               std::span<const std::string> target_text) {
  counts_t source_used;
  counts_t target_used;
  read_phrase_file(phrases, [&](const phrase_line_t& phrase) {
    for (const std::string_view word : phrase.source) {
      if (word != kLostSpan) {
        ++source_used[std::string(word)];
      }
    }
    for (const std::string_view word : phrase.target) {
      ++target_used[std::string(word)];
    }
  });
  target_vocab_.encode("<s>");
  target_vocab_.encode("</s>");
  fill_vocab(source_used, source_text, kMaxFirstWords, source_vocab_);
  fill_vocab(target_used, target_text, kMaxWords, target_vocab_);

  std::vector<std::string> target;
  read_phrase_file(phrases, [&](const phrase_line_t& phrase) {
    ++report_.lines;
    if (std::find(phrase.source.begin(), phrase.source.end(), kLostSpan) != phrase.source.end()) {
      ++report_.lost;
      return;
    }
    if (!number_tags(phrase, target)) {
      ++report_.odd_tags;
      return;
    }
    record_t record;
    if (words_.size() > std::numeric_limits<std::uint32_t>::max() - 16) {
      throw std::runtime_error(phrases + ": too many phrase pairs for one model; prune more");
    }
    record.words = static_cast<std::uint32_t>(words_.size());
    record.source_count = static_cast<std::uint8_t>(phrase.source.size());
    record.target_count = static_cast<std::uint8_t>(target.size());
    bool is_known = true;
    const auto put = [&](const VocabBuilder& vocab, std::string_view word) {
      std::int32_t id = 0;
      is_known = is_known && vocab.find(word, id);
      words_.push_back(id);
    };
    for (const std::string_view word : phrase.source) {
      put(source_vocab_, word);
      is_known = is_known && (words_.size() == record.words + 1 || words_.back() < kLaterWordLimit);
    }
    for (const std::string& word : target) {
      put(target_vocab_, word);
    }
    if (!is_known) {
      ++report_.rare_words;
      words_.resize(record.words);
      return;
    }
    for (std::size_t i = 0; i < kTranslationFeatures; ++i) {
      record.log_probabilities[i] =
          static_cast<float>(std::log(std::max(phrase.probabilities[i], kLeastProbability)));
    }
    for (std::size_t i = 0; i < 6; ++i) {
      record.orientations[i] =
          static_cast<std::uint16_t>(std::min<std::uint32_t>(phrase.orientations[i], 0xFFFF));
    }
    records_.push_back(record);
  });
  report_.source_words = source_vocab_.word_count();
  report_.target_words = target_vocab_.word_count();
}

lang_model_report_t pack_lang_model(const NgramModel& model, const VocabBuilder& target,
                                    const std::string& path) {
  std::vector<std::int32_t> ids(model.words().size(), -1);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    std::int32_t id = 0;
    if (target.find(model.words()[i], id)) {
      ids[i] = id;
    }
  }
  std::int32_t end_id = -1;
  target.find("</s>", end_id);
  lang_model_options_t options;
  options.end_id = end_id;
  options.first_word_id = kFirstWord;
  LangModelBuilder builder(options);
  std::vector<std::int32_t> ngram;
  for (std::size_t n = 1; n <= model.order(); ++n) {
    const NgramLevel& level = model.level(n);
    for (std::size_t i = 0; i < level.size(); ++i) {
      ngram.clear();
      for (std::size_t k = 0; k < n; ++k) {
        ngram.push_back(ids[level.words[i * n + k]]);
      }
      if (std::find(ngram.begin(), ngram.end(), -1) != ngram.end()) {
        continue;
      }
      builder.add(ngram, level.log_probability[i] * std::numbers::ln10_v<float>,
                  level.log_backoff[i] * std::numbers::ln10_v<float>);
    }
  }
  return builder.write(path);
}

phrase_table_report_t pack_phrases(
    const TrainedPhrases& phrases, std::span<const double> weights,
    const phrase_table_options_t& options, const std::string& path,
    const std::function<bool(const TrainedPhrases::record_t&)>& keep) {
  PhraseTableBuilder builder(options);
  for (const TrainedPhrases::record_t& record : phrases.records()) {
    if (keep && !keep(record)) {
      continue;
    }
    phrase_entry_t entry;
    entry.source = phrase_t(phrases.source(record));
    entry.target = phrase_t(phrases.target(record));
    double score = 0;
    for (std::size_t i = 0; i < kTranslationFeatures; ++i) {
      score += weights[i] * static_cast<double>(record.log_probabilities[i]);
    }
    entry.translation = static_cast<float>(score);
    entry.kind = ReorderingKind::kCounts;
    std::copy(record.orientations.begin(), record.orientations.end(), entry.reordering.begin());
    builder.add(entry);
  }
  return builder.write(path);
}

}  // namespace koralite::toolkit
