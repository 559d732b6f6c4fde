#include "toolkit/phrases/phrase_table.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "toolkit/io/parallel.h"
#include "toolkit/lm/discounts.h"
#include "toolkit/phrases/phrase_counts.h"
#include "toolkit/phrases/phrase_extract.h"
#include "toolkit/phrases/word_translation.h"

namespace koralite::toolkit {
namespace {

constexpr std::size_t kPartitions = 256;  // by the first byte of the source's fingerprint

// One extracted phrase pair, as a place in the text.
struct Instance {
  std::uint64_t source_print;
  std::uint64_t target_print;
  std::uint64_t links;
  PhraseRef source;
  PhraseRef target;
  std::uint32_t sentence;
  std::uint8_t orientation;  // previous * 3 + next
};

// One different phrase pair with what was counted.
struct Counted {
  PhraseRef source;
  PhraseRef target;
  std::uint32_t count;
  std::uint32_t sentences;
  std::uint64_t links;
  std::array<std::uint32_t, 3> previous;
  std::array<std::uint32_t, 3> next;
};

// The counted pairs by partition: in memory, or in a temporary file when
// extraction had to go over the text more than once.
class CountedStore {
 public:
  explicit CountedStore(bool in_file) : parts_(kPartitions) {
    if (!in_file) {
      return;
    }
    file_.reset(std::tmpfile());
    if (!file_) {
      throw std::runtime_error("cannot create a temporary file for phrase pairs");
    }
    sizes_.resize(kPartitions);
    offsets_.resize(kPartitions);
  }

  void put(std::size_t part, std::vector<Counted> pairs) {
    if (!file_) {
      parts_[part] = std::move(pairs);
      return;
    }
    offsets_[part] = std::ftell(file_.get());
    sizes_[part] = pairs.size();
    if (std::fwrite(pairs.data(), sizeof(Counted), pairs.size(), file_.get()) != pairs.size() ||
        std::fflush(file_.get()) != 0) {
      throw std::runtime_error("cannot write the temporary file of phrase pairs (disk full?)");
    }
  }

  std::vector<Counted> take(std::size_t part) {
    if (!file_) {
      return std::move(parts_[part]);
    }
    std::vector<Counted> pairs(sizes_[part]);
    if (std::fseek(file_.get(), offsets_[part], SEEK_SET) != 0 ||
        std::fread(pairs.data(), sizeof(Counted), pairs.size(), file_.get()) != pairs.size()) {
      throw std::runtime_error("cannot read the temporary file of phrase pairs");
    }
    return pairs;
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::vector<std::vector<Counted>> parts_;
  std::unique_ptr<std::FILE, Close> file_;
  std::vector<std::size_t> sizes_;
  std::vector<long> offsets_;
};

// Fingerprints of all spans of a sentence up to a length.
class SpanPrints {
 public:
  void set(std::span<const WordId> words, std::size_t longest, std::uint64_t mask) {
    longest_ = longest;
    prints_.resize(words.size() * longest);
    for (std::size_t begin = 0; begin < words.size(); ++begin) {
      std::uint64_t print = 0;
      for (std::size_t n = 0; n < longest && begin + n < words.size(); ++n) {
        print = phrase_print(print, words[begin + n]);
        prints_[begin * longest + n] = print & mask;
      }
    }
  }
  std::uint64_t operator()(std::size_t begin, std::size_t end) const {
    return prints_[begin * longest_ + end - begin];
  }

 private:
  std::size_t longest_ = 0;
  std::vector<std::uint64_t> prints_;
};

class Builder {
 public:
  Builder(const Bitext& bitext, const Alignment& alignment, const PhraseOptions& options,
          const Progress& progress)
      : bitext_(bitext),
        alignment_(alignment),
        options_(options),
        progress_(progress),
        words_(bitext, alignment),
        targets_(bitext.target.all(), options.fingerprint_mask) {}

  PhraseStatistics run(const PhraseSink& sink) {
    const std::size_t expected = expected_bytes();
    const std::size_t runs =
        std::clamp<std::size_t>((expected + options_.memory - 1) / options_.memory, 1, kPartitions);
    CountedStore store(runs > 1);
    statistics_.runs = static_cast<int>(runs);
    for (std::size_t run = 0; run < runs; ++run) {
      const std::size_t begin = kPartitions * run / runs;
      const std::size_t end = kPartitions * (run + 1) / runs;
      count(begin, end, extract(begin, end, run, runs), store);
    }
    find_discounts();
    score(store, sink);
    return statistics_;
  }

