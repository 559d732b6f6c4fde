#include "textProcess/rec_ascii_ws_processor.h"

#include <utility>

namespace koralite::textProcess {
namespace {

bool is_plain_ascii_word(const char* word) {
  bool has_letter_or_digit = false;
  for (; *word != '\0'; ++word) {
    const auto byte = static_cast<unsigned char>(*word);
    if (byte >= 0x80U) {
      return false;
    }
    has_letter_or_digit |= (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                           (byte >= 'A' && byte <= 'Z');
  }
  return has_letter_or_digit;
}

}  // namespace

RecAsciiWsProcessor::RecAsciiWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior)
    : AbstractWsProcessor(id, std::move(prior), "recog_ascii") {}

int RecAsciiWsProcessor::OnProcess(ProcessWordSeq& words) {
  for (common::word_node_t& node : words.words()) {
    if (node.tag != nullptr || !is_plain_ascii_word(node.word)) {
      continue;
    }
    node.tag = "ASC";
    node.translation = node.word;
  }
  return 1;
}

}  // namespace koralite::textProcess
