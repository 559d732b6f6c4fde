#include "decoder/quantifier.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "common/byte_reader.h"

namespace koralite::decoder {

void Quantifier::load(common::ByteReader& file) {
  std::int32_t count = 0;
  if (!file.read_i32(count)) {
    throw std::runtime_error("failed to read quantify size from file");
  }
  if (count < 0) {
    // Programs compare this text, so its spelling stays.
    throw std::runtime_error("illegual quantify size");
  }
  if (!file.fits(static_cast<std::uint64_t>(count), sizeof(float))) {
    throw std::runtime_error("failed to read quantify value from file");
  }
  std::vector<float> samples(static_cast<std::size_t>(count));
  for (float& sample : samples) {
    file.read_f32(sample);
  }
  samples_ = std::move(samples);
}

int Quantifier::quantify(float value, float& error) const {
  if (samples_.empty()) {
    throw std::runtime_error("try to quantify float value with empty quantify sample");
  }
  std::size_t code = 0;
  if (!(value > samples_.front())) {
    code = 0;  // first, so that equal samples have the lowest of their codes
  } else if (value >= samples_.back()) {
    code = samples_.size() - 1;
  } else {
    const auto above = std::upper_bound(samples_.begin(), samples_.end(), value);
    // Samples out of order can make the search end anywhere.
    code = std::clamp<std::size_t>(static_cast<std::size_t>(above - samples_.begin()), 1,
                                   samples_.size() - 1);
    if (value - samples_[code - 1] <= samples_[code] - value) {
      --code;
    }
  }
  error = std::fabs(value - samples_[code]);
  return static_cast<int>(code);
}

}  // namespace koralite::decoder
