// What the hypotheses of one stack that cover the same positions share: the spans
// that may be translated next, in the order in which they are tried, each with
// its options and its gap in the future matrix. Found once per coverage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "decoder/calculator.h"
#include "decoder/constraint.h"
#include "decoder/option_table.h"

namespace koralite::decoder {

struct next_span_t {
  int start = 0;
  int end = 0;
  OptionTable::cell_t cell;
  gap_t gap;
};

class HypoGroup {
 public:
  // Starts a stack; forgets the groups of the last one. All must outlive its use;
  // `constraint` may be null.
  void classify(const OptionTable& options, const FutureMatrix& matrix, int distortion_limit,
                const Constraint* constraint);

  // The spans open to hypotheses with this coverage; valid until the next call.
  std::span<const next_span_t> get_group(std::uint32_t coverage);

  std::size_t memory() const;

 private:
  struct group_t {
    std::uint32_t coverage = 0;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    bool used = false;
  };

  void collect(std::uint32_t coverage);
  void collect_range(std::uint32_t coverage, range_t range);
  void grow();
  std::size_t slot_of(std::uint32_t coverage) const;

  const OptionTable* options_ = nullptr;
  const FutureMatrix* matrix_ = nullptr;
  const Constraint* constraint_ = nullptr;
  int distortion_limit_ = 0;
  std::size_t used_ = 0;
  std::vector<group_t> groups_;  // open addressing
  std::vector<next_span_t> spans_;
};

}  // namespace koralite::decoder
