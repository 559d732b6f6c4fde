#include "toolkit/explain/road.h"

#include <cstdio>
#include <stdexcept>

#include "toolkit/explain/road_words.h"
#include "translator/text_translation.h"

namespace koralite::toolkit {

namespace {

using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

constexpr std::size_t kPart = 32;  // words that are searched together

road_word_t copy(const common::word_node_t& node) {
  return {node.word, node.translation != nullptr ? node.translation : "",
          node.tag != nullptr ? node.tag : ""};
}

std::string text_of(const ProcessWordSeq& words) {
  std::string text;
  for (const common::word_node_t& node : words.words()) {
    if (!text.empty()) {
      text += ' ';
    }
    text += word_text(copy(node));
  }
  return text;
}

// Cuts the prepared text into words and runs the word chain over them; gives what changed them.
std::vector<road_step_t> run_word_chain(textProcess::AbstractPreprocessor& preprocessor,
                                        const ProcessStr& str) {
  std::vector<road_step_t> changes;
  ProcessWordSeq words(false);
  std::string before = str.text();
  const auto run = [&](const std::string& name, int code) {
    if (code == 0) {
      throw std::runtime_error("the word step '" + name + "' failed on: " + before);
    }
    std::string after = text_of(words);
    if (after != before) {
      changes.push_back({name, before, after});
    }
    before = std::move(after);
  };
  run("rules and names", preprocessor.str2word().DoProcess(str, words));
  for (auto* step : chain_steps(preprocessor.word_chain())) {
    run(step->name(), step->OnProcess(words));
  }
  return changes;
}

void weigh(const road_weights_t& weights, road_part_t& part) {
  part.weights = weights;
  if (part.search.derivations.empty()) {
    return;
  }
  const decoder::derivation_t& best = part.search.derivations.front();
  for (const decoder::explained_step_t& step : best.steps) {
    part.scores.push_back({part.search.options[step.option].score, step.joint * weights.language,
                           step.reordering * weights.reordering,
                           step.distortion * weights.distortion, step.score});
  }
  if (!part.scores.empty()) {
    part.scores.back().running -= best.end_score;  // the last one has it
  }
}

road_t explain_sentence(translator::TransImpl& handle, const road_weights_t& weights,
                        const std::string& sentence, unsigned derivations) {
  road_t road;
  road.source = sentence;
  ProcessStr shown(false, sentence);
  road.steps = run_chain(handle.preprocessor().string_chain(), shown);
  road.word_steps = run_word_chain(handle.preprocessor(), shown);

  ProcessStr str(false, sentence);
  ProcessWordSeq words(false);
  handle.DoPreprocess(str, words);
  ProcessWordSeq removed(false);
  handle.TruncatePunct(words, removed);
  for (const common::word_node_t& node : removed.words()) {
    road.marks.push_back(copy(node));
  }
  const decoder::Decoder::words_t all = words.words();
  for (std::size_t begin = 0; begin < all.size(); begin += kPart) {
    const auto span = all.subspan(begin, std::min(kPart, all.size() - begin));
    road_part_t& part = road.parts.emplace_back();
    for (const common::word_node_t& node : span) {
      part.words.push_back(copy(node));
    }
    handle.translator().search().explain(derivations, span, part.search);
    weigh(weights, part);
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

std::string score_text(float value) {
  char text[48];
  std::snprintf(text, sizeof(text), "%.3f", static_cast<double>(value));
  return text;
}

std::string word_text(const road_word_t& word) {
  std::string text = word.word;
  if (!word.translation.empty()) {
    text += "=>" + word.translation;
  }
  if (!word.tag.empty()) {
    text += "/" + word.tag;
  }
  return text;
}

std::string words_between(const road_part_t& part, int start, int end) {
  std::string text;
  for (int i = start; i <= end; ++i) {
    if (!text.empty()) {
      text += ' ';
    }
    text += part.words[static_cast<std::size_t>(i)].word;
  }
  return text;
}

std::vector<road_step_t> run_chain(textProcess::AbstractStringProcessor* last, ProcessStr& str) {
  std::vector<road_step_t> changes;
  for (textProcess::AbstractStringProcessor* step : chain_steps(last)) {
    const std::string before = str.text();
    if (!str.consistent() || step->OnProcess(str) == 0) {
      throw std::runtime_error("the text step '" + step->name() + "' failed on: " + before);
    }
    if (str.text() != before) {
      changes.push_back({step->name(), before, str.text()});
    }
  }
  return changes;
}

std::vector<road_t> explain_line(translator::TransImpl& handle, const road_weights_t& weights,
                                 const std::string& line, unsigned derivations) {
  std::vector<road_t> roads;
  for (const std::string& sentence : translator::split_sentences(line, handle.source_type())) {
    roads.push_back(explain_sentence(handle, weights, sentence, derivations));
  }
  return roads;
}

}  // namespace koralite::toolkit
