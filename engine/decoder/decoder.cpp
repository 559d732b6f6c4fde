#include "decoder/decoder.h"

#include <algorithm>
#include <stdexcept>

#include "decoder/decoder_impl.h"
#include "decoder/score_text.h"

namespace koralite::decoder {

namespace {

const Vocab& vocab_of(const SharedMember& shared, const std::unique_ptr<Vocab>& vocab) {
  if (!shared.source_vocab || !shared.target_vocab) {
    throw std::runtime_error("empty source vocabulary or target vocabulary");
  }
  return *vocab;
}

std::int32_t boundary_id(const SharedMember& shared, const char* word) {
  int id = 0;
  if (!vocab_of(shared, shared.target_vocab).find(word, id)) {
    throw std::runtime_error("failed to find BOS or EOS in target vocabulary");
  }
  return id;
}

}  // namespace

Decoder::Impl::Impl(SharedMember& shared, Constraint* constraint, const UnkTranslator* unknown)
    : parameter_(*shared.parameter),
      source_vocab_(vocab_of(shared, shared.source_vocab)),
      target_vocab_(vocab_of(shared, shared.target_vocab)),
      constraint_(constraint),
      unknown_(unknown),
      trans_model_(shared.trans_model_path),
      options_(parameter_, trans_model_, *shared.lang_model, source_vocab_, target_vocab_,
               shared.compressor.get()),
      search_(parameter_, *shared.lang_model, boundary_id(shared, "<s>"),
              boundary_id(shared, "</s>")) {
  if (constraint_ != nullptr) {
    constraint_->initialize(source_vocab_);
  }
}

// Surface forms serve the constraint; the phrase table is asked for the search
// form of a word that has one.
void Decoder::Impl::preprocess(words_t words) {
  surface_ids_.clear();
  search_ids_.clear();
  for (const common::word_node_t& word : words) {
    int surface = 0;
    source_vocab_.find(word.word, surface);
    int search = surface;
    if (word.tag != nullptr) {
      source_vocab_.find(word.tag, search);
    }
    surface_ids_.push_back(surface);
    search_ids_.push_back(search);
  }
  if (constraint_ != nullptr) {
    constraint_->build(surface_ids_);
  }
}

void Decoder::Impl::search_chunk(words_t words, std::string* log) {
  preprocess(words);
  options_.create_trans_option(search_ids_);
  search_.compute_future_score(options_);
  if (!parameter_.debug) {
    search_.beam_search(options_, constraint_, [](const Hypothesis&) {});
    return;
  }
  trace_options(log);
  trace_matrix(log);
  search_.beam_search(options_, constraint_, [&](const Hypothesis& hypothesis) {
    write_line(print_hypothesis(hypothesis), log);
  });
  trace_result(log);
}

void Decoder::Impl::translate(words_t words, std::string& output,
                              std::vector<common::align_t>* alignment, std::string* log) {
  output.clear();
  if (alignment != nullptr) {
    alignment->clear();
  }
  for (std::size_t begin = 0; begin < words.size(); begin += kMaxWords) {
    const words_t part = chunk(words, begin);
    search_chunk(part, log);
    if (!output.empty()) {
      output += ' ';
    }
    const HypoStack& complete = search_.final_stack();
    if (complete.size() == 0) {
      continue;
    }
    const std::size_t links = alignment != nullptr ? alignment->size() : 0;
    trace_back(part, complete.at(0), output, alignment);
    if (alignment == nullptr) {
      continue;
    }
    for (std::size_t k = links; k < alignment->size(); ++k) {
      common::align_t& link = (*alignment)[k];
      link.source_first += static_cast<std::int32_t>(begin);
      link.source_last += static_cast<std::int32_t>(begin);
    }
  }
}

void Decoder::Impl::translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                              std::vector<float>& totals, std::string* log) {
  outputs.clear();
  totals.clear();
  for (std::size_t begin = 0; begin < words.size(); begin += kMaxWords) {
    const words_t part = chunk(words, begin);
    search_chunk(part, log);
    const HypoStack& complete = search_.final_stack();
    const std::size_t found = std::min<std::size_t>(n, complete.size());
    if (found == 0) {
      continue;
    }
    // Entry k joins the k-th best of each chunk; the last one stands in for those
    // that a chunk lacks.
    const std::size_t count = std::max(outputs.size(), found);
    outputs.resize(count, outputs.empty() ? std::string() : outputs.back());
    totals.resize(count, totals.empty() ? 0.0F : totals.back());
    for (std::size_t k = 0; k < count; ++k) {
      const Hypothesis& hypothesis = complete.at(std::min(k, found - 1));
      if (!outputs[k].empty()) {
        outputs[k] += ' ';
      }
      trace_back(part, hypothesis, outputs[k], nullptr);
      totals[k] = begin == 0 ? hypothesis.total : totals[k] + hypothesis.total;
    }
  }
}

std::size_t Decoder::Impl::memory() const {
  return options_.memory() + search_.memory() +
         (surface_ids_.capacity() + search_ids_.capacity()) * sizeof(std::int32_t) +
         chain_.capacity() * sizeof(chain_[0]);
}

Decoder::Decoder(SharedMember& shared, Constraint* constraint, const UnkTranslator* unknown)
    : impl_(std::make_unique<Impl>(shared, constraint, unknown)) {}

Decoder::~Decoder() = default;

void Decoder::translate(words_t words, std::string& output, std::string* log) {
  impl_->translate(words, output, nullptr, log);
}

void Decoder::translate(words_t words, std::string& output, std::vector<common::align_t>& alignment,
                        std::string* log) {
  impl_->translate(words, output, &alignment, log);
}

void Decoder::translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                        std::vector<std::string>& scores, std::string* log) {
  std::vector<float> totals;
  impl_->translate(n, words, outputs, totals, log);
  scores.clear();
  for (const float total : totals) {
    scores.push_back(score_text(total));
  }
}

void Decoder::translate(unsigned n, words_t words, std::vector<std::string>& outputs,
                        std::vector<float>& totals, std::string* log) {
  impl_->translate(n, words, outputs, totals, log);
}

void Decoder::explain(unsigned n, words_t words, explanation_t& explanation) {
  impl_->explain(n, words, explanation);
}

const search_counts_t& Decoder::counts() const {
  return impl_->search().counts();
}

std::size_t Decoder::search_memory() const {
  return impl_->memory();
}

}  // namespace koralite::decoder
