#include "textProcess/rec_name_ws_processor.h"

#include <utility>

namespace koralite::textProcess {

RecNameWsProcessor::RecNameWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior,
                                       const NameConverter* converter, common::StringPool& pool)
    : AbstractWsProcessor(id, std::move(prior), "recog_name"),
      converter_(converter),
      pool_(&pool) {}

int RecNameWsProcessor::OnProcess(ProcessWordSeq& words) {
  return names_ == nullptr ? 0 : OnProcessWithNameSet(words);
}

int RecNameWsProcessor::OnProcessWithNameSet(ProcessWordSeq& words) const {
  if (converter_ == nullptr || names_->empty()) {
    return 1;
  }
  std::string pinyin;
  for (common::word_node_t& node : words.words()) {
    if (node.tag != nullptr) {
      continue;
    }
    const auto name = names_->find(node.word);
    if (name == names_->end() || !converter_->convert(*name, pinyin)) {
      continue;
    }
    node.translation = pool_->add_string(pinyin);
    node.tag = "PE";
  }
  return 1;
}

}  // namespace koralite::textProcess
