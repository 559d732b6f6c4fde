#include "toolkit/model/road.h"

#include <algorithm>
#include <stdexcept>

#include "translator/text_translation.h"

namespace koralite::toolkit {

namespace {

constexpr std::size_t kPart = 32;  // words that are searched together

road_word_t copy(const common::word_node_t& node) {
  return {node.word, node.translation != nullptr ? node.translation : "",
          node.tag != nullptr ? node.tag : ""};
}

road_t explain_sentence(translator::TransImpl& handle, const std::string& sentence,
                        unsigned derivations) {
  using textProcess::ProcessStr;
  using textProcess::ProcessWordSeq;
  road_t road;
  road.source = sentence;
  ProcessStr shown(false, sentence);
  road.steps = run_chain(handle.preprocessor().string_chain(), shown);

  ProcessStr str(false, sentence);
  ProcessWordSeq words(false);
  handle.DoPreprocess(str, words);
  ProcessWordSeq removed(false);
  handle.TruncatePunct(words, removed);
  for (const common::word_node_t& node : removed.words()) road.marks.push_back(copy(node));
  const decoder::Decoder::words_t all = words.words();
  for (std::size_t begin = 0; begin < all.size(); begin += kPart) {
    const auto span = all.subspan(begin, std::min(kPart, all.size() - begin));
    road_part_t& part = road.parts.emplace_back();
    for (const common::word_node_t& node : span) part.words.push_back(copy(node));
    handle.translator().search().explain(derivations, span, part.search);
  }
  // The marks went to another sequence above, so the translation begins anew.
  ProcessStr again(false, sentence);
  ProcessWordSeq fresh(false);
  handle.DoPreprocess(again, fresh);
  std::string log;
  handle.translator().Translate(fresh, road.decoded, log);
  ProcessStr result(false, road.decoded);
  road.post_steps = run_chain(handle.postprocessor().string_chain(), result);
  road.output = result.text();
  return road;
}

}  // namespace

std::vector<textProcess::AbstractStringProcessor*> chain_steps(
    const textProcess::AbstractStringProcessor* last) {
  std::vector<textProcess::AbstractStringProcessor*> steps;
  for (; last != nullptr; last = last->prior()) {
    // The pipeline that owns the steps is not constant; only its view of them is.
    steps.push_back(const_cast<textProcess::AbstractStringProcessor*>(last));
  }
  std::reverse(steps.begin(), steps.end());
  return steps;
}

std::vector<road_step_t> run_chain(const textProcess::AbstractStringProcessor* last,
                                   textProcess::ProcessStr& str) {
  std::vector<road_step_t> changes;
  for (textProcess::AbstractStringProcessor* step : chain_steps(last)) {
    const std::string before = str.text();
    if (!str.consistent() || step->OnProcess(str) == 0) {
      throw std::runtime_error("the text step '" + step->name() + "' failed on: " + before);
    }
    if (str.text() != before) changes.push_back({step->name(), before, str.text()});
  }
  return changes;
}

std::vector<road_t> explain_line(translator::TransImpl& handle, const std::string& line,
                                 unsigned derivations) {
  std::vector<road_t> roads;
  for (const std::string& sentence : translator::split_sentences(line, handle.source_type())) {
    roads.push_back(explain_sentence(handle, sentence, derivations));
  }
  return roads;
}

}  // namespace koralite::toolkit
