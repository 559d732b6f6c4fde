// SHA-256 of a byte stream, as FIPS 180-4 defines it. The engine needs it to
// compare model files with the digests of their manifest before it trusts them;
// the toolkit writes those digests. Holds no resources; one object serves one
// thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace koralite::common {

class Sha256 {
 public:
  using digest_t = std::array<std::uint8_t, 32>;

  Sha256();

  // Adds bytes to the stream; may be called any number of times.
  void update(std::span<const unsigned char> bytes);

  // Ends the stream and gives its digest. The object must not be used after.
  digest_t finish();

  // The digest of `bytes` as 64 lower-case hexadecimal digits.
  static std::string hex_of(std::span<const unsigned char> bytes);

 private:
  void compress(const unsigned char* block);

  std::array<std::uint32_t, 8> state_;
  std::array<unsigned char, 64> block_{};
  std::size_t filled_ = 0;
  std::uint64_t length_ = 0;  // bytes seen so far
};

}  // namespace koralite::common
