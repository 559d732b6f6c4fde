// Words that stand in a sentence for bytes which must come out unchanged.
//
// A stand-in is a short word of lower-case letters that occurs nowhere in the text, so
// that no step of a pipeline changes it but for a capital at its start. Each is found
// again in the output by its number. A value; belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::document {

struct held_t {
  std::string text;         // what comes out
  const char* tag = "lit";  // under which the models may know it
  std::size_t begin = 0;    // where it stands in the line, in bytes
  std::size_t end = 0;      // after its last byte
  bool moves_alone = true;  // false: a copied word, which no fallback has to put back
  bool is_ordered = false;  // comes out in the order of the source among its like
};

struct found_stand_in_t {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::size_t index = 0;
};

// Whether what follows a stand-in at `at` stays attached to it, as the tokenizer wants it: a
// contraction, or a mark that ends a sentence. Of text in languages with spaces.
bool stands_attached(std::string_view text, std::size_t at);

class StandIns {
 public:
  // Starts anew for a text; the words will not occur in it.
  void reset(std::string_view text);

  // Adds one; gives the word.
  std::string add(held_t held);
  std::string word(std::size_t index) const;

  std::size_t size() const { return held_.size(); }
  const held_t& operator[](std::size_t index) const { return held_[index]; }

  // The index of a word that is a stand-in; size() for any other.
  std::size_t index_of(std::string_view word) const;

  // All stand-ins of a text, in order, capitals at their starts forgiven.
  std::vector<found_stand_in_t> find(std::string_view text) const;

 private:
  static constexpr std::size_t kDigits = 5;  // base 16

  std::string prefix_;
  std::vector<held_t> held_;
};

}  // namespace koralite::document
