// Layout of the segmenter's model files (docs/format-segmentation.md): a
// double-array trie over characters and, after it, a section of extra bytes
// whose meaning depends on the kind of file. Constants and trivial helpers,
// shared by the reader here and the builder in the toolkit.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lexicut_format {

// The first eight bytes of a file say what it is.
inline constexpr char kDictionaryMagic[] = "kxwords1";
inline constexpr char kNamesMagic[] = "kxnames1";
inline constexpr char kAmbiguousMagic[] = "kxambig1";
inline constexpr std::size_t kMagicSize = 8;

// Header: magic, u32 page count P, u32 node count N, u32 extra byte count X, u32 parameter.
inline constexpr std::size_t kHeaderSize = 24;

// Characters get small codes by two levels: a table of page numbers, one a block of 256 code
// points, and P pages of 256 codes. Code 0: the character is in no key.
inline constexpr std::size_t kBlockCount = 0x110000 / 256;
inline constexpr std::size_t kCodesPerPage = 256;

// A node's value: cost of the key that ends there, in thousandths of a nat, shifted left by one;
// bit 0 marks the name of a person. 0: no key ends there.
inline constexpr std::uint32_t kCostScale = 1000;
inline constexpr std::uint32_t kMaxCost = 32767;
inline constexpr std::uint32_t kNameFlag = 1;

// Name statistics: three costs for each character code (as the single character of a given name,
// as the first of two, as the second of two); this one where the character was never seen.
inline constexpr std::size_t kGivenPositions = 3;
inline constexpr std::uint16_t kGivenUnseen = 0xFFFF;

// Longest key in characters. Bounds the work at one position of a text.
inline constexpr std::size_t kMaxKeyCharacters = 32;

}  // namespace lexicut_format
