#include "decoder/hypo_group.h"

#include <algorithm>
#include <bit>

namespace koralite::decoder {

namespace {

constexpr std::size_t kFirstGroups = 64;

}  // namespace

void HypoGroup::classify(const OptionTable& options, const FutureMatrix& matrix,
                         int distortion_limit, const Constraint* constraint) {
  options_ = &options;
  matrix_ = &matrix;
  distortion_limit_ = distortion_limit;
  constraint_ = constraint;
  used_ = 0;
  spans_.clear();
  if (groups_.empty()) {
    groups_.resize(kFirstGroups);
  } else {
    std::fill(groups_.begin(), groups_.end(), group_t{});
  }
}

std::size_t HypoGroup::slot_of(std::uint32_t coverage) const {
  std::size_t slot = (coverage * 0x9E3779B1U >> 8) & (groups_.size() - 1);
  while (groups_[slot].used && groups_[slot].coverage != coverage) {
    slot = (slot + 1) & (groups_.size() - 1);
  }
  return slot;
}

std::span<const next_span_t> HypoGroup::get_group(std::uint32_t coverage) {
  std::size_t slot = slot_of(coverage);
  if (!groups_[slot].used) {
    if (++used_ * 2 > groups_.size()) {
      grow();
      slot = slot_of(coverage);
    }
    const auto begin = static_cast<std::uint32_t>(spans_.size());
    collect(coverage);
    groups_[slot] = {coverage, begin, static_cast<std::uint32_t>(spans_.size()), true};
  }
  const group_t& group = groups_[slot];
  return std::span<const next_span_t>(spans_).subspan(group.begin, group.end - group.begin);
}

void HypoGroup::grow() {
  std::vector<group_t> old(groups_.size() * 2);
  old.swap(groups_);
  for (const group_t& group : old) {
    if (group.used) {
      groups_[slot_of(group.coverage)] = group;
    }
  }
}

// The ranges of untranslated positions, from left to right. A limit of 0 leaves
// the first one alone, others bound how far behind the first untranslated
// position a phrase may start and end; a negative one bounds nothing.
void HypoGroup::collect(std::uint32_t coverage) {
  const int size = options_->size();
  const int first = std::countr_one(coverage);
  const int last = distortion_limit_ > 0 && distortion_limit_ < size - first
                       ? first + distortion_limit_
                       : size - 1;
  for (int start = first; start <= last;) {
    int end = start;
    while (end < last && (coverage >> (end + 1) & 1) == 0) {
      ++end;
    }
    collect_range(coverage, {start, end});
    if (distortion_limit_ == 0) {
      break;
    }
    start = end + 1;
    while (start <= last && (coverage >> start & 1) != 0) {
      ++start;
    }
  }
}

void HypoGroup::collect_range(std::uint32_t coverage, range_t range) {
  const int last_start = distortion_limit_ == 0 ? range.start : range.end;
  for (int start = range.start; start <= last_start; ++start) {
    const int last_end = std::min(range.end, start + Option::kMaxSource - 1);
    for (int end = start; end <= last_end; ++end) {
      const OptionTable::cell_t cell = options_->cell(start, end);
      if (cell.count == 0) {
        continue;
      }
      if (constraint_ != nullptr && !constraint_->check(coverage, {start, end})) {
        continue;
      }
      spans_.push_back({start, end, cell, Calculator::find_gap(coverage, start, end, *matrix_)});
    }
  }
}

std::size_t HypoGroup::memory() const {
  return groups_.capacity() * sizeof(group_t) + spans_.capacity() * sizeof(next_span_t);
}

}  // namespace koralite::decoder
