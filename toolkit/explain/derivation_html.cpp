#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "derivation_page.h"
#include "toolkit/explain/derivation.h"
#include "toolkit/explain/derivation_words.h"
#include "toolkit/io/text_form.h"

namespace koralite::toolkit {

namespace {

constexpr std::size_t kOptionsShown = 6;  // of each span
constexpr std::string_view kSections = "<!-- sections -->\n";

void put_steps(std::string& out, const char* title, const std::vector<derivation_step_t>& steps) {
  if (steps.empty()) {
    return;
  }
  out += std::string("<h2>") + title + "</h2><table>";
  for (const derivation_step_t& step : steps) {
    out += "<tr><td>" + escape_html(step.name) + "</td><td><code>" + escape_html(step.before) +
           "</code></td><td>→ <code>" + escape_html(step.after) + "</code></td></tr>\n";
  }
  out += "</table>\n";
}

// One part of a derivation. `key` begins the names that link the places of one phrase on the page.
class PartPage {
 public:
  PartPage(std::string& out, const derivation_part_t& part, std::string key)
      : out_(out),
        part_(part),
        best_(part.search.derivations.front()),
        key_(std::move(key)),
        step_of_(part.words.size(), 0) {
    for (std::size_t k = 0; k < best_.steps.size(); ++k) {
      const auto& option = part.search.options[best_.steps[k].option];
      for (int i = option.start; i <= option.end; ++i) {
        step_of_[static_cast<std::size_t>(i)] = k;
      }
      chosen_[best_.steps[k].option] = k;
    }
  }

  void put() {
    put_picture();
    put_scores();
    put_options();
  }

 private:
  const decoder::explained_option_t& option(std::size_t step) const {
    return part_.search.options[best_.steps[step].option];
  }

  // What links and colours the places of a step.
  std::string link(std::size_t step) const {
    return " data-k=\"" + key_ + std::to_string(step) + "\" style=\"background:hsl(" +
           std::to_string(step * 137 % 360) + ",70%,82%)\"";
  }

  std::string hover(std::size_t step) const {
    const derivation_scores_t& scores = part_.scores[step];
    return " title=\"phrase " + score_text(scores.phrase) + "&#10;language model " +
           score_text(scores.language) + "&#10;order " + score_text(scores.reordering) +
           "&#10;distortion " + score_text(scores.distortion) + "&#10;running total " +
           score_text(scores.running) + "\"";
  }

  void put_chip(std::size_t step, const std::string& text) {
    out_ += "<span class=p" + link(step) + hover(step) + ">" + escape_html(text) + "</span>";
  }

  void put_picture() {
    out_ += "<div class=picture><svg></svg><div class=row>";
    for (std::size_t i = 0; i < part_.words.size();) {
      const auto& chosen = option(step_of_[i]);
      put_chip(step_of_[i], words_between(part_, chosen.start, chosen.end));
      i = static_cast<std::size_t>(chosen.end) + 1;
    }
    out_ += "</div><div class=row>";
    for (std::size_t k = 0; k < best_.steps.size(); ++k) {
      put_chip(k, best_.steps[k].text);
    }
    out_ += "</div></div>\n";
  }

  void put_scores() {
    out_ +=
        "<h2>Scores <small>natural logarithms, weighted; the first four add up to the running "
        "total</small></h2><div class=scroll><table><tr><th>source<th>target<th class=n>phrase"
        "<th class=n>language model<th class=n>order<th class=n>distortion<th class=n>running total"
        "<th class=n>still to come</tr>\n";
    for (std::size_t k = 0; k < best_.steps.size(); ++k) {
      const auto& step = best_.steps[k];
      const derivation_scores_t& scores = part_.scores[k];
      out_ += "<tr><td><span class=p" + link(k) + ">" +
              escape_html(words_between(part_, option(k).start, option(k).end)) +
              "</span></td><td>" + escape_html(step.text) + "</td>";
      for (const float value : {scores.phrase, scores.language, scores.reordering,
                                scores.distortion, scores.running, step.future}) {
        out_ += "<td class=n>" + score_text(value) + "</td>";
      }
      out_ += "</tr>\n";
    }
    out_ += "<tr><td>end of sentence</td><td></td><td></td><td class=n>" +
            score_text(best_.end_score) + "</td><td></td><td></td><td class=n>" +
            score_text(best_.total) + "</td><td></td></tr></table></div>\n";
  }

