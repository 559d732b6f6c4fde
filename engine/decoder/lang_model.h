// The n-gram language model of the target side: log probabilities of word
// sequences with back-off, order 1 to 8. Abstract; `CompactLmModel` is the packed
// model. The scoring here is the plain one, written for any model that can look
// up single n-grams; a derived model may be faster but never different by a bit.
//
// Scores are single precision and their sums are taken in a fixed order, which is
// part of the result. Scoring allocates nothing and cannot fail. Between two
// `add_to_cache` calls all scoring is read-only.
#pragma once

#include <cstddef>
#include <set>
#include <span>

namespace koralite::decoder {

class LangModel {
 public:
  static constexpr float LM_UNK_PROB = -100.0F;  // score of a word that the model does not know
  static constexpr float LM_UNK_BOW = 0.0F;

  static constexpr int kMaxOrder = 8;
  static constexpr std::size_t kMaxContext = 7;

  // Throws "language model n-gram order overflow in PackedLM" outside 1 to 8.
  explicit LangModel(int order);
  LangModel(const LangModel&) = delete;
  LangModel& operator=(const LangModel&) = delete;
  virtual ~LangModel() = default;

  int order() const { return order_; }

  // Scores a phrase by itself: `complete` sums the scores of all windows of N
  // words, `total` adds an estimate for the words whose context lies outside.
  virtual void compute_phrase_score(std::span<const int> ids, float& complete, float& total) const;

  // What the phrase's first N - 1 words score once the words before the phrase
  // are known. Throws "context overflow in LangModel::compute_joint_score()" for
  // a context of more than seven words.
  virtual float compute_joint_score(std::span<const int> context, std::span<const int> ids) const;

  // Back-off score of the last word given the ones before it; LM_UNK_PROB when
  // the last word is unknown. `ids` is not empty.
  virtual float compute_ngram_score(std::span<const int> ids) const;

  // True, with its probability and back-off weight, only if exactly this n-gram
  // is an entry of the model.
  virtual bool find_ngram_score(std::span<const int> ids, float& probability,
                                float& back_off) const = 0;

  // Prepares the next sentence: what its words (target ids, any order) can add to
  // a score becomes visible, what other sentences asked for does not stay.
  virtual void add_to_cache(const std::set<int>& words);

 private:
  int order_;
};

}  // namespace koralite::decoder
