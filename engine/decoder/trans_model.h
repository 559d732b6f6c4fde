// The translation model: which target phrases a source phrase of one to eight
// words can become. Abstract; `CompactTransModel` is the packed table.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"

namespace koralite::decoder {

class TransModel {
 public:
  // Longest source phrase, in words.
  static constexpr std::size_t kMaxPhrase = phrase_table_format::kMaxSourceWords;

  // Row i, cell k: the block of the phrase of k + 1 words that starts at word i.
  using target_table_t = std::vector<std::array<TargetData, kMaxPhrase>>;

  TransModel() = default;
  TransModel(const TransModel&) = delete;
  TransModel& operator=(const TransModel&) = delete;
  virtual ~TransModel() = default;

  // The block of exactly the phrase `ids`; false when there is none.
  virtual bool search(std::span<const int> ids, TargetData& target) const = 0;

  // The blocks of all leading phrases of `ids`.
  virtual bool search_all(std::span<const int> ids, std::vector<TargetData>& targets) const = 0;

  // Sets the first ids.size() rows of `table`, which is grown when it is shorter;
  // cells without a block become empty. Blocks may be views into the model.
  virtual void search_sentence(std::span<const int> ids, target_table_t& table) const = 0;

 protected:
  std::string name_;
};

}  // namespace koralite::decoder