 private:
  using Parts = std::vector<std::vector<Instance>>;  // by partition

  PhraseExtractor extractor() const {
    return {options_.max_source, options_.max_target, options_.orientation};
  }

  // What all instances would take, from one sentence in sixteen.
  std::size_t expected_bytes() const {
    const std::size_t step = bitext_.size() < 4096 ? 1 : 16;
    PhraseExtractor extract = extractor();
    std::size_t count = 0;
    for (std::size_t pair = 0; pair < bitext_.size(); pair += step) {
      count +=
          extract
              .extract(bitext_.source.length(pair), bitext_.target.length(pair), alignment_[pair])
              .size();
    }
    return count * step * sizeof(Instance);
  }

  static std::uint64_t links_inside(const ExtractedPhrase& p, std::span<const Link> links) {
    std::uint64_t bits = 0;
    auto link = std::lower_bound(links.begin(), links.end(), Link{p.source_begin, 0});
    for (; link != links.end() && link->source <= p.source_end; ++link) {
      bits |= 1ULL << (static_cast<unsigned>(link->source - p.source_begin) * 8U +
                       static_cast<unsigned>(link->target - p.target_begin));
    }
    return bits;
  }

  // The instances whose source falls into partitions [first, last), per worker.
  std::vector<Parts> extract(std::size_t first, std::size_t last, std::size_t run,
                             std::size_t runs) {
    struct Worker {
      explicit Worker(PhraseExtractor e) : extractor(std::move(e)), parts(kPartitions) {}
      PhraseExtractor extractor;
      SpanPrints source, target;
      Parts parts;
    };
    std::vector<Worker> workers(thread_count(options_.threads), Worker(extractor()));
    const auto do_pair = [&](std::size_t pair, Worker& w) {
      const auto links = alignment_[pair];
      const auto phrases =
          w.extractor.extract(bitext_.source.length(pair), bitext_.target.length(pair), links);
      w.source.set(bitext_.source[pair], options_.max_source, options_.fingerprint_mask);
      w.target.set(bitext_.target[pair], options_.max_target, options_.fingerprint_mask);
      const auto source_start = static_cast<std::uint32_t>(bitext_.source.start(pair));
      const auto target_start = static_cast<std::uint32_t>(bitext_.target.start(pair));
      for (const ExtractedPhrase& p : phrases) {
        const std::uint64_t print = w.source(p.source_begin, p.source_end);
        const std::size_t part = print >> 56U;
        if (part < first || part >= last) {
          continue;
        }
        w.parts[part].push_back({print,
                                 w.target(p.target_begin, p.target_end),
                                 links_inside(p, links),
                                 {source_start + p.source_begin,
                                  static_cast<std::uint32_t>(p.source_end - p.source_begin + 1)},
                                 {target_start + p.target_begin,
                                  static_cast<std::uint32_t>(p.target_end - p.target_begin + 1)},
                                 static_cast<std::uint32_t>(pair),
                                 static_cast<std::uint8_t>(p.previous * 3 + p.next)});
      }
    };
    const Progress share = [&](std::string_view, double done) {
      report(progress_, "extract phrases",
             (static_cast<double>(run) + done * 0.6) / static_cast<double>(runs));
    };
    parallel_blocks(
        bitext_.size(), 512, options_.threads,
        [&](std::size_t begin, std::size_t end, unsigned worker) {
          for (std::size_t pair = begin; pair < end; ++pair) {
            do_pair(pair, workers[worker]);
          }
        },
        share);
    std::vector<Parts> parts;
    parts.reserve(workers.size());
    for (Worker& worker : workers) {
      parts.push_back(std::move(worker.parts));
    }
    return parts;
  }

  std::span<const WordId> source_words(const PhraseRef& ref) const {
    return bitext_.source.all().subspan(ref.at, ref.length);
  }
  std::span<const WordId> target_words(const PhraseRef& ref) const {
    return bitext_.target.all().subspan(ref.at, ref.length);
  }

