// From complete hypotheses to text and alignment.

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "common/classic_number.h"
#include "decoder/decoder_impl.h"
#include "decoder/score_text.h"

namespace koralite::decoder {

std::string score_text(float score) {
#if defined(__cpp_lib_to_chars)
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, static_cast<double>(score),
                                 std::chars_format::general, 6);
  return {text, end.ptr};
#else
  return common::classic_text(static_cast<double>(score));
#endif
}

void Decoder::Impl::follow(const Hypothesis& hypothesis) {
  chain_.clear();
  for (const Hypothesis* at = &hypothesis; at->previous != nullptr; at = at->previous) {
    chain_.push_back(&options_.option(at->option));
  }
  std::reverse(chain_.begin(), chain_.end());
}

void Decoder::Impl::trace_back(words_t words, const Hypothesis& hypothesis, std::string& text,
                               std::vector<common::align_t>* alignment) {
  follow(hypothesis);
  const std::size_t chunk_start = text.size();
  for (const Option* option : chain_) {
    const std::size_t before = text.size();
    if (before > chunk_start) {
      text += ' ';
    }
    const std::size_t start = text.size();
    output_option(words, *option, text);
    if (text.size() == start) {
      text.resize(before);
      continue;
    }
    if (alignment == nullptr) {
      continue;
    }
    alignment->push_back({option->start, option->end, static_cast<std::int32_t>(start),
                          static_cast<std::int32_t>(text.size() - 1)});
  }
}

void Decoder::Impl::output_option(words_t words, const Option& option, std::string& text) const {
  if (option.word_count == 1 && option.words[0] == target_vocab_.unknown_id()) {
    const common::word_node_t& source = words[option.start];
    if (source.translation != nullptr) {
      text += source.translation;
    } else if (unknown_ != nullptr) {
      std::string translation;
      unknown_->translate(source.word, translation);
      text += translation;
    } else {
      text += source.word;
    }
    return;
  }
  for (std::size_t k = 0; k < option.word_count; ++k) {
    if (k > 0) {
      text += ' ';
    }
    const std::int32_t id = option.words[k];
    if (id >= Vocab::kFirstWordId) {
      text += target_vocab_.decode(id);
      continue;
    }
    const std::size_t position = option.start + (option.alignment >> (4 * k) & 15U);
    if (position >= words.size() || words[position].translation == nullptr) {
      throw std::runtime_error("unexpected named-entity type caused by illegal option");
    }
    text += words[position].translation;
  }
}

}  // namespace koralite::decoder
