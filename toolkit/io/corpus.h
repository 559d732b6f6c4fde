// Training text in memory: words as dense 32-bit ids, sentences one after the
// other in one array. A TokenText owns its ids; the WordTable that gave them
// out is separate so that several texts can share one. Reading is safe from any
// number of threads, adding is not.
#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace koralite::toolkit {

using WordId = std::uint32_t;

// Words and their ids, 0, 1, 2, ... in the order of first sight.
class WordTable {
 public:
  static constexpr WordId kNone = std::numeric_limits<WordId>::max();

  WordTable() = default;
  WordTable(WordTable&&) = default;
  WordTable& operator=(WordTable&&) = default;

  // The word's id, a new one when it is new.
  WordId intern(std::string_view word);
  // The word's id, or kNone.
  WordId find(std::string_view word) const;
  const std::string& word(WordId id) const { return words_[id]; }
  std::size_t size() const { return words_.size(); }

 private:
  std::deque<std::string> words_;  // never moves a string: the keys below point into it
  std::unordered_map<std::string_view, WordId> ids_;
};

// Sentences of word ids.
class TokenText {
 public:
  std::size_t size() const { return starts_.size() - 1; }
  std::size_t tokens() const { return words_.size(); }
  std::span<const WordId> operator[](std::size_t sentence) const {
    return std::span<const WordId>(words_).subspan(starts_[sentence], length(sentence));
  }
  std::size_t length(std::size_t sentence) const {
    return starts_[sentence + 1] - starts_[sentence];
  }
  // Index of the sentence's first token in all().
  std::size_t start(std::size_t sentence) const { return starts_[sentence]; }
  std::span<const WordId> all() const { return words_; }

  // Splits a line at blanks (spaces and tabs; runs of them count once).
  void add_line(std::string_view line, WordTable& words);

 private:
  std::vector<WordId> words_;
  std::vector<std::size_t> starts_{0};
};

// Sentence pairs: source[i] is the translation of target[i].
struct Bitext {
  WordTable source_words;
  WordTable target_words;
  TokenText source;
  TokenText target;

  std::size_t size() const { return source.size(); }
};

// Both sides line by line. Throws std::runtime_error when their numbers differ.
Bitext make_bitext(std::span<const std::string> source, std::span<const std::string> target);

// Splits at spaces and tabs.
std::vector<std::string_view> split_blanks(std::string_view line);

}  // namespace koralite::toolkit
