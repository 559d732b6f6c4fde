// Writes the head and ".nodes" files of a packed phrase table: which source phrases
// there are, and where in the data file their target blocks lie.
#pragma once

#include <cstdint>
#include <span>

#include "toolkit/io/atomic_file.h"

namespace koralite::toolkit {

struct trie_phrase_t {
  std::span<const std::int32_t> words;  // one to eight; ids past the first below 65535
  std::uint32_t offset = 0;             // of its block
};

// `phrases` are sorted word by word, without repetition. Commits neither file. Throws
// std::runtime_error when one first word's trie outgrows the links of the format.
void write_phrase_trie(std::span<const trie_phrase_t> phrases, AtomicFile& head, AtomicFile& nodes);

}  // namespace koralite::toolkit
