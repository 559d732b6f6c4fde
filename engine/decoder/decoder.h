// Translates one sentence, given as source words: collects the options of the
// phrase table, runs the beam search and writes the best target sentence, with
// alignment or as an n-best list if asked.
//
// A decoder owns its phrase table reader and all memory of the search, which it
// keeps from sentence to sentence; it borrows the shared models, the constraint
// and the unknown-word translator, which must outlive it. It serves one thread
// at a time; two decoders on two `SharedMember`s share nothing mutable.
//
// Errors are std::runtime_error and leave the decoder usable. A sentence for
// which the search finds nothing is no error: its text is empty.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "common/align.h"
#include "common/word_node.h"
#include "decoder/option.h"

namespace koralite::decoder {

class Constraint;
class SharedMember;
class UnkTranslator;
struct explanation_t;

// What the search did since the decoder was made.
struct search_counts_t {
  std::uint64_t sentences = 0;     // chunks of at most kMaxWords words
  std::uint64_t expanded = 0;      // hypotheses whose extensions were tried
  std::uint64_t considered = 0;    // extensions: pairs of a hypothesis and an option
  std::uint64_t scored = 0;        // of these, those that no bound refused at first
  std::uint64_t kept = 0;          // of these, linked or written over an equal one
  std::uint64_t joint_scores = 0;  // joint scores asked for
  std::uint64_t ngram_scores = 0;  // n-gram scores that the language model computed for them
};

class Decoder {
 public:
  using words_t = std::span<const common::word_node_t>;

  // More words than these are searched in chunks of so many, each as a sentence of its own.
  static constexpr std::size_t kMaxWords = Option::kMaxSentence;
  // The chunk that begins at word `begin`, which must be there.
  static words_t chunk(words_t words, std::size_t begin) {
    return words.subspan(begin, std::min(kMaxWords, words.size() - begin));
  }

  // `constraint` and `unknown` may be null. Throws the phrase table's errors and
  // "failed to find BOS or EOS in target vocabulary".
  Decoder(SharedMember& shared, Constraint* constraint, const UnkTranslator* unknown);
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder();

  // The best translation. `output` is emptied first. The texts
  // of several chunks are joined by one space. When the
  // parameters ask for the trace, it goes to the log writer, and each of its
  // lines is appended to `log` if that is given.
  void translate(words_t words, std::string& output, std::string* log = nullptr);

  // The same with one link per phrase, in target order: source in words, target
  // in bytes of `output`. `alignment` is emptied first.
  void translate(words_t words, std::string& output, std::vector<common::align_t>& alignment,
                 std::string* log = nullptr);

  // At most n translations, best first, each with its score as text ("%g"). One
  // entry per final hypothesis: texts may repeat.
  void translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                 std::vector<std::string>& scores, std::string* log = nullptr);

  // The same with the scores themselves.
  void translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                 std::vector<float>& totals, std::string* log = nullptr);

  // Translates at most kMaxWords words and tells how: all options, the future matrix and
  // the n best derivations. Throws std::runtime_error for more words.
  void explain(unsigned n, words_t words, explanation_t& explanation);

  const search_counts_t& counts() const;

  // Bytes that the search holds, phrase table and language model left out.
  std::size_t search_memory() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace koralite::decoder
