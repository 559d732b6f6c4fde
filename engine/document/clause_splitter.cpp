#include "document/clause_splitter.h"

#include <algorithm>
#include <limits>

namespace koralite::document {

namespace {

// What a cut costs, on the scale of a piece's squared distance from the even length over
// that length.
constexpr float kClauseEnd = 0.0F;    // ; : dash
constexpr float kConjunction = 1.0F;  // a comma before "and"
constexpr float kComma = 3.0F;
constexpr float kAnyWord = 40.0F;
constexpr float kInside = 30.0F;  // of quotes or brackets
constexpr float kPiece = 4.0F;    // each piece

template <std::size_t kCount>
bool is_one_of(std::string_view word, const std::string_view (&list)[kCount]) {
  return std::find(std::begin(list), std::end(list), word) != std::end(list);
}

constexpr std::string_view kStops[] = {";", ":", "；", "：", "—", "——", "--", "-", "…", "..."};
constexpr std::string_view kCommas[] = {",", "，"};
constexpr std::string_view kOpening[] = {"(", "[", "{", "（", "“", "‘", "《", "「", "【"};
constexpr std::string_view kClosing[] = {")", "]", "}", "）", "”", "’", "》", "」", "】"};
constexpr std::string_view kConjunctions[] = {
    "and", "but",   "or",     "so",   "because", "which", "while",  "when",  "where", "if",
    "as",  "since", "though", "then", "that",    "who",   "unless", "until", "yet",   "nor",
    "但",  "但是",  "而",     "而且", "并且",    "并",    "因为",   "所以",  "如果",  "当",
    "或",  "或者",  "因此",   "然后", "同时",    "以便",  "虽然",   "不过",  "那么",  "就"};

// The cost of cutting behind each word.
std::vector<float> cut_costs(const std::vector<std::string_view>& words) {
  std::vector<float> costs(words.size(), kAnyWord);
  std::size_t depth = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string_view word = words[i];
    if (is_one_of(word, kOpening)) {
      ++depth;
    } else if (is_one_of(word, kClosing)) {
      depth -= depth > 0 ? 1 : 0;
      costs[i] = kComma;
    } else if (word == "\"") {
      quoted = !quoted;
      costs[i] = quoted ? kAnyWord : kComma;
    } else if (is_one_of(word, kStops)) {
      costs[i] = kClauseEnd;
    } else if (is_one_of(word, kCommas)) {
      costs[i] =
          i + 1 < words.size() && is_one_of(words[i + 1], kConjunctions) ? kConjunction : kComma;
    }
    if (depth > 0 || quoted) {
      costs[i] += kInside;
    }
    // A mark belongs to the clause before it.
    if (i + 1 < words.size() &&
        (is_one_of(words[i + 1], kCommas) || is_one_of(words[i + 1], kStops) ||
         is_one_of(words[i + 1], kClosing))) {
      costs[i] += kAnyWord;
    }
  }
  return costs;
}

}  // namespace

std::vector<std::size_t> cut_into_clauses(const std::vector<std::string_view>& words,
                                          std::size_t longest) {
  const std::size_t n = words.size();
  if (n <= longest) {
    return {0};
  }
  const std::vector<float> costs = cut_costs(words);
  const auto pieces = static_cast<float>((n + longest - 1) / longest);
  const float even = static_cast<float>(n) / pieces;
  // best[i]: the least cost of words before i; from[i]: where the piece that ends there begins.
  std::vector<float> best(n + 1, std::numeric_limits<float>::infinity());
  std::vector<std::size_t> from(n + 1, 0);
  best[0] = 0;
  for (std::size_t end = 1; end <= n; ++end) {
    const std::size_t first = end > longest ? end - longest : 0;
    for (std::size_t begin = first; begin < end; ++begin) {
      const float distance = static_cast<float>(end - begin) - even;
      const float cost =
          best[begin] + kPiece + distance * distance / even + (end < n ? costs[end - 1] : 0.0F);
      if (cost < best[end]) {
        best[end] = cost;
        from[end] = begin;
      }
    }
  }
  std::vector<std::size_t> begins;
  for (std::size_t end = n; end > 0; end = from[end]) {
    begins.push_back(from[end]);
  }
  std::reverse(begins.begin(), begins.end());
  return begins;
}

}  // namespace koralite::document
