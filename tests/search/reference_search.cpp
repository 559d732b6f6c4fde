#include "search/reference_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>

namespace kora_test {

namespace {

using Hypotheses = std::vector<ReferenceSearch::hypothesis_t>;

void sift_up(Hypotheses& heap, std::size_t at) {
  while (at > 0 && heap[(at - 1) / 2]->total > heap[at]->total) {
    std::swap(heap[(at - 1) / 2], heap[at]);
    at = (at - 1) / 2;
  }
}

void sift_down(Hypotheses& heap, std::size_t at, std::size_t count) {
  while (2 * at + 1 < count) {
    std::size_t child = 2 * at + 1;
    if (child + 1 < count && heap[child + 1]->total < heap[child]->total) {
      ++child;
    }
    if (!(heap[child]->total < heap[at]->total)) {
      return;
    }
    std::swap(heap[child], heap[at]);
    at = child;
  }
}

}  // namespace

ReferenceSearch::ReferenceSearch(decoder::SharedMember& shared,
                                 const decoder::Constraint* constraint)
    : shared_(shared),
      parameter_(*shared.parameter),
      lang_model_(*shared.lang_model),
      constraint_(constraint),
      trans_model_(shared.trans_model_path) {}

std::vector<ReferenceSearch::hypothesis_t> ReferenceSearch::run(std::span<const int> ids) {
  size_ = static_cast<int>(ids.size());
  collect(ids);
  estimate();
  stacks_.assign(ids.size() + 1, {});
  int bos = 0;
  int eos = 0;
  shared_.target_vocab->find("<s>", bos);
  shared_.target_vocab->find("</s>", eos);
  auto empty = std::make_shared<ReferenceHypothesis>();
  empty->context = {bos};
  empty->future = empty->total = future(0, size_ - 1);
  offer(stacks_[0], empty);
  for (std::size_t s = 0; s < ids.size(); ++s) {
    for (std::size_t k = 0; k < stacks_[s].heap.size(); ++k) {
      expand(stacks_[s].heap[k], s);
    }
  }
  Hypotheses& last = stacks_.back().heap;
  for (const auto& h : last) {
    const float suffix =
        lang_model_.compute_joint_score(h->context, std::vector<int>{eos}) * parameter_.lang_weight;
    h->score += suffix;
    h->total += suffix;
  }
  for (std::size_t at = last.size() / 2; at-- > 0;) {
    sift_down(last, at, last.size());
  }
  for (std::size_t end = last.size(); end-- > 1;) {
    std::swap(last[0], last[end]);
    sift_down(last, 0, end);
  }
  return last;
}

void ReferenceSearch::collect(std::span<const int> ids) {
  const auto& p = parameter_;
  const auto size = ids.size();
  cells_.assign(size, std::vector<std::vector<ReferenceOption>>(size));
  decoder::TransModel::target_table_t blocks;
  trans_model_.search_sentence(ids, blocks);
  std::set<int> cached;
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = i; j < std::min(size, i + 8); ++j) {
      auto& block = blocks[i][j - i];
      block.begin();
      ReferenceOption option;
      std::vector<float> scores;
      for (int read = 0;
           read < p.translation_limit && block.next(shared_.compressor.get(), option.words, scores);
           ++read) {
        option.start = static_cast<int>(i);
        option.end = static_cast<int>(j);
        if (!align(ids, option)) {
          continue;
        }
        cached.insert(option.words.begin(), option.words.end());
        std::copy(scores.end() - 6, scores.end(), option.reorder.begin());
        option.score = scores.size() == 9 ? scores[1] : std::nanf("");  // language model's, for now
        option.future = scores[0];
        if (scores.size() == 9) {
          const float t = scores[2] * p.translation_weight;
          const float n = static_cast<float>(option.words.size()) * p.word_weight;
          option.score = t + n + p.phrase_weight + scores[1] * p.lang_weight;
          option.future = t + n + p.phrase_weight + scores[0] * p.lang_weight;
        }
        cells_[i][j].push_back(option);
      }
    }
  }
  shared_.lang_model->add_to_cache(cached);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = i; j < std::min(size, i + 8); ++j) {
      auto& cell = cells_[i][j];
      if (p.prune) {
        for (auto& option : cell) {
          float c = 0;
          float f = 0;
          lang_model_.compute_phrase_score(option.words, f, c);
          const float t = option.future * p.translation_weight;
          const float n = static_cast<float>(option.words.size()) * p.word_weight;
          option.score = t + n + p.phrase_weight + f * p.lang_weight;
          option.future = t + n + p.phrase_weight + c * p.lang_weight;
        }
      }
      const auto nan = [](const auto& o) { return std::isnan(o.score) || std::isnan(o.future); };
      std::erase_if(cell, nan);
      if (i == j && cell.empty()) {
        ReferenceOption unknown;
        unknown.start = unknown.end = static_cast<int>(i);
        int word = 0;
        if (ids[i] >= 256 ||
            !shared_.target_vocab->find(shared_.source_vocab->decode(ids[i]), word)) {
          word = shared_.target_vocab->unknown_id();
        }
        unknown.words = {word};
        float complete = 0;
        float total = 0;
        lang_model_.compute_phrase_score(unknown.words, complete, total);
        unknown.score = p.word_weight - p.unknown_weight + complete * p.lang_weight;
        unknown.future = p.word_weight - p.unknown_weight + total * p.lang_weight;
        if (!nan(unknown)) {
          cell.push_back(unknown);
        }
      }
      std::stable_sort(cell.begin(), cell.end(),
                       [](const auto& a, const auto& b) { return a.future > b.future; });
    }
  }
}

