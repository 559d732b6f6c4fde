#include "textProcess/convert_ne_tag_ws_processor.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace koralite::textProcess {

ConvertNeTagWsProcessor::ConvertNeTagWsProcessor(unsigned id,
                                                 std::unique_ptr<AbstractWsProcessor> prior,
                                                 common::StringPool& pool)
    : AbstractWsProcessor(id, std::move(prior), "convert_ne_tag"), pool_(&pool) {}

int ConvertNeTagWsProcessor::OnProcess(ProcessWordSeq& words) {
  std::string converted;
  for (common::word_node_t& node : words.words()) {
    if (node.tag == nullptr) {
      continue;
    }
    const std::string_view tag = node.tag;
    if (tag.size() > kLongestTag) {
      throw std::runtime_error("ne type name overflow in CeDecoder::translate()");
    }
    converted.assign(1, '<').append(tag).append(">#0");
    node.tag = pool_->add_string(converted);
  }
  return 1;
}

}  // namespace koralite::textProcess
