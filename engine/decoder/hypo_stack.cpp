#include "decoder/hypo_stack.h"

#include <algorithm>
#include <utility>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstBuckets = 256;

}  // namespace

void HypoStack::reset(std::size_t limit, float beam_threshold, bool combine) {
  limit_ = limit;
  beam_threshold_ = beam_threshold;
  combine_ = combine;
  best_ = std::numeric_limits<float>::lowest();
  floor_ = -std::numeric_limits<float>::infinity();
  pool_.clear();
  heap_.clear();
  if (combine_) {
    if (buckets_.empty()) {
      buckets_.resize(kFirstBuckets);
    }
    std::fill(buckets_.begin(), buckets_.end(), Hypothesis::kNone);
  }
}

std::size_t HypoStack::find_bucket(std::uint32_t coverage, int last_end,
                                   std::uint32_t context) const {
  std::uint64_t hash = (static_cast<std::uint64_t>(coverage) << 32 | context) +
                       static_cast<std::uint64_t>(last_end) * 0x9E3779B97F4A7C15U;
  hash ^= hash >> 29;
  hash *= 0xBF58476D1CE4E5B9U;
  return static_cast<std::size_t>(hash >> 40) & (buckets_.size() - 1);
}

std::uint32_t HypoStack::find(std::size_t bucket, std::uint32_t coverage, int last_end,
                              std::uint32_t context) const {
  std::uint32_t slot = buckets_[bucket];
  while (slot != Hypothesis::kNone) {
    const Hypothesis& entry = pool_[slot];
    if (entry.context == context && entry.coverage == coverage && entry.last_end == last_end) {
      break;
    }
    slot = entry.next;
  }
  return slot;
}

bool HypoStack::offer(const Hypothesis& candidate) {
  best_ = std::max(best_, candidate.total);
  std::size_t bucket = 0;
  if (combine_) {
    bucket = find_bucket(candidate.coverage, candidate.last_end, candidate.context);
    const std::uint32_t equal =
        find(bucket, candidate.coverage, candidate.last_end, candidate.context);
    if (equal != Hypothesis::kNone) {
      Hypothesis& entry = pool_[equal];
      if (entry.total >= candidate.total) {
        return false;
      }
      entry.previous = candidate.previous;
      entry.option = candidate.option;
      entry.score = candidate.score;
      entry.future = candidate.future;
      entry.total = candidate.total;
      sift_down(entry.heap_place, {entry.total, equal}, heap_.size());
      refresh_floor();
      return true;
    }
  }
  std::uint32_t slot;
  if (full()) {
    slot = heap_[0].slot;
    if (combine_) {
      unlink(slot);
    }
    remove_worst();
    pool_[slot] = candidate;
  } else {
    slot = static_cast<std::uint32_t>(pool_.size());
    pool_.push_back(candidate);
    if (combine_ && pool_.size() * 2 > buckets_.size()) {
      grow_buckets();
      bucket = find_bucket(candidate.coverage, candidate.last_end, candidate.context);
    }
  }
  if (combine_) {
    pool_[slot].next = std::exchange(buckets_[bucket], slot);
  }
  heap_.push_back({candidate.total, slot});
  sift_up(heap_.size() - 1, heap_.back());
  refresh_floor();
  return true;
}

void HypoStack::unlink(std::uint32_t slot) {
  const Hypothesis& entry = pool_[slot];
  std::uint32_t* link = &buckets_[find_bucket(entry.coverage, entry.last_end, entry.context)];
  while (*link != slot) {
    link = &pool_[*link].next;
  }
  *link = entry.next;
}

// Links every entry but the newest, which its caller links.
void HypoStack::grow_buckets() {
  buckets_.assign(buckets_.size() * 4, Hypothesis::kNone);
  for (std::size_t slot = 0; slot + 1 < pool_.size(); ++slot) {
    Hypothesis& entry = pool_[slot];
    std::uint32_t& head = buckets_[find_bucket(entry.coverage, entry.last_end, entry.context)];
    entry.next = std::exchange(head, static_cast<std::uint32_t>(slot));
  }
}

void HypoStack::remove_worst() {
  const Node last = heap_.back();
  heap_.pop_back();
  if (!heap_.empty()) {
    sift_down(0, last, heap_.size());
  }
}

void HypoStack::place(std::size_t at, Node node) {
  heap_[at] = node;
  pool_[node.slot].heap_place = static_cast<std::uint32_t>(at);
}

void HypoStack::sift_up(std::size_t at, Node node) {
  while (at > 0) {
    const std::size_t parent = (at - 1) / 2;
    if (!(heap_[parent].total > node.total)) {
      break;
    }
    place(at, heap_[parent]);
    at = parent;
  }
  place(at, node);
}

// The smaller child comes up, the left one if they are equal, while it is
// strictly smaller than the node.
void HypoStack::sift_down(std::size_t at, Node node, std::size_t count) {
  for (;;) {
    std::size_t child = 2 * at + 1;
    if (child >= count) {
      break;
    }
    if (child + 1 < count && heap_[child + 1].total < heap_[child].total) {
      ++child;
    }
    if (!(heap_[child].total < node.total)) {
      break;
    }
    place(at, heap_[child]);
    at = child;
  }
  place(at, node);
}

void HypoStack::refresh_floor() {
  if (full()) {
    floor_ = heap_[0].total;
  }
}

void HypoStack::sort() {
  for (Node& node : heap_) {
    node.total = pool_[node.slot].total;
  }
  for (std::size_t at = heap_.size() / 2; at-- > 0;) {
    sift_down(at, heap_[at], heap_.size());
  }
  for (std::size_t last = heap_.size(); last-- > 1;) {
    const Node worst = heap_[0];
    sift_down(0, heap_[last], last);
    place(last, worst);
  }
}

std::size_t HypoStack::memory() const {
  return pool_.capacity() * sizeof(Hypothesis) + heap_.capacity() * sizeof(Node) +
         buckets_.capacity() * sizeof(std::uint32_t);
}

}  // namespace koralite::decoder
