// Ordering constraint of one source sentence: which spans the search may
// translate before others, so that the inside of a quotation or bracket and the
// text before a clause mark stay on their side of the mark.
//
// A language class fills the span codes from the sentence's word ids (`build`);
// the search asks `check` for each span that it considers. The object belongs to
// whoever made it, outlives the decoder that uses it, is rebuilt per sentence
// and serves one decoder on one thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace koralite::decoder {

class Vocab;

// Source positions, both inclusive.
struct range_t {
  int start = 0;
  int end = 0;

  friend bool operator==(const range_t&, const range_t&) = default;
};

class Constraint {
 public:
  // Coverages are 64-bit sets, so no sentence given to `build` may be longer.
  static constexpr int kMaxPositions = 64;

  Constraint() = default;
  Constraint(const Constraint&) = default;
  Constraint& operator=(const Constraint&) = default;
  virtual ~Constraint() = default;

  // Called once, by the decoder, with the vocabulary that numbers the words that
  // `build` will see. The base class constrains nothing.
  virtual void initialize(const Vocab& source_vocab);

  // Computes the codes of a sentence of source word ids. Throws
  // std::runtime_error for more than kMaxPositions words.
  virtual void build(std::span<const std::int32_t> words);

  // Whether a phrase over `range` may be translated when the positions of the
  // set `covered` are translated already. `range` lies inside the sentence.
  bool check(std::uint64_t covered, range_t range) const;

  // The code of each position of the sentence: > 0 opens a span that reaches to
  // p + code, < 0 closes a span that began at p + code, 0 is an ordinary word.
  std::span<const int> codes() const { return {codes_.data(), count_}; }

 protected:
  // All codes of a sentence of `count` words, set to 0, for `build` to fill.
  std::span<int> reset(std::size_t count);

 private:
  std::array<int, kMaxPositions> codes_{};
  std::size_t count_ = 0;
};

}  // namespace koralite::decoder