  // Sorts so that equal pairs stand together. By fingerprint first; where two
  // different phrases share one, their run is sorted by the words themselves.
  void sort_instances(std::vector<Instance>& all) const {
    const auto place = [](const Instance& i) { return std::pair(i.source.at, i.target.at); };
    std::sort(all.begin(), all.end(), [&](const Instance& a, const Instance& b) {
      return std::tuple(a.source_print, a.target_print, a.sentence, place(a), a.source.length,
                        a.target.length) < std::tuple(b.source_print, b.target_print, b.sentence,
                                                      place(b), b.source.length, b.target.length);
    });
    for (auto begin = all.begin(); begin != all.end();) {
      bool collision = false;
      auto end = begin + 1;
      for (; end != all.end() && end->source_print == begin->source_print; ++end) {
        const Instance& before = *(end - 1);
        collision = collision || !same(source_words(end->source), source_words(before.source)) ||
                    (end->target_print == before.target_print &&
                     !same(target_words(end->target), target_words(before.target)));
      }
      if (collision) {
        std::sort(begin, end, [&](const Instance& a, const Instance& b) {
          if (const int order = compare(source_words(a.source), source_words(b.source))) {
            return order < 0;
          }
          if (const int order = compare(target_words(a.target), target_words(b.target))) {
            return order < 0;
          }
          return std::tuple(a.sentence, place(a)) < std::tuple(b.sentence, place(b));
        });
      }
      begin = end;
    }
  }

  static bool same(std::span<const WordId> a, std::span<const WordId> b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }
  static int compare(std::span<const WordId> a, std::span<const WordId> b) {
    const auto order =
        std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end());
    return std::is_lt(order) ? -1 : std::is_gt(order) ? 1 : 0;
  }

  std::vector<Counted> count_part(std::vector<Instance> all) const {
    sort_instances(all);
    std::vector<Counted> counted;
    std::vector<std::uint64_t> links;
    for (std::size_t begin = 0; begin < all.size();) {
      const Instance& head = all[begin];
      Counted pair{head.source, head.target, 0, 0, 0, {}, {}};
      links.clear();
      std::size_t end = begin;
      for (; end < all.size() && all[end].source_print == head.source_print &&
             all[end].target_print == head.target_print &&
             same(source_words(all[end].source), source_words(head.source)) &&
             same(target_words(all[end].target), target_words(head.target));
           ++end) {
        ++pair.count;
        if (end == begin || all[end].sentence != all[end - 1].sentence) {
          ++pair.sentences;
        }
        ++pair.previous[all[end].orientation / 3U];
        ++pair.next[all[end].orientation % 3U];
        links.push_back(all[end].links);
      }
      pair.links = most_frequent(links);
      counted.push_back(pair);
      begin = end;
    }
    return counted;
  }

  static std::uint64_t most_frequent(std::vector<std::uint64_t>& values) {
    std::sort(values.begin(), values.end());
    std::uint64_t best = 0;
    std::size_t best_count = 0;
    for (std::size_t begin = 0; begin < values.size();) {
      std::size_t end = begin;
      while (end < values.size() && values[end] == values[begin]) {
        ++end;
      }
      if (end - begin > best_count) {
        best_count = end - begin;
        best = values[begin];
      }
      begin = end;
    }
    return best;
  }

  void count(std::size_t first, std::size_t last, std::vector<Parts> parts, CountedStore& store) {
    std::vector<std::vector<Counted>> counted(last - first);
    parallel_for(last - first, options_.threads, [&](std::size_t item, unsigned) {
      std::vector<Instance> all = std::move(parts[0][first + item]);
      for (std::size_t worker = 1; worker < parts.size(); ++worker) {
        std::vector<Instance>& more = parts[worker][first + item];
        all.insert(all.end(), more.begin(), more.end());
        std::vector<Instance>().swap(more);
      }
      counted[item] = count_part(std::move(all));
    });
    for (std::size_t item = 0; item < counted.size(); ++item) {
      for (const Counted& pair : counted[item]) {
        targets_.add(pair.target, pair.count, pair.sentences);
        statistics_.instances += pair.count;
        if (pair.count <= seen_.size()) {
          ++seen_[pair.count - 1];
        }
        for (std::size_t k = 0; k < 3; ++k) {
          statistics_.previous[k] += pair.previous[k];
          statistics_.next[k] += pair.next[k];
        }
      }
      statistics_.pairs += counted[item].size();
      store.put(first + item, std::move(counted[item]));
    }
  }

  void find_discounts() {
    if (options_.smoothing == PhraseSmoothing::kKneserNey) {
      statistics_.discounts = modified_discounts(seen_);
    }
  }

