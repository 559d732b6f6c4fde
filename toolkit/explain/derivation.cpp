#include "toolkit/explain/derivation.h"

#include <cstdio>
#include <stdexcept>

#include "toolkit/explain/derivation_words.h"
#include "translator/text_translation.h"

namespace koralite::toolkit {

namespace {

using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

derivation_word_t copy(const common::word_node_t& node) {
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
std::vector<derivation_step_t> run_word_chain(textProcess::AbstractPreprocessor& preprocessor,
                                              const ProcessStr& str) {
  std::vector<derivation_step_t> changes;
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

void weigh(const derivation_weights_t& weights, derivation_part_t& part) {
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

sentence_derivation_t explain_sentence(translator::TransImpl& handle,
                                       const derivation_weights_t& weights,
                                       const std::string& sentence, unsigned derivations) {
  sentence_derivation_t derivation;
  derivation.source = sentence;
  ProcessStr shown(false, sentence);
  derivation.steps = run_chain(handle.preprocessor().string_chain(), shown);
  derivation.word_steps = run_word_chain(handle.preprocessor(), shown);

  ProcessStr str(false, sentence);
  ProcessWordSeq words(false);
  handle.DoPreprocess(str, words);
  ProcessWordSeq removed(false);
  handle.TruncatePunct(words, removed);
  for (const common::word_node_t& node : removed.words()) {
    derivation.marks.push_back(copy(node));
  }
  const decoder::Decoder::words_t all = words.words();
  for (std::size_t begin = 0; begin < all.size(); begin += decoder::Decoder::kMaxWords) {
    const auto span = decoder::Decoder::chunk(all, begin);
    derivation_part_t& part = derivation.parts.emplace_back();
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
  handle.translator().Translate(fresh, derivation.decoded, log);
  ProcessStr result(false, derivation.decoded);
  derivation.post_steps = run_chain(handle.postprocessor().string_chain(), result);
  derivation.output = result.text();
  return derivation;
}

}  // namespace

std::string score_text(float value) {
  char text[48];
  std::snprintf(text, sizeof(text), "%.3f", static_cast<double>(value));
  return text;
}

std::string word_text(const derivation_word_t& word) {
  std::string text = word.word;
  if (!word.translation.empty()) {
    text += "=>" + word.translation;
  }
  if (!word.tag.empty()) {
    text += "/" + word.tag;
  }
  return text;
}

std::string words_between(const derivation_part_t& part, int start, int end) {
  std::string text;
  for (int i = start; i <= end; ++i) {
    if (!text.empty()) {
      text += ' ';
    }
    text += part.words[static_cast<std::size_t>(i)].word;
  }
  return text;
}

std::vector<derivation_step_t> run_chain(textProcess::AbstractStringProcessor* last,
                                         ProcessStr& str) {
  std::vector<derivation_step_t> changes;
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

std::vector<sentence_derivation_t> explain_line(translator::TransImpl& handle,
                                                const derivation_weights_t& weights,
                                                const std::string& line, unsigned derivations) {
  std::vector<sentence_derivation_t> sentences;
  for (const std::string& sentence : translator::split_sentences(line, handle.source_type())) {
    sentences.push_back(explain_sentence(handle, weights, sentence, derivations));
  }
  return sentences;
}

}  // namespace koralite::toolkit
