#include "textProcess/str2word.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include "common/text_io.h"

namespace koralite::textProcess {

int Str2Word::DoProcess(const ProcessStr& str, ProcessWordSeq& words) {
  pool_->clear();
  if (dictionary_ != nullptr) {
    dictionary_->clear_found();
  }
  words.clear();
  const bool keep_positions = words.has_positions();
  if (!str.consistent() || (keep_positions && !str.has_positions())) {
    return 0;
  }

  // The words lie in one copy of the text, each ended in place by a zero byte.
  char* const copy = words.store(str.text());
  std::vector<char*> tokens;
  common::split_string(copy, tokens, ' ');

  for (std::size_t i = 0; i < tokens.size();) {
    common::word_node_t node;
    std::size_t taken = find_span(tokens, i, words, node);
    if (taken == 0) {
      node.word = tokens[i];
      taken = 1;
    }
    words.words().push_back(node);
    if (keep_positions) {
      words.positions().push_back(str.positions()[static_cast<std::size_t>(tokens[i] - copy)]);
    }
    i += taken;
  }
  return 1;
}

std::size_t Str2Word::find_span(const std::vector<char*>& tokens, std::size_t first,
                                ProcessWordSeq& words, common::word_node_t& node) {
  if (dictionary_ == nullptr && (rules_ == nullptr || !rules_->is_acceptable(tokens[first]))) {
    return 0;
  }

  // Every shorter candidate is a prefix of the longest one.
  candidate_.clear();
  std::array<std::size_t, kLongestSpan> ends{};
  const std::size_t longest = std::min(kLongestSpan, tokens.size() - first);
  for (std::size_t n = 0; n < longest; ++n) {
    if (n > 0 && join_ != '\0') {
      candidate_ += join_;
    }
    candidate_ += tokens[first + n];
    ends[n] = candidate_.size();
  }

  for (std::size_t n = longest; n > 0; --n) {
    candidate_.resize(ends[n - 1]);
    if (rules_ != nullptr && translate_by_rule()) {
      node.translation = words.store(target_);
      node.tag = words.store(type_);
    } else if (dictionary_ == nullptr ||
               !dictionary_->find(candidate_.c_str(), node.tag, node.translation)) {
      continue;
    }
    std::string detail = tokens[first];
    for (std::size_t k = 1; k < n; ++k) {
      detail.append(1, '_').append(tokens[first + k]);
    }
    node.word = words.store(detail);
    return n;
  }
  return 0;
}

// A rule whose arithmetic fails is no match: the sentence must not be lost for it.
bool Str2Word::translate_by_rule() {
  target_.clear();
  type_.clear();
  try {
    return rules_->translate(candidate_, target_, type_);
  } catch (const std::runtime_error&) {
    return false;
  }
}

}  // namespace koralite::textProcess
