#include "toolkit/eval/chrf.h"

#include <algorithm>
#include <stdexcept>

#include "kora/kora.h"
#include "toolkit/eval/sentence_scores.h"
#include "toolkit/eval/tokenizer.h"

namespace koralite::toolkit {

ChrfStats& ChrfStats::operator+=(const ChrfStats& other) {
  for (std::size_t n = 0; n < 6; ++n) {
    translation[n] += other.translation[n];
    reference[n] += other.reference[n];
    matches[n] += other.matches[n];
  }
  return *this;
}

double chrf(const ChrfStats& stats, double beta) {
  double precision = 0;
  double recall = 0;
  int orders = 0;
  for (std::size_t n = 0; n < 6; ++n) {
    if (stats.translation[n] == 0 || stats.reference[n] == 0) {
      continue;
    }
    const double matches = static_cast<double>(stats.matches[n]);
    precision += matches / static_cast<double>(stats.translation[n]);
    recall += matches / static_cast<double>(stats.reference[n]);
    ++orders;
  }
  if (orders == 0 || precision + recall == 0) {
    return 0;
  }
  precision /= orders;
  recall /= orders;
  return 100 * (1 + beta * beta) * precision * recall / (beta * beta * precision + recall);
}

ChrfScorer::ChrfScorer(std::span<const std::vector<std::string>> references, bool lower_case)
    : lower_case_(lower_case), references_(references.size()) {
  sentences_.resize(sentence_count(references));
  for (const std::vector<std::string>& reference : references) {
    for (std::size_t i = 0; i < reference.size(); ++i) {
      sentences_[i].push_back(grams(reference[i]));
    }
  }
}

ChrfScorer::Grams ChrfScorer::grams(std::string_view text) const {
  std::u32string signs = code_points(lower_case_ ? koralite::toolkit::lower_case(text) : text);
  std::erase_if(signs, is_space);
  Grams all;
  for (std::size_t n = 1; n <= 6; ++n) {
    for (std::size_t i = 0; i + n <= signs.size(); ++i) {
      Gram gram{};
      std::copy_n(signs.begin() + static_cast<std::ptrdiff_t>(i), n, gram.begin());
      all[n - 1].push_back(gram);
    }
    std::sort(all[n - 1].begin(), all[n - 1].end());
  }
  return all;
}

ChrfStats ChrfScorer::sentence(std::size_t index, std::string_view translation) const {
  const Grams own = grams(translation);
  ChrfStats best;
  double best_score = -1;
  for (const Grams& reference : sentences_[index]) {
    ChrfStats stats;
    for (std::size_t n = 0; n < 6; ++n) {
      // An order that the reference is too short for says nothing.
      if (!reference[n].empty()) {
        stats.translation[n] = static_cast<std::int64_t>(own[n].size());
      }
      stats.reference[n] = static_cast<std::int64_t>(reference[n].size());
      // The common part of two sorted lists is what both hold often enough.
      auto a = own[n].begin();
      auto b = reference[n].begin();
      while (a != own[n].end() && b != reference[n].end()) {
        if (*a < *b) {
          ++a;
        } else if (*b < *a) {
          ++b;
        } else {
          ++stats.matches[n];
          ++a;
          ++b;
        }
      }
    }
    if (const double score = chrf(stats); score > best_score) {
      best_score = score;
      best = stats;
    }
  }
  return best;
}

std::vector<ChrfStats> ChrfScorer::sentences(std::span<const std::string> translations) const {
  return sentence_scores(*this, translations);
}

std::string ChrfScorer::signature() const {
  return "nrefs:" + std::to_string(references_) + "|case:" + (lower_case_ ? "lc" : "mixed") +
         "|eff:yes|nc:6|nw:0|space:no|version:kora-" + std::string(kora_get_version());
}

}  // namespace koralite::toolkit
