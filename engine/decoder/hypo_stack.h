// The hypotheses that cover the same number of source words: a pool of at most
// `limit` entries that grows by need and keeps its memory, a heap over them with
// the worst total on top, and a table that finds an equal one for recombination.
//
// A refusal never changes the stack, so a caller may refuse early whatever
// `offer` would refuse. Pointers to entries stay valid once no more are offered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "decoder/hypothesis.h"

namespace koralite::decoder {

class HypoStack {
 public:
  // Forgets all hypotheses. `limit` is at least 1.
  void reset(std::size_t limit, float beam_threshold, bool combine);

  std::size_t size() const { return heap_.size(); }
  bool full() const { return heap_.size() >= limit_; }
  float best() const { return best_; }
  // The worst total of a full stack, minus infinity while there is room: what
  // is below is refused.
  float floor() const { return floor_; }

  // Whether the threshold or a full stack refuses all totals up to this bound. One
  // that is not a number bounds nothing.
  bool refuses_bound(float bound) const {
    return bound + beam_threshold_ < best_ || bound < floor_;
  }
  // Whether this very total is refused: by its size, or because it is not a number.
  bool refuses(float total) const { return !(total == total) || refuses_bound(total); }

  // Takes a hypothesis that `refuses` lets pass, or refuses it for an equal one
  // that is as good. True if it was kept. `candidate`'s links and heap place are
  // not read.
  bool offer(const Hypothesis& candidate);

  // The hypothesis at a place of the heap's array.
  const Hypothesis& at(std::size_t place) const { return pool_[heap_[place].slot]; }
  Hypothesis& at(std::size_t place) { return pool_[heap_[place].slot]; }

  // Where a hypothesis of this stack stands in the pool.
  std::size_t slot(const Hypothesis& hypothesis) const {
    return static_cast<std::size_t>(&hypothesis - pool_.data());
  }

  // After totals were changed: rebuilds the heap, then sorts the array, best first.
  void sort();

  std::size_t memory() const;

 private:
  // The heap's own copy of the totals keeps a sift inside one small array.
  struct Node {
    float total;
    std::uint32_t slot;
  };

  std::size_t find_bucket(std::uint32_t coverage, int last_end, std::uint32_t context) const;
  std::uint32_t find(std::size_t bucket, std::uint32_t coverage, int last_end,
                     std::uint32_t context) const;
  void unlink(std::uint32_t slot);
  void grow_buckets();
  void remove_worst();
  void place(std::size_t at, Node node);
  void sift_up(std::size_t at, Node node);
  void sift_down(std::size_t at, Node node, std::size_t count);
  void refresh_floor();

  std::size_t limit_ = 1;
  float beam_threshold_ = 0;
  float best_ = std::numeric_limits<float>::lowest();
  float floor_ = -std::numeric_limits<float>::infinity();
  bool combine_ = false;
  std::vector<Hypothesis> pool_;
  std::vector<Node> heap_;
  std::vector<std::uint32_t> buckets_;  // a power of two; first slot of each chain
};

}  // namespace koralite::decoder
