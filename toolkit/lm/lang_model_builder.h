// Builds a packed language model file (docs/format-language-model.md) from n-grams
// in any order.
//
// An n-gram takes 24 bytes in memory until it is written. One owner, one thread.
// The file appears whole or not at all. What a limit of the format forces out is
// counted and told; only what would make the model wrong is a std::runtime_error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "decoder/lang_model_format.h"

namespace koralite::toolkit {

struct lang_model_options_t {
  // Id of "</s>", whose tree comes first in the file, so that it is always resident; negative:
  // none.
  int end_id = -1;
  // Ids below this one are tag words, which many models do without.
  std::size_t first_word_id = 0;
  // Nodes that one word's tree may have. Links of the format reach no further than the default;
  // lower it to make a smaller model.
  std::uint32_t max_tree_nodes = decoder::lang_model_format::kMaxTreeNodes;
};

struct lang_model_report_t {
  std::uint64_t added = 0;           // n-grams given
  std::uint64_t written = 0;         // n-grams in the file
  std::uint64_t repeated = 0;        // given again; the last one counts
  std::uint64_t bad_words = 0;       // a word id that is negative or above 65534
  std::uint64_t bad_length = 0;      // no word, or more than eight
  std::uint64_t bad_scores = 0;      // no number
  std::uint64_t positive = 0;        // probabilities above 1, stored as 1
  std::uint64_t clamped = 0;         // scores beyond what a code can say, stored as the nearest
  std::uint64_t pruned = 0;          // least useful n-grams of oversize trees
  std::uint64_t oversize_trees = 0;  // trees that lost n-grams
  std::uint64_t missing_words = 0;   // words below the highest id without a one-word entry
  std::uint64_t nodes = 0;           // in all trees
  std::uint64_t trees = 0;
  std::uint64_t bytes = 0;
  std::vector<std::uint64_t> by_order;  // n-grams written of 1, 2, ... words

  // One line per kind of loss. Empty if nothing was lost.
  std::vector<std::string> warnings() const;
};

class LangModelBuilder {
 public:
  explicit LangModelBuilder(lang_model_options_t options = {}) : options_(options) {}

  // `ids` in reading order, the predicted word last; scores in natural-log units. A back-off
  // weight of 0 stands for none.
  void add(std::span<const std::int32_t> ids, float probability, float back_off);

  // Sorts, prunes and writes the file. The builder is empty afterwards. Throws if no one-word
  // entry was given.
  lang_model_report_t write(const std::string& path);

  // An n-gram, its words backwards and one higher (0: none) in two big numbers, so that plain
  // comparison sorts each tree in the order of a walk.
  struct item_t {
    std::uint64_t high = 0;
    std::uint64_t low = 0;
    float probability = 0.0F;
    float back_off = 0.0F;

    // The k-th word from the end, -1 beyond the first.
    int word(std::size_t k) const {
      const std::uint64_t half = k < 4 ? high : low;
      return static_cast<int>(half >> (48 - 16 * (k % 4)) & 0xFFFF) - 1;
    }
  };

 private:
  void sort_and_merge();

  lang_model_options_t options_;
  lang_model_report_t report_;
  std::vector<item_t> items_;
};

}  // namespace koralite::toolkit
