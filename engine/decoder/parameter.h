// The decoder's settings, limits, model file names and feature weights, as the
// decoder parameter file of a model folder gives them (docs/format-config.md).
//
// A plain record: read-only once set up, then safe to read from several threads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/file_path.h"

namespace koralite::decoder {

// How wide a search is: what costs time and what may change from one sentence to the next.
struct search_limits_t {
  std::int32_t stack = 100;
  std::int32_t options = 20;
  std::int32_t distortion = 6;  // negative: none
  float beam = 11.512F;

  // What a parameter file may say too: stack and options at least 1, a beam above 0.
  bool valid() const { return stack >= 1 && options >= 1 && beam > 0; }
};

// The widest search, in "[stack]" and in "[option]", that a folder may ask of the C face: ten times
// the usual stack, fifty times the usual options. It bounds what a sentence can cost.
inline constexpr std::int32_t kWidestSearch = 1000;

struct Parameter {
  bool debug = false;     // "[debug]": trace output
  bool combine = true;    // "[combine]": hypothesis recombination
  bool detail = false;    // "[detail]": kept, steers nothing in the decoder
  bool prune = false;     // "[prune]": 7 scores per target phrase instead of 9
  bool compress = false;  // "[compress]": compact target entries

  std::int32_t stack_limit = 100;       // "[stack]": at least 1
  std::int32_t translation_limit = 20;  // "[option]": options kept per source span, at least 1
  std::int32_t distortion_limit = 6;    // "[distort]": any
  std::int32_t ngram_order = 8;         // "[ngram]": 1 to 8

  float beam_threshold = 11.512F;  // "[beam]": natural log units, above 0

  float distortion_weight = 0.3F;   // "[distort-weight]"
  float word_weight = 1.0F;         // "[word-weight]": word penalty
  float unknown_weight = 100.0F;    // "[unknown-weight]"
  float reordering_weight = 0.3F;   // "[reorder-weight]"
  float lang_weight = 0.5F;         // "[lang-weight]"
  float translation_weight = 0.2F;  // "[trans-weight]"
  float phrase_weight = 0.2F;       // "[phrase-weight]"

  // File names, relative to the model folder.
  std::string source_vocab;          // "[source-vocab]"
  std::string target_vocab;          // "[target-vocab]"
  std::string compress_vocab;        // "[compress-vocab]": the quantifier file
  std::string lang_model;            // "[lang-model]"
  std::string trans_model;           // "[trans-model]"
  std::vector<std::string> further;  // nothing fills it

  // The defaults; with a path also initialize(path).
  Parameter() = default;
  explicit Parameter(const common::FilePath& path);

  search_limits_t limits() const {
    return {stack_limit, translation_limit, distortion_limit, beam_threshold};
  }
  // Not between the two ends of one sentence's search.
  void set_limits(const search_limits_t& limits) {
    stack_limit = limits.stack;
    translation_limit = limits.options;
    distortion_limit = limits.distortion;
    beam_threshold = limits.beam;
  }

  // Reads a parameter file over the current values. Throws std::runtime_error at the first key
  // whose value is out of range or that is missing though needed; earlier fields keep their values.
  void initialize(const common::FilePath& path);

  // The lookups of configuration files, see common/pick_conf.h.
  static bool find(const std::vector<std::string>& lines, const std::string& section,
                   std::string& value);
  static bool find(const std::vector<std::string>& lines, const std::string& section,
                   std::vector<std::string>& values);
};

}  // namespace koralite::decoder
