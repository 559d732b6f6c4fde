#include "toolkit/phrases/dictionary_phrases.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace koralite::toolkit {

namespace {

constexpr std::size_t kMaxWords = 8;  // of a phrase

std::string key_of(std::span<const WordId> words) {
  return {reinterpret_cast<const char*>(words.data()), words.size_bytes()};
}

std::vector<WordId> intern(const std::string& line, WordTable& table) {
  std::vector<WordId> ids;
  for (const std::string_view word : split_blanks(line)) {
    ids.push_back(table.intern(word));
  }
  return ids;
}

bool is_phrase(std::span<const WordId> words) {
  return !words.empty() && words.size() <= kMaxWords;
}

void hand_on(std::vector<PhrasePair>& pairs, std::size_t max_targets, const PhraseSink& sink) {
  const auto worth = [](const PhrasePair& p) {
    return p.forward * p.backward * p.forward_lexical * p.backward_lexical;
  };
  std::stable_sort(pairs.begin(), pairs.end(),
                   [&](const PhrasePair& a, const PhrasePair& b) { return worth(a) > worth(b); });
  if (max_targets > 0 && pairs.size() > max_targets) {
    pairs.resize(max_targets);
  }
  sink(pairs);
}

}  // namespace

DictionaryPhrases::DictionaryPhrases(std::span<const std::string> source,
                                     std::span<const std::string> target, double sightings,
                                     Bitext& bitext)
    : sightings_(sightings) {
  if (source.size() != target.size()) {
    throw std::runtime_error("a dictionary needs a target for each source");
  }
  for (std::size_t i = 0; i < source.size(); ++i) {
    std::vector<WordId> words = intern(source[i], bitext.source_words);
    std::vector<WordId> meaning = intern(target[i], bitext.target_words);
    if (!is_phrase(words) || !is_phrase(meaning)) {
      continue;
    }
    const auto [at, is_new] = index_.try_emplace(key_of(words), entries_.size());
    if (is_new) {
      entries_.push_back({std::move(words), {}, false});
    }
    std::vector<sense_t>& senses = entries_[at->second].senses;
    const auto same = std::find_if(senses.begin(), senses.end(),
                                   [&](const sense_t& s) { return s.target == meaning; });
    if (same != senses.end()) {
      same->weight += 1;
      continue;
    }
    longest_target_ = std::max(longest_target_, meaning.size());
    targets_[key_of(meaning)];
    const double rank = static_cast<double>(senses.size());
    senses.push_back({std::move(meaning), 1 / std::sqrt(1 + rank), 0, 0});
    ++pairs_;
  }
  count_targets(bitext.target);
  set_probabilities();
}

void DictionaryPhrases::count_targets(const TokenText& text) {
  for (std::size_t sentence = 0; sentence < text.size(); ++sentence) {
    const std::span<const WordId> words = text[sentence];
    for (std::size_t begin = 0; begin < words.size(); ++begin) {
      const std::size_t most = std::min(longest_target_, words.size() - begin);
      for (std::size_t n = 1; n <= most; ++n) {
        const auto at = targets_.find(key_of(words.subspan(begin, n)));
        if (at != targets_.end()) {
          ++at->second.count;
        }
      }
    }
  }
}

void DictionaryPhrases::set_probabilities() {
  // Dictionaries list rare words beside usual ones; the text tells which are which.
  for (entry_t& entry : entries_) {
    for (sense_t& sense : entry.senses) {
      sense.weight *= std::sqrt(1 + static_cast<double>(target_of(sense).count));
    }
  }
  for (const entry_t& entry : entries_) {
    for (const sense_t& sense : entry.senses) {
      targets_.at(key_of(sense.target)).weight += sense.weight;
    }
  }
  for (entry_t& entry : entries_) {
    double sum = 0;
    for (const sense_t& sense : entry.senses) {
      sum += sense.weight;
    }
    for (sense_t& sense : entry.senses) {
      sense.forward = sense.weight / sum;
      sense.backward = sense.weight / target_of(sense).weight;
    }
  }
}

const DictionaryPhrases::target_t& DictionaryPhrases::target_of(const sense_t& sense) const {
  return targets_.at(key_of(sense.target));
}

// A pair that text did not give.
PhrasePair DictionaryPhrases::pair_of(const entry_t& entry, const sense_t& sense,
                                      double source_count) const {
  PhrasePair pair;
  pair.source = entry.source;
  pair.target = sense.target;
  const auto target_count = static_cast<double>(target_of(sense).count);
  pair.forward = sightings_ * sense.forward / (source_count + sightings_);
  pair.backward = sightings_ * sense.backward / (target_count + sightings_);
  pair.forward_lexical = sense.forward;
  pair.backward_lexical = sense.backward;
  pair.source_count = static_cast<std::uint32_t>(source_count);
  pair.target_count = static_cast<std::uint32_t>(target_of(sense).count);
  for (std::size_t i = 0; i < std::min(entry.source.size(), sense.target.size()); ++i) {
    pair.links |= 1ULL << (i * 8 + i);
  }
  return pair;
}

void DictionaryPhrases::mix(std::span<const PhrasePair> counted, std::size_t max_targets,
                            const PhraseSink& sink) {
  const auto at = counted.empty() ? index_.end() : index_.find(key_of(counted.front().source));
  if (at == index_.end()) {
    sink(counted);
    return;
  }
  entry_t& entry = entries_[at->second];
  entry.is_used = true;
  const double source_count = counted.front().source_count;
  std::vector<PhrasePair> pairs(counted.begin(), counted.end());
  for (PhrasePair& pair : pairs) {
    pair.forward *= source_count / (source_count + sightings_);
  }
  for (const sense_t& sense : entry.senses) {
    const auto same = std::find_if(pairs.begin(), pairs.end(), [&](const PhrasePair& pair) {
      return std::equal(pair.target.begin(), pair.target.end(), sense.target.begin(),
                        sense.target.end());
    });
    if (same == pairs.end()) {
      pairs.push_back(pair_of(entry, sense, source_count));
      ++added_;
      continue;
    }
    const auto mixed = [&](double probability, double count, double by_dictionary) {
      return (probability * count + sightings_ * by_dictionary) / (count + sightings_);
    };
    const double target_count = same->target_count;
    same->forward += sightings_ * sense.forward / (source_count + sightings_);
    same->backward = mixed(same->backward, target_count, sense.backward);
    same->forward_lexical = mixed(same->forward_lexical, source_count, sense.forward);
    same->backward_lexical = mixed(same->backward_lexical, target_count, sense.backward);
  }
  hand_on(pairs, max_targets, sink);
}

void DictionaryPhrases::rest(std::size_t max_targets, const PhraseSink& sink) {
  std::vector<PhrasePair> pairs;
  for (const entry_t& entry : entries_) {
    if (entry.is_used) {
      continue;
    }
    pairs.clear();
    for (const sense_t& sense : entry.senses) {
      pairs.push_back(pair_of(entry, sense, 0));
      ++added_;
    }
    hand_on(pairs, max_targets, sink);
  }
}

}  // namespace koralite::toolkit
