#include "common/byte_reader.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

using koralite::common::ByteReader;

namespace {

constexpr std::array<unsigned char, 16> kBytes = {0x01, 0xFF, 0xFE, 0x7F, 0x00, 0x00, 0x80, 0x3F,
                                                  0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();

TEST(ByteReader, ReadsLittleEndianNumbersInOrder) {
  ByteReader reader(kBytes);
  std::uint8_t a = 0;
  std::int8_t b = 0;
  std::int16_t c = 0;
  float d = 0;
  std::uint64_t e = 0;
  ASSERT_TRUE(reader.read(a) && reader.read(b) && reader.read(c) && reader.read(d) &&
              reader.read(e));
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, -1);
  EXPECT_EQ(c, 0x7FFE);
  EXPECT_EQ(d, 1.0F);
  EXPECT_EQ(e, 0x8877665544332211ULL);
  EXPECT_EQ(reader.remaining(), 0U);

  std::int32_t at = 0;
  EXPECT_TRUE(reader.read_at(12, at));
  EXPECT_EQ(at, static_cast<std::int32_t>(0x88776655));
  EXPECT_EQ(reader.position(), 16U);
}

// Every operation at every position, with counts around and far beyond what is left.
TEST(ByteReader, NeverPassesTheEndAndFailsWithoutEffect) {
  for (std::uint64_t at = 0; at <= kBytes.size(); ++at) {
    ByteReader reader(kBytes);
    ASSERT_TRUE(reader.seek(at));
    const std::uint64_t left = kBytes.size() - at;
    for (const std::uint64_t count : {std::uint64_t{0}, left, left + 1, kHuge - at, kHuge}) {
      const bool fits = count <= left;
      ByteReader copy = reader;
      std::span<const unsigned char> view;
      EXPECT_EQ(copy.read_bytes(count, view), fits);
      EXPECT_EQ(view.size(), fits ? count : 0U);
      EXPECT_EQ(copy.position(), fits ? at + count : at);
      copy = reader;
      EXPECT_EQ(copy.skip(count), fits);
      EXPECT_EQ(copy.bytes_at(at, count, view), fits);
      EXPECT_EQ(reader.fits(count, 1), fits);
      EXPECT_EQ(reader.fits(count, 8), count <= left / 8);
    }
    std::uint64_t wide = 42;
    const bool fits = left >= 8;
    EXPECT_EQ(reader.read_at(at, wide), fits);
    EXPECT_EQ(ByteReader(reader).read_u64(wide), fits);
    if (!fits) {
      EXPECT_EQ(wide, 42U);
    }
  }
  ByteReader reader(kBytes);
  std::span<const unsigned char> view;
  std::uint16_t value = 0;
  EXPECT_FALSE(reader.seek(17) || reader.seek(kHuge) || reader.read_at(kHuge, value) ||
               reader.bytes_at(kHuge, 0, view) || reader.fits(kHuge / 2, 4));
  EXPECT_FALSE(ByteReader().read(value));
}

}  // namespace
