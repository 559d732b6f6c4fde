#include "decoder/joint_scorer.h"

#include <cmath>
#include <limits>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstPrefixSlots = 4096;
constexpr std::uint32_t kLastBase = std::numeric_limits<std::uint32_t>::max() / 2;

std::size_t mix(std::uint32_t a, std::uint32_t b) {
  const std::uint64_t key = static_cast<std::uint64_t>(a) << 32 | b;
  return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> 32);
}

void sort_and_unite(std::vector<std::int32_t>& words) {
  std::sort(words.begin(), words.end());
  words.erase(std::unique(words.begin(), words.end()), words.end());
}

std::uint32_t place_in(const std::vector<std::int32_t>& words, std::int32_t word) {
  return static_cast<std::uint32_t>(std::lower_bound(words.begin(), words.end(), word) -
                                    words.begin());
}

}  // namespace

JointScorer::JointScorer(const CompactLmModel& lang_model, std::int32_t bos, std::int32_t eos)
    : lang_model_(lang_model),
      bos_(bos),
      eos_(eos),
      order_(static_cast<std::size_t>(lang_model.order())),
      contexts_(lang_model, std::min(order_ - 1, LangModel::kMaxContext)),
      prefixes_(1),
      prefix_slots_(kFirstPrefixSlots),
      masks_(kMaskSize) {}

void JointScorer::start_sentence(std::span<Option> options) {
  // Words before are numbered from 0 in each sentence; adding a base that only grows
  // keeps entries of other sentences from matching.
  base_ += static_cast<std::uint32_t>(before_words_.size());
  if (base_ > kLastBase) {
    std::fill(masks_.begin(), masks_.end(), mask_t{});
    base_ = 1;
  }
  prefixes_.resize(1);
  std::fill(prefix_slots_.begin(), prefix_slots_.end(), 0);
  find_words(options);
  bigrams_.build(lang_model_, before_words_, first_words_);
  contexts_.start_sentence(before_words_);
  for (Option& option : options) {
    option.prefix = add_prefix(option.target());
  }
  end_prefix_ = add_prefix({&eos_, 1});
  fill_columns(options);
}

void JointScorer::find_words(std::span<const Option> options) {
  before_words_.assign(1, bos_);
  first_words_.assign(1, eos_);
  for (const Option& option : options) {
    if (option.word_count == 0) {
      continue;
    }
    first_words_.push_back(option.words[0]);
    before_words_.push_back(option.target().back());
  }
  sort_and_unite(before_words_);
  sort_and_unite(first_words_);
}

std::uint32_t JointScorer::add_prefix(std::span<const std::int32_t> words) {
  const std::size_t length = std::min(words.size(), order_ - 1);
  std::uint32_t at = 0;
  for (std::size_t k = 1; k <= length; ++k) {
    const std::int32_t word = words[k - 1];
    std::size_t slot = mix(at, static_cast<std::uint32_t>(word)) & (prefix_slots_.size() - 1);
    std::uint32_t found = 0;
    while ((found = prefix_slots_[slot]) != 0 &&
           (prefixes_[found].parent != at || prefixes_[found].word != word)) {
      slot = (slot + 1) & (prefix_slots_.size() - 1);
    }
    if (found == 0) {
      found = make_prefix(at, words.first(k));
      prefix_slots_[slot] = found;
      if (prefixes_.size() * 2 > prefix_slots_.size()) {
        grow_prefix_slots();
      }
    }
    at = found;
  }
  return at;
}

void JointScorer::grow_prefix_slots() {
  prefix_slots_.assign(prefix_slots_.size() * 2, 0);
  for (std::uint32_t prefix = 1; prefix < prefixes_.size(); ++prefix) {
    const prefix_t& entry = prefixes_[prefix];
    std::size_t slot =
        mix(entry.parent, static_cast<std::uint32_t>(entry.word)) & (prefix_slots_.size() - 1);
    while (prefix_slots_[slot] != 0) {
      slot = (slot + 1) & (prefix_slots_.size() - 1);
    }
    prefix_slots_[slot] = prefix;
  }
}

// The bound of the last word's score holds for any words before `words`. If the
// walk cannot go on beyond them, they change nothing about the match; otherwise a
// longer match may be better. If the walk of the words before the last one can go
// on, longer contexts may add back-offs, all of which are that word's.
std::uint32_t JointScorer::make_prefix(std::uint32_t parent, std::span<const std::int32_t> words) {
  const auto number = static_cast<std::uint32_t>(prefixes_.size());
  prefix_t& prefix = prefixes_.emplace_back();
  const prefix_t& before = prefixes_[parent];
  const auto length = static_cast<int>(words.size());
  prefix.parent = parent;
  prefix.word = words.back();
  prefix.first = length == 1 ? place_in(first_words_, words[0]) : before.first;
  prefix.length = static_cast<std::uint8_t>(length);
  if (length == 1) {
    lang_model_.TrieSearchInvert(words, prefix.levels);
    prefix.path.nodes = lang_model_.GetTree(prefix.word).nodes;
    prefix.closed = prefix.levels.count == 0;
  } else {
    lang_model_.TrieSearchInvert(words, prefix.levels, prefix.path);
    prefix.closed = prefix.path.group == nullptr;
  }
  if (prefix.levels.count == 0) {
    prefix.upper = LangModel::LM_UNK_PROB;
    return number;
  }
  prefix.upper = lang_model_.score(length, prefix.levels, before.levels);
  if (!prefix.closed) {
    prefix.upper = std::max(prefix.upper, lang_model_.max_probability(prefix.word));
  }
  if (length > 1 && !before.closed) {
    const float back_off = lang_model_.max_back_off(before.word);
    for (std::size_t k = words.size(); k < order_ && back_off > 0; ++k) {
      prefix.upper += back_off;
    }
  }
  return number;
}

