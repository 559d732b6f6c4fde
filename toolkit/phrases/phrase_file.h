// The trained phrase table as a text file, the form between training and packing
// that people can read and other tools can write:
//
//   source ||| target ||| p(t|s) lex(t|s) p(s|t) lex(s|t) ||| links ||| count source target |||
//   monotone swap discontinuous (previous) monotone swap discontinuous (next)
//
// One pair a line, words between blanks, links "0-0 1-1". Values and free
// functions; failures are std::runtime_error naming the file and the line.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/phrases/phrase_table.h"

namespace koralite::toolkit {

inline constexpr std::size_t kTranslationFeatures = 4;

struct phrase_line_t {
  std::vector<std::string_view> source;
  std::vector<std::string_view> target;
  std::array<double, kTranslationFeatures> probabilities{};
  std::array<std::uint32_t, 6> orientations{};
  std::vector<Link> links;
};

// One line of the file, line feed included.
std::string format_phrase(const PhrasePair& pair, const WordTable& source, const WordTable& target);

// Reads every line. What is handed out lives until the next one.
void read_phrase_file(const std::string& path,
                      const std::function<void(const phrase_line_t&)>& use);

// Gives the tag words of the target the number of the source tag word that each is linked to, as
// the decoder counts them: equal words of the source phrase from 0. All tag words come with number
// 0. False when one has no partner of its tag, or one that another has taken.
bool number_tags(const phrase_line_t& phrase, std::vector<std::string>& target);

}  // namespace koralite::toolkit
