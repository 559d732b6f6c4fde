#include "decoder/lang_model.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace koralite::decoder {

LangModel::LangModel(int order) : order_(order) {
  if (order < 1 || order > kMaxOrder) {
    throw std::runtime_error("language model n-gram order overflow in PackedLM");
  }
}

void LangModel::compute_phrase_score(std::span<const int> ids, float& complete,
                                     float& total) const {
  const auto order = static_cast<std::size_t>(order_);
  float estimate = 0.0F;
  for (std::size_t k = 1; k <= std::min(ids.size(), order - 1); ++k) {
    estimate += compute_ngram_score(ids.first(k));
  }
  float windows = 0.0F;
  for (std::size_t start = 0; start + order <= ids.size(); ++start) {
    windows += compute_ngram_score(ids.subspan(start, order));
  }
  complete = windows;
  total = estimate + windows;
}

float LangModel::compute_joint_score(std::span<const int> context, std::span<const int> ids) const {
  if (context.size() > kMaxContext) {
    throw std::runtime_error("context overflow in LangModel::compute_joint_score()");
  }
  const auto order = static_cast<std::size_t>(order_);
  const std::size_t count = std::min(ids.size(), order - 1);
  std::array<int, kMaxContext + kMaxOrder> joined{};
  std::copy(context.begin(), context.end(), joined.begin());
  std::copy_n(ids.begin(), count, joined.begin() + static_cast<std::ptrdiff_t>(context.size()));
  float score = 0.0F;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t end = context.size() + i + 1;
    const std::size_t length = std::min(end, order);
    score += compute_ngram_score(std::span<const int>(joined).subspan(end - length, length));
  }
  return score;
}

float LangModel::compute_ngram_score(std::span<const int> ids) const {
  float probability = 0.0F;
  float back_off = 0.0F;
  std::size_t matched = ids.size();
  while (matched > 0 && !find_ngram_score(ids.last(matched), probability, back_off)) {
    --matched;
  }
  if (matched == 0) {
    return LM_UNK_PROB;
  }
  float score = probability;
  const std::span<const int> context = ids.first(ids.size() - 1);
  for (std::size_t k = matched; k <= context.size(); ++k) {
    if (find_ngram_score(context.last(k), probability, back_off)) {
      score += back_off;
    }
  }
  return score;
}

void LangModel::add_to_cache(const std::set<int>& /*words*/) {}

}  // namespace koralite::decoder
