// The sample values of one translation score: maps a score to the code of the
// nearest sample, and a code of a packed target entry back to its value.
//
// A plain value; read-only, and so safe to share, once it is loaded.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace koralite::common {
class ByteReader;
}

namespace koralite::decoder {

class Quantifier {
 public:
  Quantifier() = default;

  // `samples` ascend; a code is one byte, so only the first 256 can be named.
  explicit Quantifier(std::vector<float> samples) : samples_(std::move(samples)) {}

  // Replaces the samples by those at the reader: a 4-byte signed count, then as
  // many 4-byte floats. Throws "failed to read quantify size from file",
  // "illegual quantify size" or "failed to read quantify value from file".
  void load(common::ByteReader& file);

  // Code of the sample nearest to `value`, by distances in single precision; a value
  // midway between two takes the lower, one not above the first sample 0. `error` becomes the
  // distance to that sample. Throws "try to quantify float value with empty quantify sample".
  int quantify(float value, float& error) const;

  // Value of `code` (not negative): 0 without samples, the last sample for a
  // code beyond it.
  float unquantify(int code) const {
    if (samples_.empty()) {
      return 0.0F;
    }
    const auto index = static_cast<std::size_t>(code);
    return index < samples_.size() ? samples_[index] : samples_.back();
  }

  const std::vector<float>& samples() const { return samples_; }

 private:
  std::vector<float> samples_;
};

}  // namespace koralite::decoder
