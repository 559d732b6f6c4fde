#include "decoder/extension_table.h"

#include <algorithm>
#include <limits>

namespace koralite::decoder {

namespace {

// Calls `found(place in words, place in the group)` for each of the ascending `words` that is a
// key.
template <typename Found>
void intersect(const lm_group_t& group, std::span<const std::int32_t> words, Found&& found) {
  std::size_t low = 0;
  for (std::size_t k = 0; k < words.size() && low < group.count; ++k) {
    // Widening steps, then halving ones: cheap for dense and for thin lists.
    std::size_t step = 1;
    while (low + step < group.count && group.key(low + step) < words[k]) {
      step *= 2;
    }
    std::size_t high = std::min(low + step + 1, group.count);
    low += step / 2;
    while (low < high) {
      const std::size_t middle = (low + high) / 2;
      if (group.key(middle) < words[k]) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low < group.count && group.key(low) == words[k]) {
      found(k, low, group.record(low));
    }
  }
}

}  // namespace

void ExtensionTable::start(const CompactLmModel& lang_model, std::span<const std::int32_t> before,
                           std::size_t rows) {
  lang_model_ = &lang_model;
  before_ = before;
  row_words_ = (before.size() + 63) / 64;
  next_row_ = 0;
  pairs_.clear();
  if (rows * row_words_ * 64 > kMaxBits) {
    row_words_ = 0;
    return;
  }
  parts_.assign(rows * row_words_, {});
  // Ids that the model cannot hold match nothing, whatever the trees say.
  const auto head_count = static_cast<std::int32_t>(lang_model.head_count());
  const auto usable_begin = std::lower_bound(before.begin(), before.end(), 0);
  const auto usable_end = std::lower_bound(usable_begin, before.end(), head_count);
  first_usable_ = static_cast<std::size_t>(usable_begin - before.begin());
  last_usable_ = static_cast<std::size_t>(usable_end - before.begin());
}

void ExtensionTable::add_row(const lm_path_t& path, std::int32_t last, bool one_word) {
  if (!filled()) {
    return;
  }
  const std::size_t part = next_row_++ * row_words_;
  for (std::size_t k = part; k < part + row_words_; ++k) {
    parts_[k].rank = pairs_.size();
  }
  if (path.group == nullptr) {
    return;
  }
  const std::span<const std::uint16_t> deep =
      one_word ? lang_model_->deep_codes(last) : std::span<const std::uint16_t>();
  const auto words = before_.subspan(first_usable_, last_usable_ - first_usable_);
  const auto found = [&](std::size_t word, std::size_t child, const unsigned char* record) {
    const std::size_t place = first_usable_ + word;
    parts_[part + place / 64].bits |= std::uint64_t{1} << (place % 64);
    extension_t pair{read_step(record), -std::numeric_limits<float>::infinity()};
    if (pair.step.goes_on()) {
      pair.beyond = deep.empty() ? lang_model_->max_behind(path.nodes, pair.step, last)
                                 : lang_model_->probability_or_none(deep[child]);
    }
    pairs_.push_back(pair);
  };
  LmRootIndex::Search root;
  if (one_word) {
    root = lang_model_->root_search(last);
  }
  if (root.usable()) {
    for (std::size_t word = 0; word < words.size(); ++word) {
      std::size_t child = 0;
      if (const unsigned char* record = root.find(words[word], child)) {
        found(word, child, record);
      }
    }
  } else {
    intersect(lm_group_t(path.group), words, found);
  }
  std::size_t rank = parts_[part].rank;
  for (std::size_t k = part; k < part + row_words_; ++k) {
    parts_[k].rank = rank;
    rank += static_cast<std::size_t>(std::popcount(parts_[k].bits));
  }
  if (pairs_.size() > kMaxPairs) {
    row_words_ = 0;
  }
}

}  // namespace koralite::decoder
