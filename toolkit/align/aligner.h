// Statistical word alignment. Two published models, trained by expectation
// maximisation one after the other on the same lexical table t(target | source):
// first the reparameterised IBM model 2, in which a word prefers the diagonal
// with a tension that is fitted to the text, then a hidden Markov model, in
// which a word prefers the neighbourhood of its predecessor's source. Both have
// an empty source word. The lexical table is estimated under a sparse Dirichlet
// prior (variational Bayes), which keeps rare words from collecting everything.
//
// With source words i of n, target words j of m, both counted from 0:
//
// - Dyer, Chahuneau and Smith, "A simple, fast, and effective reparameterization of IBM model 2"
//   (2013), section 2: a word has no source with probability p0, else source i with probability
//   (1 - p0) exp(-tension |i/n - j/m|) / Z. Here a word stands at the middle of its share of the
//   sentence, (i + 1/2) / n, so that first and last words are treated alike; Z is a plain sum, as
//   it costs no more than the lexical table; and the tension is found by halving an interval until
//   the model expects the distance that was observed, which is where the gradient of section 3 is
//   0.
// - Vogel, Ney and Tillmann, "HMM-based word alignment in statistical translation" (1996): source i
//   after source k with probability c(i - k) / sum over l of c(l - k). The empty word keeps the
//   position of the word before it, as in Och and Ney, "A systematic comparison of various
//   statistical alignment models" (2003). Here c counts jumps beyond 40 words as one, the first
//   word has counts of its own, a twentieth of the probability is spread evenly, and each link is
//   also weighed by the diagonal model, to the power of `markov_tension`.
// - Riley and Gildea, "Improving the IBM alignment models using variational Bayes" (2012): t is
//   exp(digamma(c + prior)) / exp(digamma(sum of (c + prior))) of the expected counts c, which does
//   not add up to one; the sum goes over the words that meet in some sentence, not all words.
//
// Expectations are summed in fixed point, so the result is the same to the bit
// for any number of threads.
#pragma once

#include <cstdint>

#include "toolkit/align/alignment.h"
#include "toolkit/io/corpus.h"
#include "toolkit/io/progress.h"

namespace koralite::toolkit {

struct AlignOptions {
  int diagonal_iterations = 5;    ///< of the diagonal model
  int hmm_iterations = 0;         ///< of the Markov model after it
  double null_probability = 0.1;  ///< that a target word has no source word
  double tension = 4.0;           ///< of the diagonal prior, to begin with
  double markov_tension = 1;      ///< share of it that also acts in the Markov model
  bool optimise_tension = true;   ///< fit it in each iteration but the first
  double prior = 0.01;            ///< of the Dirichlet; 0 is maximum likelihood
  std::size_t max_words = 200;    ///< pairs with a longer side stay unaligned
  unsigned threads = 0;           ///< 0: all cores
};

struct AlignResult {
  DirectedAlignment alignment;
  double tension = 0;                ///< as fitted
  double log_likelihood = 0;         ///< natural log, of the last iteration
  std::vector<double> perplexities;  ///< per generated word, of each iteration
};

// Aligns each word of `generated` to a word of `given` or to none. Both texts have
// the same number of sentences, their ids lie below the sizes of the two vocabularies.
// Memory: 16 bytes per pair of words that meet in a sentence, and 4 per cell
// of all sentence pairs (dropped when that exceeds 1 GiB, at twice the time).
AlignResult align(const TokenText& given, const TokenText& generated, std::size_t given_words,
                  std::size_t generated_words, const AlignOptions& options,
                  const Progress& progress = {}, std::string_view stage = "align");

// Both directions and grow-diag-final-and.
Alignment align_both(const Bitext& bitext, const AlignOptions& options,
                     const Progress& progress = {});

}  // namespace koralite::toolkit