  double discount(std::uint32_t count) const {
    return statistics_.discounts[std::min<std::uint32_t>(count, 3) - 1];
  }

  // What the discounts take from pairs seen once, twice, oftener.
  double freed(const std::array<std::uint32_t, 3>& seen) const {
    double sum = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      sum += statistics_.discounts[k] * seen[k];
    }
    return sum;
  }

  struct Group {
    std::size_t begin;
    std::size_t end;
  };
  struct Scored {
    std::vector<Counted> counted;
    std::vector<PhrasePair> pairs;
    std::vector<Group> groups;  // in pairs
  };

  void score(CountedStore& store, const PhraseSink& sink) {
    // A few partitions at a time: scored by all threads, handed on in order.
    const std::size_t batch = 4 * thread_count(options_.threads);
    for (std::size_t begin = 0; begin < kPartitions; begin += batch) {
      const std::size_t end = std::min(kPartitions, begin + batch);
      std::vector<Scored> scored(end - begin);
      for (std::size_t i = 0; i < scored.size(); ++i) {
        scored[i].counted = store.take(begin + i);
      }
      parallel_for(scored.size(), options_.threads,
                   [&](std::size_t item, unsigned) { score_part(scored[item]); });
      for (const Scored& part : scored) {
        for (const Group& group : part.groups) {
          statistics_.kept += group.end - group.begin;
          ++statistics_.sources;
          sink(std::span(part.pairs).subspan(group.begin, group.end - group.begin));
        }
      }
      report(progress_, "score phrases",
             static_cast<double>(end) / static_cast<double>(kPartitions));
    }
  }

  void score_part(Scored& part) const {
    const std::vector<Counted>& counted = part.counted;
    for (std::size_t begin = 0; begin < counted.size();) {
      std::size_t end = begin;
      while (end < counted.size() &&
             same(source_words(counted[end].source), source_words(counted[begin].source))) {
        ++end;
      }
      score_source(std::span(counted).subspan(begin, end - begin), part);
      begin = end;
    }
  }

  // Whether words of one side are missing on the other, by the lexical weights.
  bool is_noise(const PhrasePair& pair) const {
    return pair.forward_lexical <
               std::pow(options_.min_lexical, static_cast<double>(pair.target.size())) ||
           pair.backward_lexical <
               std::pow(options_.min_lexical, static_cast<double>(pair.source.size()));
  }

  void score_source(std::span<const Counted> counted, Scored& part) const {
    std::uint64_t total = 0;
    std::uint64_t sentences = 0;
    std::array<std::uint32_t, 3> seen{};  // summed as integers: the order of pairs must not count
    for (const Counted& pair : counted) {
      total += pair.count;
      sentences += pair.sentences;
      ++seen[std::min<std::uint32_t>(pair.count, 3) - 1];
    }
    const double discounted = freed(seen);
    const double all_pairs = static_cast<double>(statistics_.pairs);
    const std::size_t begin = part.pairs.size();
    for (const Counted& in : counted) {
      const PhraseCounts::Totals& target = targets_.find(in.target);
      PhrasePair pair;
      pair.significance = fisher_significance(
          in.sentences, std::min<std::uint64_t>(sentences, bitext_.size()),
          std::min<std::uint64_t>(target.sentences, bitext_.size()), bitext_.size());
      if (in.count < options_.min_count) {
        continue;
      }
      if (in.source.length > options_.always_significant &&
          pair.significance < options_.min_significance) {
        continue;
      }
      pair.source = source_words(in.source);
      pair.target = target_words(in.target);
      pair.count = in.count;
      pair.source_count = static_cast<std::uint32_t>(total);
      pair.target_count = target.count;
      pair.previous = in.previous;
      pair.next = in.next;
      pair.links = in.links;
      const double kept = in.count - discount(in.count);
      pair.forward = (kept + discounted * target.pairs / all_pairs) / static_cast<double>(total);
      pair.backward =
          (kept + freed(target.pairs_seen) * static_cast<double>(counted.size()) / all_pairs) /
          target.count;
      pair.forward_lexical = words_.forward_weight(pair.source, pair.target, pair.links);
      pair.backward_lexical = words_.backward_weight(pair.source, pair.target, pair.links);
      if (in.count == 1 && is_noise(pair)) {
        continue;
      }
      part.pairs.push_back(pair);
    }
    if (part.pairs.size() == begin) {
      return;
    }
    const auto worth = [](const PhrasePair& p) {
      return p.forward * p.backward * p.forward_lexical * p.backward_lexical;
    };
    const auto first = part.pairs.begin() + static_cast<std::ptrdiff_t>(begin);
    std::sort(first, part.pairs.end(), [&](const PhrasePair& a, const PhrasePair& b) {
      const double worth_a = worth(a);
      const double worth_b = worth(b);
      return worth_a != worth_b ? worth_a > worth_b : compare(a.target, b.target) < 0;
    });
    if (options_.max_targets > 0 && part.pairs.size() - begin > options_.max_targets) {
      part.pairs.resize(begin + options_.max_targets);
    }
    part.groups.push_back({begin, part.pairs.size()});
  }

