#include "textProcess/tokenize_hyphen_ws_processor.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/word_node.h"
#include "textProcess/text_helpers.h"

namespace koralite::textProcess {

int TokenizeHyphenWsProcessor::OnProcess(ProcessWordSeq& words) {
  if (vocab_ == nullptr) {
    return 1;
  }
  if (!words.consistent()) {
    return 0;
  }

  ProcessWordSeq::Words pieces;
  ProcessWordSeq::Positions places;
  pieces.reserve(words.words().size());
  if (words.has_positions()) {
    places.reserve(words.words().size());
  }

  for (std::size_t w = 0; w < words.words().size(); ++w) {
    const common::word_node_t& node = words.words()[w];
    const std::int32_t place = words.has_positions() ? words.positions()[w] : 0;
    int id = 0;
    if (node.tag != nullptr || std::strchr(node.word, '-') == nullptr ||
        vocab_->find(node.word, id)) {
      pieces.push_back(node);
      if (words.has_positions()) {
        places.push_back(place);
      }
      continue;
    }
    const auto add_piece = [&](char* piece) {
      pieces.push_back({.word = piece, .translation = nullptr, .tag = nullptr});
      if (words.has_positions()) {
        places.push_back(place + static_cast<std::int32_t>(piece - node.word));
      }
    };
    char* piece = node.word;
    for (char* p = node.word; *p != '\0'; ++p) {
      if (*p == '-' && p != node.word && text_is_letter(p[-1]) && text_is_letter(p[1])) {
        *p = '\0';
        add_piece(piece);
        piece = p + 1;
      }
    }
    add_piece(piece);
  }
  words.words().swap(pieces);
  if (words.has_positions()) {
    words.positions().swap(places);
  }
  return 1;
}

}  // namespace koralite::textProcess
