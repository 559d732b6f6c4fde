#include <algorithm>
#include <nlohmann/json.hpp>

#include "toolkit/explain/derivation.h"
#include "toolkit/explain/derivation_words.h"

namespace koralite::toolkit {

namespace {

// Columns on a terminal: wide characters of East Asia take two.
std::size_t width(const std::string& text) {
  std::size_t columns = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) {
      columns += byte >= 0xE3 ? 2 : 1;
    }
  }
  return columns;
}

std::string padded(const std::string& text, std::size_t columns) {
  return text + std::string(columns - std::min(columns, width(text)), ' ');
}

std::string padded_left(const std::string& text, std::size_t columns) {
  return std::string(columns - std::min(columns, width(text)), ' ') + text;
}

void put_steps(std::string& out, const char* title, const std::vector<derivation_step_t>& steps) {
  if (steps.empty()) {
    return;
  }
  out += std::string(title) + '\n';
  for (const derivation_step_t& step : steps) {
    out += "  " + padded(step.name, 28) + " [" + step.after + "]\n";
  }
}

// Source words across, target phrases down.
void put_picture(std::string& out, const derivation_part_t& part) {
  if (part.search.derivations.empty()) {
    out += "  (the search found nothing)\n";
    return;
  }
  const decoder::derivation_t& best = part.search.derivations.front();
  std::size_t left = 6;
  for (const auto& step : best.steps) {
    left = std::max(left, width(step.text));
  }
  out += "  " + std::string(left + 2, ' ');
  for (const derivation_word_t& word : part.words) {
    out += word.word + "  ";
  }
  out += "\n";
  for (const auto& step : best.steps) {
    const auto& option = part.search.options[step.option];
    out += "  " + padded(step.text, left) + "  ";
    for (int i = 0; i < static_cast<int>(part.words.size()); ++i) {
      const std::size_t columns = width(part.words[static_cast<std::size_t>(i)].word);
      const bool covers = i >= option.start && i <= option.end;
      for (std::size_t k = 0; k < columns; ++k) {
        out += covers ? "█" : "·";
      }
      out += covers && i < option.end ? "██" : "  ";
    }
    out += "\n";
  }
}

void put_scores(std::string& out, const derivation_part_t& part) {
  if (part.search.derivations.empty()) {
    return;
  }
  const decoder::derivation_t& best = part.search.derivations.front();
  out += "Scores (natural logarithms, weighted: the first four add up to the running total)\n ";
  for (const char* name :
       {"phrase", "language", "order", "distortion", "running", "to come", "estimate"}) {
    out += padded_left(name, 11);
  }
  out += "\n";
  for (std::size_t k = 0; k < best.steps.size(); ++k) {
    const auto& step = best.steps[k];
    const auto& option = part.search.options[step.option];
    const derivation_scores_t& scores = part.scores[k];
    out += " ";
    for (const float value : {scores.phrase, scores.language, scores.reordering, scores.distortion,
                              scores.running, step.future, scores.running + step.future}) {
      out += padded_left(score_text(value), 11);
    }
    out += "  " + words_between(part, option.start, option.end) + " => " + step.text + "\n";
  }
  out += "  end of sentence " + score_text(best.end_score) + ", whole " + score_text(best.total) +
         "\n";
}

void put_options(std::string& out, const derivation_part_t& part) {
  out += "Options\n";
  int start = -1;
  int end = -1;
  std::size_t shown = 0;
  for (const auto& option : part.search.options) {
    if (option.start != start || option.end != end) {
      start = option.start;
      end = option.end;
      shown = 0;
      out += "  " + words_between(part, start, end) + "\n";
    }
    if (++shown <= 5) {
      out += "      " + score_text(option.future) + "  " + option.target + "\n";
    }
  }
}

nlohmann::json steps_json(const std::vector<derivation_step_t>& steps) {
  auto list = nlohmann::json::array();
  for (const derivation_step_t& step : steps) {
    list.push_back({{"name", step.name}, {"before", step.before}, {"after", step.after}});
  }
  return list;
}

nlohmann::json words_json(const std::vector<derivation_word_t>& words) {
  auto list = nlohmann::json::array();
  for (const derivation_word_t& word : words) {
    nlohmann::json item = {{"word", word.word}};
    if (!word.translation.empty()) {
      item["translation"] = word.translation;
    }
    if (!word.tag.empty()) {
      item["tag"] = word.tag;
    }
    list.push_back(std::move(item));
  }
  return list;
}

nlohmann::json part_json(const derivation_part_t& part) {
  auto options = nlohmann::json::array();
  for (const auto& option : part.search.options) {
    options.push_back({{"start", option.start},
                       {"end", option.end},
                       {"target", option.target},
                       {"score", option.score},
                       {"future", option.future},
                       {"reordering", option.reorder}});
  }
  auto derivations = nlohmann::json::array();
  for (const auto& derivation : part.search.derivations) {
    auto steps = nlohmann::json::array();
    for (const auto& step : derivation.steps) {
      steps.push_back({{"option", step.option},
                       {"text", step.text},
                       {"distortion", step.distortion},
                       {"reordering", step.reordering},
                       {"joint", step.joint},
                       {"score", step.score},
                       {"future", step.future},
                       {"total", step.total}});
    }
    derivations.push_back({{"text", derivation.text},
                           {"steps", std::move(steps)},
                           {"end_score", derivation.end_score},
                           {"score", derivation.score},
                           {"total", derivation.total}});
  }
  return {{"words", words_json(part.words)},
          {"options", std::move(options)},
          {"weights",
           {{"distortion", part.weights.distortion},
            {"reordering", part.weights.reordering},
            {"language", part.weights.language}}},
          {"derivations", std::move(derivations)}};
}

}  // namespace

std::string derivations_as_text(const std::vector<sentence_derivation_t>& sentences) {
  std::string out;
  for (const sentence_derivation_t& derivation : sentences) {
    out += "Source\n  " + derivation.source + "\n";
    put_steps(out, "Text steps that changed something", derivation.steps);
    put_steps(out, "Word steps that changed something", derivation.word_steps);
    for (const derivation_part_t& part : derivation.parts) {
      out += "Words\n ";
      for (const derivation_word_t& word : part.words) {
        out += " " + word_text(word);
      }
      out += "\n";
      put_options(out, part);
      out += "Derivation\n";
      put_picture(out, part);
      put_scores(out, part);
    }
    if (!derivation.marks.empty()) {
      out += "Marks kept from the search\n ";
      for (const derivation_word_t& mark : derivation.marks) {
        out += " " + mark.word;
      }
      out += "\n";
    }
    out += "Decoded\n  " + derivation.decoded + "\n";
    put_steps(out, "Steps that wrote the result", derivation.post_steps);
    out += "Result\n  " + derivation.output + "\n\n";
  }
  return out;
}

std::string derivations_as_json(const std::vector<sentence_derivation_t>& sentences) {
  auto list = nlohmann::json::array();
  for (const sentence_derivation_t& derivation : sentences) {
    auto parts = nlohmann::json::array();
    for (const derivation_part_t& part : derivation.parts) {
      parts.push_back(part_json(part));
    }
    list.push_back({{"source", derivation.source},
                    {"steps", steps_json(derivation.steps)},
                    {"word_steps", steps_json(derivation.word_steps)},
                    {"parts", std::move(parts)},
                    {"marks", words_json(derivation.marks)},
                    {"decoded", derivation.decoded},
                    {"post_steps", steps_json(derivation.post_steps)},
                    {"output", derivation.output}});
  }
  // Text of any bytes is survived: what is no UTF-8 becomes U+FFFD.
  return list.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace koralite::toolkit