// Checks the target words and points tag words at their source words.
bool ReferenceSearch::align(std::span<const int> ids, ReferenceOption& option) const {
  if (option.words.size() > 8) {
    return false;
  }
  option.alignment = 0;
  for (std::size_t k = 0; k < option.words.size(); ++k) {
    int& id = option.words[k];
    if (!shared_.target_vocab->has_id(id)) {
      return false;
    }
    if (id >= 256) {
      continue;
    }
    int wanted = id % 8;
    id -= wanted;
    const std::string tag = shared_.target_vocab->decode(id);
    int p = option.start;
    for (; p <= option.end; ++p) {
      if (shared_.source_vocab->decode(ids[static_cast<std::size_t>(p)]) == tag && wanted-- == 0) {
        break;
      }
    }
    if (p > option.end) {
      return false;
    }
    option.alignment |= static_cast<unsigned>(p - option.start) << (4 * k);
  }
  return true;
}

void ReferenceSearch::estimate() {
  const auto n = static_cast<std::size_t>(size_);
  matrix_.assign(n, std::vector<float>(n, std::numeric_limits<float>::lowest()));
  for (std::size_t length = 1; length <= n; ++length) {
    for (std::size_t i = 0; i + length <= n; ++i) {
      const std::size_t j = i + length - 1;
      if (!cells_[i][j].empty()) {
        matrix_[i][j] = cells_[i][j][0].future;
      }
      for (std::size_t k = i; k < j; ++k) {
        matrix_[i][j] = std::max(matrix_[i][j], matrix_[i][k] + matrix_[k + 1][j]);
      }
    }
  }
}

void ReferenceSearch::expand(const hypothesis_t& from, std::size_t stack) {
  const int limit = parameter_.distortion_limit;
  int first = 0;
  while (covered(from->coverage, first)) {
    ++first;
  }
  const int reach = limit > 0 && limit < size_ ? first + limit : size_ - 1;
  for (int p = first; p < size_; ++p) {
    if (covered(from->coverage, p) || p > reach || (limit == 0 && p > first)) {
      continue;
    }
    for (int e = p; e < std::min(size_, p + 8); ++e) {
      if (covered(from->coverage, e) || e > reach) {
        break;
      }
      if (constraint_ != nullptr && !constraint_->check(from->coverage, {p, e})) {
        continue;
      }
      stack_t& target = stacks_[stack + static_cast<std::size_t>(e - p + 1)];
      for (const ReferenceOption& option : cell(p, e)) {
        const bool full = target.heap.size() == static_cast<std::size_t>(parameter_.stack_limit);
        if (full && from->score + option.score < target.heap[0]->total) {
          continue;
        }
        offer(target, extend(from, option));
      }
    }
  }
}

ReferenceSearch::hypothesis_t ReferenceSearch::extend(const hypothesis_t& from,
                                                      const ReferenceOption& option) const {
  auto made = std::make_shared<ReferenceHypothesis>();
  made->coverage = from->coverage;
  for (int p = option.start; p <= option.end; ++p) {
    made->coverage |= std::uint64_t{1} << p;
  }
  made->previous = from;
  made->option = &option;
  made->last_end = option.end + 1;
  made->context = from->context;
  made->context.insert(made->context.end(), option.words.begin(), option.words.end());
  const auto keep = static_cast<std::size_t>(std::min(7, lang_model_.order() - 1));
  if (made->context.size() > keep) {
    made->context.erase(made->context.begin(), made->context.end() - static_cast<int>(keep));
  }

  float reorder = 0;
  if (const ReferenceOption* q = from->option; q == nullptr) {
    reorder = option.start == 0 ? option.reorder[0] : option.reorder[2];
  } else if (option.start == q->end + 1) {
    reorder = option.reorder[0] + q->reorder[3];
  } else if (q->start == option.end + 1) {
    reorder = option.reorder[1] + q->reorder[4];
  } else {
    reorder = option.reorder[2] + q->reorder[5];
  }
  const auto distortion = static_cast<float>(-std::abs(from->last_end - option.start));
  const float joint = lang_model_.compute_joint_score(from->context, option.words);
  made->score = from->score + distortion * parameter_.distortion_weight +
                reorder * parameter_.reordering_weight + option.score +
                joint * parameter_.lang_weight;

  int l = option.start;
  while (l > 0 && !covered(from->coverage, l - 1)) {
    --l;
  }
  int r = option.end;
  while (r + 1 < size_ && !covered(from->coverage, r + 1)) {
    ++r;
  }
  made->future = from->future - future(l, r);
  if (l < option.start) {
    made->future += future(l, option.start - 1);
  }
  if (r > option.end) {
    made->future += future(option.end + 1, r);
  }
  made->total = made->score + made->future;
  return made;
}

void ReferenceSearch::offer(stack_t& stack, hypothesis_t made) const {
  Hypotheses& heap = stack.heap;
  const bool full = heap.size() == static_cast<std::size_t>(parameter_.stack_limit);
  if (std::isnan(made->total)) {
    return;
  }
  if (made->total + parameter_.beam_threshold < stack.best) {
    return;
  }
  if (full && made->total < heap[0]->total) {
    return;
  }
  stack.best = std::max(stack.best, made->total);
  for (std::size_t k = 0; parameter_.combine && k < heap.size(); ++k) {
    ReferenceHypothesis& old = *heap[k];
    if (old.coverage != made->coverage || old.last_end != made->last_end ||
        old.context != made->context) {
      continue;
    }
    if (old.total >= made->total) {
      return;
    }
    old = *made;
    sift_down(heap, k, heap.size());
    return;
  }
  if (full) {
    heap[0] = heap.back();
    heap.pop_back();
    if (!heap.empty()) {
      sift_down(heap, 0, heap.size());
    }
  }
  heap.push_back(std::move(made));
  sift_up(heap, heap.size() - 1);
}

}  // namespace kora_test
