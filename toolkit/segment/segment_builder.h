// Makes the three model files of the segmenter from word lists.
//
// Input is text: words with counts and tags, surnames, and strings with a fixed
// segmentation. Reading functions throw std::runtime_error naming file, line and
// remedy; building is deterministic. Free functions, no state.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace koralite::toolkit {

struct segment_word_t {
  std::string word;
  std::uint64_t count = 0;
  std::string tag;  // "nr" marks names of persons; others are not looked at
};

// Lines "word TAB count [TAB tag]" (spaces may stand for TABs). Empty lines and lines that begin
// with "#" are skipped.
std::vector<segment_word_t> read_segment_words(const std::string& path);

// Lines with one text each, skipping empty lines and lines that begin with "#".
std::vector<std::string> read_segment_lines(const std::string& path);

struct segment_report_t {
  std::size_t words = 0;
  std::size_t person_words = 0;  // words of the list that are marked as names
  std::size_t surnames = 0;
  std::size_t given_characters = 0;
  std::size_t ambiguous = 0;
  std::size_t dropped = 0;  // words that the format cannot hold
};

// The word list. A word is marked as the name of a person when its tag is "nr", it is a surname
// followed by two characters, and that surname is a common one among the words tagged so (rare
// surnames begin too many ordinary words). Words with count 0 are taken as count 1.
segment_report_t build_segment_dictionary(const std::string& path,
                                          const std::vector<segment_word_t>& words,
                                          const std::vector<std::string>& surnames);

// The name statistics, counted over the words marked "nr" that begin with a surname.
// `name_share` is the share of running words that are names of persons; a name is considered when
// its probability is above e^-`threshold`.
segment_report_t build_segment_names(const std::string& path,
                                     const std::vector<segment_word_t>& words,
                                     const std::vector<std::string>& surnames,
                                     double name_share = 0.002, double threshold = 19.0);

// Strings with a fixed segmentation, each given with spaces between its words.
segment_report_t build_segment_ambiguous(const std::string& path,
                                         const std::vector<std::string>& segmentations);

}  // namespace koralite::toolkit
