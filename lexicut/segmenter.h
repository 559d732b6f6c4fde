// Maximum-probability word segmentation.
//
// Every way to cut a text into dictionary words, names of persons and fallback
// tokens is a path through a graph over byte positions; the cheapest path wins.
// A word costs the negative logarithm of its relative frequency, so the path is
// the most probable one if words were independent. Strings of the ambiguous
// list are cut first, exactly as the list says.
//
// A Segmenter is read-only once loaded and serves any number of threads, each
// with a Lattice of its own, which holds all memory that a call needs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lexicut/trie.h"

namespace lexicut {

// Working memory for texts of up to `capacity` bytes, reused from call to call.
class Lattice {
 public:
  explicit Lattice(std::uint32_t capacity);
  std::uint32_t capacity() const { return static_cast<std::uint32_t>(places_.size() - 1); }

 private:
  friend class Segmenter;

  // What is known of a byte position. Positions inside a character stay closed.
  struct place_t {
    std::uint64_t cost = 0;       // of the cheapest path to here
    std::uint32_t previous = 0;   // where the last word of that path begins
    std::uint32_t character = 0;  // the code point that begins here
    std::uint32_t code = 0;       // that character's code in the word list
    std::uint32_t fallback = 0;   // end of the token that begins here if no word is known
    std::uint8_t length = 0;      // bytes of the character
    bool is_name = false;         // the last word of the path is the name of a person
    bool closed = false;          // no cut here
    bool barrier = false;         // a cut here for certain
    bool fixed = false;           // the token that begins here is given by the ambiguous list
  };
  std::vector<place_t> places_;
};

class Segmenter {
 public:
  // Loads the word list and, where the path is not empty, the name statistics and the ambiguous
  // strings. Nothing when a file that is asked for is missing or is of another kind.
  static std::optional<Segmenter> load(const koralite::common::FilePath& dictionary,
                                       const koralite::common::FilePath& names,
                                       const koralite::common::FilePath& ambiguous);

  struct token_t {
    std::uint32_t offset;  // bytes from the start of the text
    std::uint32_t length;  // bytes
    bool is_name;
  };

  // Cuts `length` bytes, at most the lattice's capacity, into words that cover all of them, and
  // hands each to `emit(token_t)` from the last to the first. Gives the number of words.
  template <class Emit>
  std::uint32_t segment(const unsigned char* text, std::uint32_t length, Lattice& lattice,
                        Emit&& emit) const {
    find_path(text, length, lattice);
    std::uint32_t count = 0;
    for (std::uint32_t end = length; end > 0; ++count) {
      const Lattice::place_t& place = lattice.places_[end];
      emit(token_t{place.previous, end - place.previous, place.is_name});
      end = place.previous;
    }
    return count;
  }

 private:
  explicit Segmenter(Trie dictionary) : dictionary_(std::move(dictionary)) {}

  void find_path(const unsigned char* text, std::uint32_t length, Lattice& lattice) const;
  // The steps of find_path, each linear in the text.
  void read_characters(const unsigned char* text, std::uint32_t length, Lattice& lattice) const;
  void cut_ambiguous(std::uint32_t length, Lattice& lattice) const;
  static void find_fallbacks(std::uint32_t length, Lattice& lattice);
  void add_words(std::uint32_t begin, std::uint32_t length, Lattice& lattice) const;
  void add_names(std::uint32_t begin, std::uint32_t length, Lattice& lattice) const;

  Trie dictionary_;
  std::optional<Trie> names_;
  std::optional<Trie> ambiguous_;
};

}  // namespace lexicut