void JointScorer::fill_columns(std::span<const Option> options) {
  single_.resize(options.size());
  highest_.resize(options.size());
  rest_.resize(options.size());
  first_of_option_.resize(options.size());
  // The bound adds the other words' bounds up before the first word's score is
  // added, the search after it. The slack is more than all roundings of both can
  // make: a first word's score is a code and up to seven back-offs.
  const float largest_first = 656.0F + 7 * (33.0F + std::abs(lang_model_.back_off_offset()));
  for (std::size_t place = 0; place < options.size(); ++place) {
    float rest = 0;
    float size = largest_first;
    std::uint32_t at = options[place].prefix;
    for (; prefixes_[at].length > 1; at = prefixes_[at].parent) {
      rest += prefixes_[at].upper;
      size += std::abs(prefixes_[at].upper);
    }
    if (options[place].prefix != at) {
      rest += size * 0x1p-19F;
    }
    const prefix_t& first = prefixes_[at];
    // Words that the model does not know and empty phrases take no back-offs.
    first_of_option_[place] = kNoFirst;
    single_[place] = highest_[place] = first.upper;
    if (first.levels.count != 0) {
      first_of_option_[place] = first.first;
      single_[place] = lang_model_.probability(first.levels.level[0].probability);
    }
    rest_[place] = rest;
  }
}

JointScorer::Bounds JointScorer::bounds(std::uint32_t context) {
  Bounds bounds;
  bounds.scorer_ = this;
  bounds.context_ = contexts_.knowledge(context);
  return bounds;
}

std::uint32_t JointScorer::known_firsts(std::uint32_t context, std::uint32_t begin,
                                        std::uint32_t count) {
  const std::uint32_t before = contexts_.knowledge(context).place;
  if (before == ContextTable::kNowhere) {
    return ~std::uint32_t{0};
  }
  mask_t& mask = masks_[mix(before, begin) & (kMaskSize - 1)];
  if (mask.context_word != base_ + before || mask.begin != begin) {
    mask = {base_ + before, begin, 0};
    for (std::uint32_t k = 0; k < std::min<std::uint32_t>(count, 32); ++k) {
      const std::uint32_t first = first_of_option_[begin + k];
      const bool known = first == kNoFirst || bigrams_.known(before, first);
      mask.bits |= static_cast<std::uint32_t>(known) << k;
    }
  }
  return mask.bits;
}

float JointScorer::first_word(std::uint32_t context, std::uint32_t prefix, lm_levels_t& levels) {
  const prefix_t& first = prefixes_[prefix];
  std::array<std::int32_t, LangModel::kMaxContext + 1> words;
  const std::span<const std::int32_t> before = contexts_.words(context);
  std::int32_t* end = std::copy(before.begin(), before.end(), words.data());
  *end++ = first.word;
  const std::size_t window = std::min(before.size() + 1, order_);
  const std::span<const std::int32_t> ids(end - window, window);
  const std::uint32_t place = contexts_.knowledge(context).place;
  if (place == ContextTable::kNowhere || !bigrams_.filled()) {
    ++ngram_count_;
    return lang_model_.ngram_score(ids, contexts_.levels(context), levels);
  }
  const lm_step_t& step = *bigrams_.find(place, first.first);
  levels.level[0] = first.levels.level[0];
  levels.level[1] = step.level;
  levels.count = 2;
  levels.longest = step.level.entry ? 2 : 1;
  const lm_path_t path = CompactLmModel::path_after(first.path.nodes, step);
  if (path.group != nullptr) {
    ++ngram_count_;
    lang_model_.walk_on(path, ids, levels);
  }
  return lang_model_.score(static_cast<int>(window), levels, contexts_.levels(context));
}

std::size_t JointScorer::memory() const {
  return contexts_.memory() + bigrams_.memory() + prefixes_.capacity() * sizeof(prefix_t) +
         prefix_slots_.capacity() * sizeof(std::uint32_t) + masks_.capacity() * sizeof(mask_t) +
         (before_words_.capacity() + first_words_.capacity() + first_of_option_.capacity() +
          single_.capacity() + highest_.capacity() + rest_.capacity()) *
             4;
}

}  // namespace koralite::decoder