  void put_option(std::size_t index) {
    const auto& option = part_.search.options[index];
    std::string title = " title=\"score " + score_text(option.score) + "&#10;with the future " +
                        score_text(option.future) + "&#10;order before: ";
    for (std::size_t i = 0; i < 6; ++i) {
      if (i == 3) {
        title += "&#10;order after: ";
      }
      title += (i % 3 == 0 ? "" : " ") + score_text(option.reorder[i]);
    }
    title += '"';
    const auto chosen = chosen_.find(index);
    out_ +=
        (chosen == chosen_.end() ? "<span class=o" : "<span class=\"o p\"" + link(chosen->second)) +
        title + ">" + escape_html(option.target) + "</span>";
  }

  // Below the words a box for each span that has options, as wide as the span.
  void put_options() {
    out_ +=
        "<h2>Options of each span <small>best first; the chosen one is coloured</small></h2>"
        "<div class=scroll><div class=grid style=\"grid-template-columns:repeat(" +
        std::to_string(part_.words.size()) + ",minmax(5rem,1fr))\">\n";
    for (const derivation_word_t& word : part_.words) {
      out_ += "<div class=w>" + escape_html(word_text(word)) + "</div>";
    }
    const auto& options = part_.search.options;
    for (std::size_t first = 0; first < options.size();) {
      std::size_t end = first;
      while (end < options.size() && options[end].start == options[first].start &&
             options[end].end == options[first].end) {
        ++end;
      }
      out_ += "\n<div style=\"grid-column:" + std::to_string(options[first].start + 1) + "/" +
              std::to_string(options[first].end + 2) + "\"><b>" +
              escape_html(words_between(part_, options[first].start, options[first].end)) + "</b>";
      for (std::size_t i = first; i < end; ++i) {
        if (i < first + kOptionsShown || chosen_.contains(i)) {
          put_option(i);
        }
      }
      if (end - first > kOptionsShown) {
        out_ += "<small>" + std::to_string(end - first) + " in all</small>";
      }
      out_ += "</div>";
      first = end;
    }
    out_ += "</div></div>\n";
  }

  std::string& out_;
  const derivation_part_t& part_;
  const decoder::derivation_t& best_;
  std::string key_;
  std::vector<std::size_t> step_of_;           // by source word
  std::map<std::size_t, std::size_t> chosen_;  // steps by option
};

}  // namespace

std::string derivations_as_html(const std::vector<sentence_derivation_t>& sentences) {
  // What stands before and after the sections.
  const std::size_t middle = kDerivationPage.find(kSections);
  std::string out(kDerivationPage.substr(0, middle));
  for (std::size_t r = 0; r < sentences.size(); ++r) {
    const sentence_derivation_t& derivation = sentences[r];
    out += "<section><div class=out>" + escape_html(derivation.source) + "</div>\n<div class=out>" +
           escape_html(derivation.output) + "</div>\n";
    put_steps(out, "Text steps that changed something", derivation.steps);
    put_steps(out, "Word steps that changed something", derivation.word_steps);
    out += "<h2>Phrases <small>hover for scores</small></h2>\n";
    for (std::size_t p = 0; p < derivation.parts.size(); ++p) {
      if (derivation.parts[p].search.derivations.empty()) {
        continue;
      }
      PartPage(out, derivation.parts[p], std::to_string(r) + "-" + std::to_string(p) + "-").put();
    }
    if (!derivation.marks.empty()) {
      out += "<h2>Marks kept from the search</h2><code>";
      for (const derivation_word_t& mark : derivation.marks) {
        out += escape_html(mark.word) + " ";
      }
      out.back() = '<';
      out += "/code>\n";
    }
    out += "<h2>Decoded</h2><code>" + escape_html(derivation.decoded) + "</code>\n";
    put_steps(out, "Steps that wrote the result", derivation.post_steps);
    out += "</section>\n";
  }
  return out.append(kDerivationPage.substr(middle + kSections.size()));
}

}  // namespace koralite::toolkit
