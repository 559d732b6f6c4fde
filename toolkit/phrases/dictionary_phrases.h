// Phrase pairs that a dictionary gives, beside those that were counted in text. A
// dictionary stands for a fixed number of sightings of each of its phrases, shared
// among their senses: where the text knows a phrase well its counts decide, where
// it never saw it, or saw it once and by mistake, the dictionary does.
//
// Built from prepared words; the bitext gets the words that only the dictionary
// has, and outlives the object. One thread uses it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "toolkit/io/corpus.h"
#include "toolkit/phrases/phrase_table.h"

namespace koralite::toolkit {

class DictionaryPhrases {
 public:
  // `source[i]` translates to `target[i]`, words between blanks, at most eight a side. A sense
  // weighs more the earlier it comes, the more often the pair is there and the more usual its
  // target is in the text. `sightings` is how often a phrase passes for seen. Throws
  // std::runtime_error when the sides differ in length.
  DictionaryPhrases(std::span<const std::string> source, std::span<const std::string> target,
                    double sightings, Bitext& bitext);

  // Hands on what text gave for one source phrase, mixed with what the dictionary says of it, best
  // first, at most `max_targets` (0: all).
  void mix(std::span<const PhrasePair> counted, std::size_t max_targets, const PhraseSink& sink);
  // Hands on the source phrases that mix() never had.
  void rest(std::size_t max_targets, const PhraseSink& sink);

  std::size_t pairs() const { return pairs_; }  // different ones
  std::size_t added() const { return added_; }  // of them, those that text did not give

 private:
  struct sense_t {
    std::vector<WordId> target;
    double weight = 0;
    double forward = 0;   // p(target | source) by the dictionary alone
    double backward = 0;  // p(source | target)
  };
  struct entry_t {
    std::vector<WordId> source;
    std::vector<sense_t> senses;  // as they came
    bool is_used = false;
  };
  struct target_t {
    double weight = 0;
    std::uint64_t count = 0;  // in the text
  };

  void count_targets(const TokenText& text);
  void set_probabilities();
  const target_t& target_of(const sense_t& sense) const;
  PhrasePair pair_of(const entry_t& entry, const sense_t& sense, double source_count) const;

  double sightings_;
  std::vector<entry_t> entries_;
  std::unordered_map<std::string, std::size_t> index_;  // of entries_, by the source's ids
  std::unordered_map<std::string, target_t> targets_;   // by the target's ids
  std::size_t longest_target_ = 0;
  std::size_t pairs_ = 0;
  std::size_t added_ = 0;
};

}  // namespace koralite::toolkit
