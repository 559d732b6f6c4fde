// Turns sentence pairs as people write them into the words that training reads,
// by the engine's own text steps, so that training text and run-time text agree
// to the byte. Spans that the engine will translate by rule or dictionary become
// tag words where the target side has the same translation, and so do protected spans
// (placeholders, addresses, code) that both sides hold equally often.
//
// A Preparer owns the text pipelines of both languages; one serves one thread.
// prepare() runs many on several threads; its result does not depend on how many.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "document/span_recognizer.h"
#include "textProcess/processor.h"
#include "toolkit/folder/direction.h"
#include "toolkit/io/progress.h"

namespace koralite::toolkit {

// How often spans of one tag came, and how often the target side had their translation.
struct tag_count_t {
  std::uint64_t found = 0;
  std::uint64_t matched = 0;
};

struct prepared_pair_t {
  std::vector<std::string> source;  // tag words are numbered in the order of the sentence:
  std::vector<std::string> target;  // "<tag>#0", "<tag>#1"; equal numbers belong together
};

// Where the resources of both sides lie. The configurations are files in the form of engine.conf.
struct preparation_files_t {
  direction_t direction;
  std::string source_conf;
  std::string target_conf;
  std::string folder;  // that the names in them are relative to
};

class Preparer {
 public:
  explicit Preparer(const preparation_files_t& files);

  // The words of both sides. Counts tags into `tags`.
  prepared_pair_t pair(const std::string& source, const std::string& target,
                       std::map<std::string, tag_count_t>& tags);
  // The words of a text in the target language, as the language model wants them.
  std::vector<std::string> target(const std::string& line);
  // The same with the capitals that the text has; only English has any.
  std::vector<std::string> cased_target(const std::string& line);
  // The source words that the segmenter took for names of persons, with their fixed translations.
  std::vector<std::pair<std::string, std::string>> names(const std::string& source);

 private:
  textProcess::Processor source_;
  textProcess::Processor target_;  // its preprocessor reads the target language
  document::SpanRecognizer source_spans_;
  document::SpanRecognizer target_spans_;
};

struct preparation_options_t {
  std::size_t max_words = 100;  // of a side; longer pairs are dropped
  unsigned threads = 0;         // 0: all cores
};

struct preparation_report_t {
  std::uint64_t pairs = 0;  // given
  std::uint64_t kept = 0;
  std::uint64_t empty = 0;  // a side without words
  std::uint64_t too_long = 0;
  std::uint64_t identical = 0;   // both sides the same text
  std::uint64_t ill_formed = 0;  // a side that is not valid UTF-8
  std::uint64_t repeated = 0;    // beyond the tenth of equal pairs
  std::uint64_t source_words = 0;
  std::uint64_t target_words = 0;
  std::map<std::string, tag_count_t> tags;
};

struct prepared_text_t {
  std::vector<std::string> source;  // words joined by blanks, pair by pair
  std::vector<std::string> target;
  preparation_report_t report;
};

// Throws std::runtime_error when the sides differ in length or nothing is left.
prepared_text_t prepare(const preparation_files_t& files, std::span<const std::string> source,
                        std::span<const std::string> target, const preparation_options_t& options,
                        const Progress& progress = {});

// Lines of target text prepared for the language model; those without words vanish.
std::vector<std::string> prepare_target(const preparation_files_t& files,
                                        std::span<const std::string> lines,
                                        const preparation_options_t& options,
                                        const Progress& progress = {});

}  // namespace koralite::toolkit
