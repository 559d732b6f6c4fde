// An n-gram language model in memory, as the estimator makes it and ARPA files
// hold it: log10 probabilities and back-off weights, n-grams sorted by their
// last word, then the word before it, and so on. Immutable once built, safe to
// read from any number of threads.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "toolkit/io/corpus.h"

namespace koralite::toolkit {

// Text for the language model: sentences between "<s>" and "</s>". Those two and
// "<unk>" have fixed ids.
class NgramText {
 public:
  static constexpr WordId kUnknown = 0;
  static constexpr WordId kBegin = 1;
  static constexpr WordId kEnd = 2;

  NgramText();
  // A line of words between blanks. The words "<s>" and "</s>" are left out.
  void add_line(std::string_view line);

  WordTable& words() { return words_; }
  const WordTable& words() const { return words_; }
  // All tokens, the markers included.
  std::span<const WordId> tokens() const { return tokens_; }
  std::size_t sentences() const { return sentences_; }

 private:
  WordTable words_;
  std::vector<WordId> tokens_;
  std::size_t sentences_ = 0;
};

// N-grams of one order n: entry i has words[i * n .. i * n + n).
struct NgramLevel {
  std::vector<WordId> words;
  std::vector<float> log_probability;  ///< log10; -99 for "<s>" by itself
  std::vector<float> log_backoff;      ///< log10; 0 when nothing follows

  std::size_t size() const { return log_probability.size(); }
};

class NgramModel {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  NgramModel(std::vector<std::string> words, std::vector<NgramLevel> levels)
      : words_(std::move(words)), levels_(std::move(levels)) {}

  std::size_t order() const { return levels_.size(); }
  const std::vector<std::string>& words() const { return words_; }
  // n from 1 to order().
  const NgramLevel& level(std::size_t n) const { return levels_[n - 1]; }
  // Index of an n-gram in its level, or kNone.
  std::size_t find(std::span<const WordId> ngram) const;
  // log10 p(last word | those before), with back-off. Ids without a one-word
  // entry count as "<unk>".
  double log10_probability(std::span<const WordId> ngram) const;
  // log10 of a sentence of words (without markers), "</s>" included.
  double log10_sentence(std::span<const WordId> words) const;

 private:
  std::vector<std::string> words_;
  std::vector<NgramLevel> levels_;
};

// Writes an ARPA file, gzip-compressed when the path ends in ".gz". The file is
// whole or not there. Throws std::runtime_error naming the file.
void write_arpa(const NgramModel& model, const std::string& path);

}  // namespace koralite::toolkit
