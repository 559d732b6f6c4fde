#include "decoder/constraint.h"

#include <algorithm>
#include <stdexcept>

namespace koralite::decoder {

namespace {

constexpr std::uint64_t bits_below(int position) {
  return position >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << position) - 1;
}

}  // namespace

void Constraint::initialize(const Vocab& /*source_vocab*/) {}

void Constraint::build(std::span<const std::int32_t> words) {
  reset(words.size());
}

std::span<int> Constraint::reset(std::size_t count) {
  if (count > codes_.size()) {
    throw std::runtime_error("sentence too long in Constraint::build()");
  }
  count_ = count;
  std::fill_n(codes_.begin(), count, 0);
  return {codes_.data(), count};
}

bool Constraint::check(std::uint64_t covered, range_t range) const {
  const int end = std::min(range.end, static_cast<int>(count_) - 1);
  for (int p = range.start; p <= end; ++p) {
    const int code = codes_[static_cast<std::size_t>(p)];
    if (code >= 0) {
      continue;
    }
    // The rest of the span that closes here must have been translated before.
    const std::uint64_t rest = bits_below(range.start) & ~bits_below(p + code);
    if ((covered & rest) != rest) {
      return false;
    }
  }
  for (int p = 0; p < range.start && p < static_cast<int>(count_); ++p) {
    const int code = codes_[static_cast<std::size_t>(p)];
    if (code > 0 && p + code >= range.start && (covered >> p & 1) == 0) {
      return false;
    }
  }
  return true;
}

}  // namespace koralite::decoder