  const Bitext& bitext_;
  const Alignment& alignment_;
  const PhraseOptions& options_;
  const Progress& progress_;
  WordTranslation words_;
  PhraseCounts targets_;
  std::array<std::uint64_t, 4> seen_{};  // pairs seen 1 to 4 times
  PhraseStatistics statistics_;
};

void check(const Bitext& bitext, const Alignment& alignment, const PhraseOptions& options) {
  if (options.max_source < 1 || options.max_source > 8 || options.max_target < 1 ||
      options.max_target > 8) {
    throw std::runtime_error("phrases must be limited to 1 to 8 words");
  }
  if (options.memory == 0) {
    throw std::runtime_error("phrase extraction needs some memory");
  }
  if (alignment.size() != bitext.size()) {
    throw std::runtime_error(
        "the alignment is of another text: " + std::to_string(alignment.size()) +
        " sentence pairs, not " + std::to_string(bitext.size()));
  }
  if (bitext.source.tokens() > 0xFFFFFFFFULL || bitext.target.tokens() > 0xFFFFFFFFULL) {
    throw std::runtime_error("more than 4,294,967,295 words on one side");
  }
  for (std::size_t pair = 0; pair < bitext.size(); ++pair) {
    for (const Link& link : alignment[pair]) {
      if (link.source >= bitext.source.length(pair) || link.target >= bitext.target.length(pair)) {
        throw std::runtime_error("an alignment link of sentence pair " + std::to_string(pair + 1) +
                                 " lies outside the sentence");
      }
    }
  }
}

}  // namespace

PhraseStatistics build_phrase_table(const Bitext& bitext, const Alignment& alignment,
                                    const PhraseOptions& options, const PhraseSink& sink,
                                    const Progress& progress) {
  check(bitext, alignment, options);
  return Builder(bitext, alignment, options, progress).run(sink);
}

double fisher_significance(std::uint64_t both, std::uint64_t source, std::uint64_t target,
                           std::uint64_t sentences) {
  if (both == 0) {
    return 0;
  }
  // Stirling's series: std::lgamma writes a global and is slow.
  const auto log_factorial = [](std::uint64_t n) {
    if (n < 2) {
      return 0.0;
    }
    double x = static_cast<double>(n) + 1;
    double shift = 0;
    while (x < 10) {
      shift -= std::log(x);
      x += 1;
    }
    const double inverse = 1 / x;
    const double square = inverse * inverse;
    return shift + (x - 0.5) * std::log(x) - x + 0.91893853320467274178 +
           inverse * (1.0 / 12 - square * (1.0 / 360 - square / 1260));
  };
  const auto log_choose = [&](std::uint64_t n, std::uint64_t k) {
    return log_factorial(n) - log_factorial(k) - log_factorial(n - k);
  };
  const std::uint64_t most = std::min(source, target);
  const std::uint64_t least = source + target > sentences ? source + target - sentences : 0;
  if (both <= least) {
    return 0;
  }
  const double first = log_choose(source, both) + log_choose(sentences - source, target - both) -
                       log_choose(sentences, target);
  // Later terms by their ratio to the one before.
  double sum = 1;
  double term = 1;
  for (std::uint64_t k = both; k < most && term > sum * 1e-12; ++k) {
    term *= static_cast<double>(source - k) * static_cast<double>(target - k) /
            (static_cast<double>(k + 1) * static_cast<double>(sentences + k + 1 - source - target));
    sum += term;
  }
  return std::max(0.0, -(first + std::log(sum)));
}

}  // namespace koralite::toolkit
