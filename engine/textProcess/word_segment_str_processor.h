// The steps that cut a text into words with the segmentation library: the text
// goes to the library in pieces of at most 255 bytes, and the words come back
// with spaces between them. Words that the library takes for names of persons
// are collected in a set for a later step.
//
// A segmenter owns its model and the library's result record; it serves one text
// at a time. The library is not trusted: words that lie outside their piece,
// overlap or go backwards make the step fail and leave the text unchanged.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_path.h"
#include "textProcess/lexicut_api.h"
#include "textProcess/segment_str_processor.h"

namespace koralite::textProcess {

class WordSegmentStrProcessor : public SegmentStrProcessor {
 public:
  static constexpr unsigned kLongestPiece = 255;  // bytes

  // Where names are collected: cleared for each text, kept by the caller. Null
  // (the state at first) collects none.
  void SetNameBuffer(std::set<std::string>* names) { names_ = names; }

  int OnProcess(ProcessStr& str) override;

 protected:
  // What sets one segmenter apart from another.
  struct labels_t {
    const char* name;
    const char* no_model;   // error when the model cannot be loaded
    const char* no_record;  // error when the result record cannot be made
  };

  // The first three paths go to the library as they are. Each line of the
  // anti-name file is a word that is never collected as a name; null or empty
  // for none. Throws std::runtime_error with the messages of `labels`, with
  // "Invalidate antiname!" when the lines are not in ascending byte order, and
  // the errors of DesFileReader.
  WordSegmentStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior,
                          const labels_t& labels, const common::FilePath& dictionary,
                          const common::FilePath& names, const common::FilePath& ambiguous,
                          const common::FilePath& anti_names, unsigned longest_piece,
                          const LexicutApi& api);

 private:
  struct ModelDeleter {
    decltype(LexicutApi::destroy) destroy;
    void operator()(lexicut_model* model) const { destroy(&model); }
  };
  struct RecordDeleter {
    decltype(LexicutApi::destroy_out) destroy;
    void operator()(lexicut_out* record) const { destroy(&record); }
  };

  bool segment(const std::string& text, std::string& out);
  std::size_t get_next_pos(std::string_view text, std::size_t start) const;
  bool inner_segment(std::string& piece);
  bool get_token(std::string& piece);
  bool record_is_sound(std::size_t piece_length) const;
  static void connect_float(std::string& piece);
  static void connect_hyphen(std::string& piece);

  void load_anti_names(const common::FilePath& path);

  unsigned longest_piece_;
  std::size_t segmented_capacity_;  // room kept for a piece with its spaces
  decltype(LexicutApi::segment_full) segment_full_;
  std::unique_ptr<lexicut_model, ModelDeleter> model_;
  std::unique_ptr<lexicut_out, RecordDeleter> record_;
  std::vector<std::string> anti_names_;  // sorted
  std::set<std::string>* names_ = nullptr;
};

// The segmenter of simplified Chinese sources.
class ChsSegmentStrProcessor : public WordSegmentStrProcessor {
 public:
  ChsSegmentStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior,
                         const common::FilePath& dictionary, const common::FilePath& names,
                         const common::FilePath& ambiguous, const common::FilePath& anti_names,
                         unsigned longest_piece, const LexicutApi& api = linked_lexicut());
};

// The segmenter of every other language that needs one.
class GeneralSegmentStrProcessor : public WordSegmentStrProcessor {
 public:
  GeneralSegmentStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior,
                             const common::FilePath& dictionary, const common::FilePath& names,
                             const common::FilePath& ambiguous, const common::FilePath& anti_names,
                             unsigned longest_piece, const LexicutApi& api = linked_lexicut());
};

}  // namespace koralite::textProcess
