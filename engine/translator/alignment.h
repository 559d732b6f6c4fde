// Alignments between a source sentence and its translation: checking them and
// carrying them from words and decoder output to the bytes that a caller sees.
// Free functions without state.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/align.h"

namespace koralite::translator {

// Whether every link lies inside `source_words` words and `output_length` bytes.
// An empty list fails when there are no words.
bool check_alignment(int source_words, int output_length,
                     const std::vector<common::align_t>& alignment);

// Whether the links, in bytes on both sides, tile the output in order: no gap but
// a single space, no link beginning or ending inside a UTF-8 character, the last
// one at the last byte. Overlaps pass. An empty list passes for an empty output.
bool check_alignment(const std::string& source, const std::string& output,
                     const std::vector<common::align_t>& alignment);

// Turns links from words to bytes of the decoder's output into links from bytes
// of `source` to bytes of `output`, with the gaps between them closed.
// `word_positions`: the source byte at which each word begins. `output_positions`:
// the byte of the decoder's output that each byte of `output` came from.
void modify_alignment(const std::string& source, const std::string& output,
                      std::span<const std::int32_t> word_positions,
                      std::span<const std::int32_t> output_positions,
                      std::vector<common::align_t>& alignment);

// One link over the whole of both sides, each given by its length.
common::align_t whole_alignment(std::size_t source_length, std::size_t target_length);

}  // namespace koralite::translator
