#include "decoder/joint_scorer.h"

#include <cmath>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstPrefixSlots = 4096;
constexpr std::size_t kRowBytes = std::size_t{1} << 19U;       // of all rows, unless one is larger
constexpr std::size_t kTemplateBytes = std::size_t{1} << 19U;  // likewise
constexpr std::size_t kMaxWalked = std::size_t{1} << 14U;
constexpr std::uint32_t kNoRow = 0xFFFFFFFFU;

std::size_t mix(std::uint32_t a, std::uint32_t b) {
  const std::uint64_t key = static_cast<std::uint64_t>(a) << 32U | b;
  return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> 32U);
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
      kernels_(lane_kernels()),
      contexts_(lang_model, std::min(order_ - 1, LangModel::kMaxContext)),
      prefixes_(1),
      prefix_slots_(kFirstPrefixSlots) {}

void JointScorer::start_sentence(std::span<Option> options) {
  prefixes_.resize(1);
  std::fill(prefix_slots_.begin(), prefix_slots_.end(), 0);
  find_words(options);
  contexts_.start_sentence(before_words_);
  number_firsts();
  prefix_of_option_.clear();
  first_of_option_.clear();
  for (Option& option : options) {
    option.prefix = add_prefix(option.target());
    prefix_of_option_.push_back(option.prefix);
    first_of_option_.push_back(prefixes_[option.prefix].first);
  }
  end_prefix_ = add_prefix({&eos_, 1});
  extensions_.start(lang_model_, before_words_, prefixes_.size());
  for (const prefix_t& prefix : prefixes_) {
    extensions_.add_row(prefix.path, prefix.word, prefix.length == 1);
  }
  start_rows();
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

void JointScorer::number_firsts() {
  row_size_ = (first_words_.size() + 1 + kLaneStep - 1) / kLaneStep * kLaneStep;
  first_prefix_.assign(row_size_, 0);
  single_.assign(row_size_, 0.0F);
  raise_.assign(row_size_, 0.0F);
  unknown_.clear();
  for (std::size_t k = 0; k < first_words_.size(); ++k) {
    lm_levels_t levels;
    lang_model_.TrieSearchInvert({&first_words_[k], 1}, levels);
    if (levels.count == 0) {
      single_[k + 1] = LangModel::LM_UNK_PROB;
      unknown_.push_back(static_cast<std::uint32_t>(k + 1));
    } else {
      single_[k + 1] = lang_model_.probability(levels.level[0].probability);
      raise_[k + 1] = lang_model_.max_back_off(first_words_[k]);
    }
  }
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

// If the walk cannot go on beyond `words`, no words before them change what the last one matches.
// If the walk of the words before the last one can go on, longer contexts may add back-offs, all of
// which are that word's; for a second word they are known with the row, so `plain` leaves them out.
std::uint32_t JointScorer::make_prefix(std::uint32_t parent, std::span<const std::int32_t> words) {
  const auto number = static_cast<std::uint32_t>(prefixes_.size());
  prefix_t& prefix = prefixes_.emplace_back();
  const prefix_t& before = prefixes_[parent];
  const auto length = static_cast<int>(words.size());
  prefix.parent = parent;
  prefix.word = words.back();
  prefix.length = static_cast<std::uint8_t>(length);
  if (length == 1) {
    prefix.first = place_in(first_words_, words[0]) + 1;
    first_prefix_[prefix.first] = number;
    lang_model_.TrieSearchInvert(words, prefix.levels);
    const unsigned char* nodes = lang_model_.GetTree(prefix.word).nodes;
    prefix.path = {nodes, nodes};
    return number;
  }
  prefix.first = before.first;
  lang_model_.TrieSearchInvert(words, prefix.levels, prefix.path);
  prefix.plain = lang_model_.score(length, prefix.levels, before.levels);
  if (prefix.levels.count != 0 && before.path.group != nullptr) {
    prefix.raise = lang_model_.max_back_off(before.word) * static_cast<float>(order_);
  }
  return number;
}

void JointScorer::start_rows() {
  const std::size_t bytes = row_size_ * (sizeof(first_score_t) + sizeof(std::uint32_t));
  row_limit_ = std::max<std::size_t>(kRowBytes / bytes, 1);
  row_count_ = 0;
  next_row_ = 0;
  row_of_context_.clear();
  walked_.clear();
  walked_.emplace_back();  // stands for kExact
  const std::size_t template_bytes = row_size_ * 24 + prefixes_.size() * sizeof(others_t);
  template_limit_ = std::max<std::size_t>(kTemplateBytes / template_bytes, 1);
  next_template_ = 0;
  template_of_before_.assign(before_words_.size() + 1, kNoPlace);
  for (template_t& filled : templates_) {
    filled.before = kNoPlace;
  }
}

JointScorer::row_t JointScorer::row(std::uint32_t context) {
  if (context >= row_of_context_.size()) {
    row_of_context_.resize(contexts_.size(), kNoRow);
  }
  std::size_t number = row_of_context_[context];
  if (number >= row_count_ || row_context_[number] != context) {
    if (walked_.size() > kMaxWalked) {
      walked_.resize(1);
      row_count_ = 0;
      next_row_ = 0;
    }
    number = next_row_;
    next_row_ = (next_row_ + 1) % row_limit_;
    row_count_ = std::max(row_count_, number + 1);
    if (row_scores_.size() < row_count_ * row_size_) {
      row_scores_.reserve(row_limit_ * row_size_);  // no more than that is ever needed
      row_walks_.reserve(row_limit_ * row_size_);
      row_scores_.resize(row_count_ * row_size_);
      row_walks_.resize(row_count_ * row_size_);
    }
    if (row_context_.size() < row_count_) {
      row_context_.resize(row_count_);
    }
    row_context_[number] = context;
    row_of_context_[context] = static_cast<std::uint32_t>(number);
    fill_row(number, context);
  }
  const template_t& words = find_template(contexts_.knowledge(context).place);
  return {context, row_scores_.data() + number * row_size_, row_walks_.data() + number * row_size_,
          words.others.data(), words.groups.data()};
}

void JointScorer::fill_row(std::size_t number, std::uint32_t context) {
  first_score_t* scores = row_scores_.data() + number * row_size_;
  std::uint32_t* walks = row_walks_.data() + number * row_size_;
  const ContextTable::knowledge_t& known = contexts_.knowledge(context);
  const template_t& words = find_template(known.place);
  kernels_.fill_firsts(
      {row_size_, words.base.data(), words.pairs.data(), words.beyond.data(), words.extra.data()},
      {{known.adds.data(), known.add_count}, known.raise}, scores, walks);
  scores[0] = {};
  for (const std::uint32_t place : unknown_) {
    scores[place] = {LangModel::LM_UNK_PROB, 0};
  }
}

const JointScorer::template_t& JointScorer::find_template(std::uint32_t before) {
  std::uint32_t& number =
      template_of_before_[before == ContextTable::kNowhere ? before_words_.size() : before];
  if (number == kNoPlace || templates_[number].before != before) {
    number = static_cast<std::uint32_t>(next_template_);
    next_template_ = (next_template_ + 1) % template_limit_;
    if (templates_.size() <= number) {
      templates_.resize(number + 1U);
    }
    fill_template(templates_[number], before);
  }
  return templates_[number];
}

void JointScorer::fill_template(template_t& filled, std::uint32_t before) {
  filled.before = before;
  filled.base.assign(single_.begin(), single_.end());
  filled.pairs.assign(row_size_, 0);
  filled.beyond.assign(row_size_, kNothing);
  filled.extra.assign(row_size_, 0.0F);
  filled.groups.assign(row_size_, nullptr);
  filled.others.resize(prefixes_.size());
  fill_firsts(filled, before);
  fill_others(filled, before);
}

void JointScorer::fill_firsts(template_t& filled, std::uint32_t before) const {
  const bool found = before != ContextTable::kNowhere && extensions_.filled();
  for (std::size_t place = 1; place <= first_words_.size(); ++place) {
    const std::uint32_t prefix = first_prefix_[place];
    if (prefix == 0 || prefixes_[prefix].levels.count == 0) {
      continue;
    }
    // What two words match adds its back-off to a second word; longer ones may add theirs.
    const float raise = raise_[place] * static_cast<float>(order_);
    if (!found) {
      filled.beyond[place] = lang_model_.max_probability(first_words_[place - 1]);
      filled.extra[place] = raise;
      continue;
    }
    const ExtensionTable::extension_t* pair = find_extension(before, prefix);
    if (pair == nullptr) {
      continue;
    }
    if (pair->step.level.entry) {
      filled.base[place] = lang_model_.probability(pair->step.level.probability);
      filled.pairs[place] = -1;
      filled.extra[place] = lang_model_.back_off(pair->step.level.back_off);
    }
    filled.beyond[place] = pair->beyond;
    if (pair->beyond > kNothing) {
      filled.extra[place] += raise;
      filled.groups[place] = lm_path_t::after(prefixes_[prefix].path.nodes, pair->step).group;
    }
  }
}

// The bound adds the other words' bounds up before the first word's score is added, and a second
// word's back-offs in one sum; the search adds one after the other. The slack is more than all
// roundings of both can make: a word's score is a code and up to seven back-offs.
void JointScorer::fill_others(template_t& filled, std::uint32_t before) {
  const bool found = before != ContextTable::kNowhere && extensions_.filled();
  const float largest = 656.0F + 7 * (33.0F + std::abs(lang_model_.back_off_offset()));
  const float slack = 2 * largest * 0x1p-18F;
  std::fill(filled.others.begin(), filled.others.end(), others_t{kNothing, 0.0F});
  for (std::uint32_t number = 1; number < prefixes_.size(); ++number) {
    const prefix_t& prefix = prefixes_[number];
    if (prefix.length < 2) {
      continue;
    }
    // What longer matches of the last word give.
    float longer = kNothing;
    if (prefix.path.group != nullptr && !found) {
      longer = lang_model_.max_probability(prefix.word) + prefix.raise;
    } else if (const ExtensionTable::extension_t* known =
                   found ? find_extension(before, number) : nullptr) {
      longer = known->beyond;
      if (known->step.level.entry) {
        longer = std::max(longer, lang_model_.probability(known->step.level.probability));
      }
      longer += prefix.raise;
    }
    // Of a word that the model does not know, nothing depends on others.
    if (prefix.length == 2) {
      const bool takes_extra = prefix.levels.count != 0;
      filled.others[number] = {takes_extra ? prefix.plain + slack : kNothing,
                               std::max(takes_extra ? kNothing : prefix.plain, longer) + slack};
      continue;
    }
    const float upper = std::max(prefix.plain + prefix.raise, longer);
    const others_t& shorter = filled.others[prefix.parent];
    const float more = upper + std::abs(upper) * 0x1p-18F;
    filled.others[number] = {shorter.behind + more, shorter.apart + more};
  }
}

void JointScorer::resolve(const row_t& row, std::uint32_t first) {
  const auto number = static_cast<std::uint32_t>(walked_.size());
  lm_levels_t& levels = walked_.emplace_back();
  const float score = first_word(row.context, first_prefix_[first], levels);
  float extra = 0;
  const int end = std::min(levels.count, static_cast<int>(order_) - 1);
  for (int k = 2; k <= end; ++k) {
    const lm_level_t& level = levels.level[static_cast<std::size_t>(k) - 1];
    if (level.entry) {
      extra += lang_model_.back_off(level.back_off);
    }
  }
  row.scores[first] = {score, extra};
  row.walks[first] = number;
}

// The levels of an exact first word. Those that needed no walk are put together in `room`.
const lm_levels_t& JointScorer::levels_of(const row_t& row, std::uint32_t first,
                                          lm_levels_t& room) {
  if (row.walks[first] != kExact) {
    return walked_[row.walks[first]];
  }
  const lm_levels_t& alone = prefixes_[first_prefix_[first]].levels;
  const std::uint32_t before = contexts_.knowledge(row.context).place;
  const ExtensionTable::extension_t* pair =
      before == ContextTable::kNowhere ? nullptr : find_extension(before, first_prefix_[first]);
  if (pair == nullptr) {
    return alone;
  }
  room = alone;
  room.add(pair->step.level);
  return room;
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
  const ExtensionTable::extension_t* pair = place == ContextTable::kNowhere || !extensions_.filled()
                                                ? nullptr
                                                : find_extension(place, prefix);
  if (pair == nullptr) {
    ++ngram_count_;
    return lang_model_.ngram_score(ids, contexts_.levels(context), levels);
  }
  levels = first.levels;
  levels.add(pair->step.level);
  const lm_path_t path = lm_path_t::after(first.path.nodes, pair->step);
  if (path.group != nullptr) {
    lang_model_.walk_on(path, ids, levels);
    ++ngram_count_;
  }
  return lang_model_.score(static_cast<int>(window), levels, contexts_.levels(context));
}

float JointScorer::joint(std::uint32_t context, std::uint32_t prefix) {
  ++joint_count_;
  if (prefix == 0) {
    return 0.0F;
  }
  lm_levels_t levels;
  const std::uint32_t first = first_prefix_[prefixes_[prefix].first];
  const float sum = 0.0F + first_word(context, first, levels);
  return prefixes_[prefix].length == 1 ? sum : other_words(context, prefix, sum, levels);
}

// Goes on after the first word, whose score is `sum`.
float JointScorer::other_words(std::uint32_t context, std::uint32_t prefix, float sum,
                               const lm_levels_t& first_levels) {
  std::array<std::uint32_t, kMaxPrefix> path;
  const std::size_t length = prefixes_[prefix].length;
  for (std::uint32_t at = prefix; at != 0; at = prefixes_[at].parent) {
    path[prefixes_[at].length - 1U] = at;
  }
  std::array<std::int32_t, LangModel::kMaxContext + kMaxPrefix> words;
  const std::span<const std::int32_t> context_words = contexts_.words(context);
  std::int32_t* end = std::copy(context_words.begin(), context_words.end(), words.data());
  *end++ = prefixes_[path[0]].word;
  std::array<lm_levels_t, 2> walked;  // of the word before and of this one, in turn
  const lm_levels_t* before = &first_levels;
  const std::uint32_t place = contexts_.knowledge(context).place;
  const bool filled = place != ContextTable::kNowhere && extensions_.filled();
  for (std::size_t k = 1; k < length; ++k) {
    const prefix_t& here = prefixes_[path[k]];
    *end++ = here.word;
    const std::size_t window = std::min(static_cast<std::size_t>(end - words.data()), order_);
    lm_path_t on = here.path;
    const ExtensionTable::extension_t* known = nullptr;
    if (filled && on.group != nullptr) {
      known = extensions_.find(place, path[k]);
      on = known == nullptr ? lm_path_t{} : lm_path_t::after(on.nodes, known->step);
    }
    if (known == nullptr && on.group == nullptr) {
      sum += lang_model_.score(static_cast<int>(window), here.levels, *before);
      before = &here.levels;
    } else {
      lm_levels_t& levels = walked[k % 2];
      levels = here.levels;
      if (known != nullptr) {
        levels.add(known->step.level);
      }
      if (on.group != nullptr) {
        lang_model_.walk_on(on, {end - window, window}, levels);
        ++ngram_count_;
      }
      sum += lang_model_.score(static_cast<int>(window), levels, *before);
      before = &levels;
    }
  }
  return sum;
}

std::size_t JointScorer::memory() const {
  std::size_t bytes =
      contexts_.memory() + extensions_.memory() + prefixes_.capacity() * sizeof(prefix_t) +
      row_scores_.capacity() * sizeof(first_score_t) + walked_.capacity() * sizeof(lm_levels_t) +
      (prefix_slots_.capacity() + before_words_.capacity() + first_words_.capacity() +
       first_prefix_.capacity() + single_.capacity() + raise_.capacity() + unknown_.capacity() +
       first_of_option_.capacity() + prefix_of_option_.capacity() + row_walks_.capacity() +
       row_context_.capacity() + row_of_context_.capacity() + template_of_before_.capacity()) *
          4;
  for (const template_t& filled : templates_) {
    bytes +=
        4 * (filled.base.capacity() + filled.pairs.capacity() + filled.beyond.capacity() +
             filled.extra.capacity() + 2 * filled.groups.capacity() + 2 * filled.others.capacity());
  }
  return bytes;
}

}  // namespace koralite::decoder
