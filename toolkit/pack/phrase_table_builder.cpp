#include "toolkit/pack/phrase_table_builder.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "decoder/compressor.h"
#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"
#include "toolkit/pack/phrase_trie.h"
#include "toolkit/pack/score_samples.h"

namespace koralite::toolkit {

namespace format = decoder::phrase_table_format;

namespace {

constexpr std::size_t kTranslationScores = 3;  // both language model scores and the translation's

// Reordering values as the counts that compact entries can hold.
std::array<std::int64_t, 6> reordering_counts(ReorderingKind kind,
                                              const std::array<float, 6>& values) {
  std::array<std::int64_t, 6> counts{};
  if (kind == ReorderingKind::kCounts) {
    for (std::size_t i = 0; i < 6; ++i) {
      counts[i] = std::llround(values[i]);
    }
  } else if (kind == ReorderingKind::kLogProbs) {
    for (std::size_t i = 0; i < 6; i += 3) {
      const int index = nearest_reordering(std::span<const float, 3>(values.data() + i, 3));
      const auto digits = format::reorder_counts(index);
      std::copy(digits.begin(), digits.end(), counts.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  return counts;
}

}  // namespace

int nearest_reordering(std::span<const float, 3> log_probs) {
  std::array<double, 3> wanted{};
  for (std::size_t i = 0; i < 3; ++i) {
    wanted[i] = std::exp(static_cast<double>(log_probs[i]));
  }
  const double sum = wanted[0] + wanted[1] + wanted[2];
  int nearest = 0;
  double least = std::numeric_limits<double>::infinity();
  for (int index = 0; index < decoder::Compressor::kReorderIndexes; ++index) {
    std::array<float, 3> scores{};
    decoder::Compressor::compute_reordering_score(index, scores.data());
    // What coding by these probabilities costs more than by the right ones.
    double distance = 0;
    for (std::size_t i = 0; i < 3 && sum > 0; ++i) {
      const double share = wanted[i] / sum;
      if (share > 0) {
        distance += share * (std::log(share) - static_cast<double>(scores[i]));
      }
    }
    if (distance < least - 1e-12) {
      least = distance;
      nearest = index;
    }
  }
  return nearest;
}

std::vector<std::string> phrase_table_report_t::warnings() const {
  std::vector<std::string> lines;
  const auto tell = [&](std::uint64_t count, const char* what) {
    if (count != 0) {
      lines.push_back(std::to_string(count) + " " + what);
    }
  };
  tell(repeated, "phrase pairs were given more than once: the best translation score stays");
  tell(bad_source_words,
       "phrase pairs dropped: a source id is negative or, past the first word, above 65534");
  tell(bad_target_words,
       "phrase pairs dropped: a target id is negative or, in a compact table, above 65535");
  tell(bad_source_length, "phrase pairs dropped: no source word, or more than 8");
  tell(long_targets, "phrase pairs dropped: more than 8 target words, which decoders skip");
  tell(bad_scores, "phrase pairs dropped: a score is not a finite number");
  tell(over_limit, "phrase pairs dropped: beyond the targets kept per source phrase");
  tell(lone_reordering, "reordering entries belong to no phrase pair");
  return lines;
}

PhraseTableBuilder::PhraseTableBuilder(phrase_table_options_t options)
    : options_(std::move(options)) {
  if (options_.score_size != 7 && options_.score_size != 9) {
    throw std::runtime_error("a phrase table has 7 or 9 scores");
  }
  if (options_.score_size == 9 && options_.lang_model == nullptr) {
    throw std::runtime_error("a phrase table of 9 scores needs a language model");
  }
  if (options_.compact && options_.quantifier_path.empty()) {
    throw std::runtime_error("a compact phrase table needs the path of its quantifier file");
  }
  if (options_.compact && (options_.samples < 1 || options_.samples > 256)) {
    throw std::runtime_error("a score of a compact phrase table has 1 to 256 samples");
  }
}

std::span<const std::int32_t> PhraseTableBuilder::source(const item_t& item) const {
  return std::span<const std::int32_t>(words_).subspan(item.words, item.source_count);
}

std::span<const std::int32_t> PhraseTableBuilder::target(const item_t& item) const {
  return std::span<const std::int32_t>(words_).subspan(item.words + item.source_count,
                                                       item.target_count);
}

bool PhraseTableBuilder::accept(const phrase_t& source, const phrase_t& target) {
  if (source.count == 0 || !source.fits()) {
    ++report_.bad_source_length;
    return false;
  }
  if (!target.fits()) {
    ++report_.long_targets;
    return false;
  }
  const auto source_words = source.words();
  for (std::size_t i = 0; i < source_words.size(); ++i) {
    if (source_words[i] < 0 || (i > 0 && source_words[i] > format::kMaxInnerWord)) {
      ++report_.bad_source_words;
      return false;
    }
  }
  for (const std::int32_t word : target.words()) {
    if (word < 0 || (options_.compact && word > format::kMaxCompactWord)) {
      ++report_.bad_target_words;
      return false;
    }
  }
  return true;
}

PhraseTableBuilder::item_t PhraseTableBuilder::store(const phrase_t& source,
                                                     const phrase_t& target) {
  item_t item;
  item.words = words_.size();
  item.source_count = static_cast<std::uint8_t>(source.count);
  item.target_count = static_cast<std::uint8_t>(target.count);
  words_.insert(words_.end(), source.words().begin(), source.words().end());
  words_.insert(words_.end(), target.words().begin(), target.words().end());
  return item;
}

void PhraseTableBuilder::add(const phrase_entry_t& entry) {
  ++report_.added;
  if (!accept(entry.source, entry.target)) {
    return;
  }
  const bool finite = std::isfinite(entry.translation) &&
                      std::all_of(entry.reordering.begin(), entry.reordering.end(),
                                  [](float value) { return std::isfinite(value); });
  if (!finite) {
    ++report_.bad_scores;
    return;
  }
  item_t item = store(entry.source, entry.target);
  item.kind = entry.kind;
  item.translation = entry.translation;
  item.reordering = entry.reordering;
  items_.push_back(item);
}

void PhraseTableBuilder::add_reordering(const phrase_t& source, const phrase_t& target,
                                        ReorderingKind kind, const std::array<float, 6>& values) {
  const bool finite =
      std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
  if (!finite || source.count == 0 || !source.fits() || !target.fits()) {
    ++report_.lone_reordering;
    return;
  }
  item_t item = store(source, target);
  item.kind = kind;
  item.reordering = values;
  reordering_.push_back(item);
}

int PhraseTableBuilder::compare_sources(const item_t& a, const item_t& b) const {
  const auto x = source(a);
  const auto y = source(b);
  const auto order = std::lexicographical_compare_three_way(x.begin(), x.end(), y.begin(), y.end());
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

// By source, then by target.
bool PhraseTableBuilder::before(const item_t& a, const item_t& b) const {
  const int order = compare_sources(a, b);
  if (order != 0) {
    return order < 0;
  }
  const auto x = target(a);
  const auto y = target(b);
  return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
}

void PhraseTableBuilder::sort_and_merge() {
  const auto less = [this](const item_t& a, const item_t& b) { return before(a, b); };
  std::stable_sort(items_.begin(), items_.end(), less);
  std::stable_sort(reordering_.begin(), reordering_.end(), less);
  std::size_t kept = 0;
  for (const item_t& item : items_) {
    if (kept > 0 && !before(items_[kept - 1], item)) {
      ++report_.repeated;
      if (item.translation > items_[kept - 1].translation) {
        items_[kept - 1] = item;
      }
    } else {
      items_[kept++] = item;
    }
  }
  items_.resize(kept);
}

void PhraseTableBuilder::join_reordering() {
  auto at = items_.begin();
  for (const item_t& values : reordering_) {
    while (at != items_.end() && before(*at, values)) {
      ++at;
    }
    if (at == items_.end() || before(values, *at)) {
      ++report_.lone_reordering;
    } else if (at->kind == ReorderingKind::kNone) {
      at->kind = values.kind;
      at->reordering = values.reordering;
    }
  }
  reordering_ = {};
}

// The items to write, source by source, the best target first.
std::vector<PhraseTableBuilder::scored_t> PhraseTableBuilder::score() {
  std::vector<scored_t> scored;
  scored.reserve(items_.size());
  for (std::size_t begin = 0; begin < items_.size();) {
    const std::size_t first = scored.size();
    std::size_t end = begin;
    for (; end < items_.size() && compare_sources(items_[begin], items_[end]) == 0; ++end) {
      const item_t& item = items_[end];
      scored_t entry;
      entry.item = static_cast<std::uint32_t>(end);
      if (options_.score_size == 9) {
        const auto words = target(item);
        options_.lang_model->add_to_cache(std::set<int>(words.begin(), words.end()));
        options_.lang_model->compute_phrase_score(words, entry.complete, entry.total);
      }
      entry.rank = item.translation * options_.translation_weight +
                   static_cast<float>(item.target_count) * options_.word_weight +
                   entry.total * options_.lang_weight;
      scored.push_back(entry);
    }
    const auto from = scored.begin() + static_cast<std::ptrdiff_t>(first);
    std::stable_sort(from, scored.end(),
                     [](const scored_t& a, const scored_t& b) { return a.rank > b.rank; });
    const auto limit = static_cast<std::size_t>(std::max(options_.max_targets, 0));
    if (limit > 0 && scored.size() - first > limit) {
      report_.over_limit += scored.size() - first - limit;
      scored.resize(first + limit);
    }
    begin = end;
  }
  return scored;
}

std::vector<float> PhraseTableBuilder::translation_scores(const scored_t& entry) const {
  const float translation = items_[entry.item].translation;
  if (options_.score_size == 7) {
    return {translation};
  }
  return {entry.total, entry.complete, translation};
}

decoder::Compressor PhraseTableBuilder::train(const std::vector<scored_t>& scored) {
  const std::size_t scores = options_.score_size == 7 ? 1 : kTranslationScores;
  std::vector<decoder::Quantifier> quantifiers;
  ByteWriter out;
  for (std::size_t i = 0; i < scores; ++i) {
    std::vector<float> values;
    values.reserve(scored.size());
    for (const scored_t& entry : scored) {
      values.push_back(translation_scores(entry)[i]);
    }
    const decoder::Quantifier& quantifier = quantifiers.emplace_back(
        options_.quantize == Quantization::kKMeans ? kmeans_samples(values, options_.samples)
                                                   : quantile_samples(values, options_.samples));
    report_.quantize_error.push_back(values.empty() ? 0.0 : quantize_error(values, quantifier));
    out.put_i32(static_cast<std::int32_t>(quantifier.samples().size()));
    for (const float sample : quantifier.samples()) {
      out.put_f32(sample);
    }
  }
  write_file(options_.quantifier_path, out.bytes());
  return decoder::Compressor(std::move(quantifiers));
}

void PhraseTableBuilder::append_entry(decoder::TargetData& block, const scored_t& entry,
                                      const decoder::Compressor* compressor) const {
  const item_t& item = items_[entry.item];
  std::vector<float> scores = translation_scores(entry);
  if (compressor == nullptr && item.kind == ReorderingKind::kLogProbs) {
    // A plain entry holds them as they are, not as counts.
    scores.insert(scores.end(), item.reordering.begin(), item.reordering.end());
    block.insert(target(item), scores);
    return;
  }
  block.insert(compressor, target(item), scores, reordering_counts(item.kind, item.reordering));
}

phrase_table_report_t PhraseTableBuilder::write(const std::string& path) {
  sort_and_merge();
  join_reordering();
  if (items_.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::runtime_error("too many phrase pairs for " + path);
  }
  const std::vector<scored_t> scored = score();
  std::unique_ptr<decoder::Compressor> compressor;
  if (options_.compact) {
    compressor = std::make_unique<decoder::Compressor>(train(scored));
  }

  AtomicFile data(path + format::kDataSuffix);
  std::vector<trie_phrase_t> sources;
  decoder::TargetData::s_score_size = options_.score_size;
  decoder::TargetData block;
  std::ostringstream bytes;
  for (std::size_t begin = 0; begin < scored.size();) {
    const item_t& first = items_[scored[begin].item];
    block.clear();
    std::size_t end = begin;
    for (; end < scored.size() && compare_sources(first, items_[scored[end].item]) == 0; ++end) {
      append_entry(block, scored[end], compressor.get());
    }
    bytes.str({});
    block.save(bytes);
    if (data.position() >= format::kNone) {
      throw std::runtime_error("the phrase table " + path + ".data would exceed 4 GiB");
    }
    sources.push_back({source(first), static_cast<std::uint32_t>(data.position())});
    data.write(bytes.view());
    begin = end;
  }
  AtomicFile nodes(path + format::kNodesSuffix);
  AtomicFile head(path);
  write_phrase_trie(sources, head, nodes);
  data.commit();
  nodes.commit();
  head.commit();

  report_.written = scored.size();
  report_.sources = sources.size();
  report_.data_bytes = data.position();
  report_.node_bytes = nodes.position();
  report_.head_bytes = head.position();
  items_ = {};
  words_ = {};
  return std::exchange(report_, {});
}

}  // namespace koralite::toolkit
