#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "toolkit/model/road.h"

namespace koralite::toolkit {

namespace {

std::string number(float value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.3f", static_cast<double>(value));
  return text;
}

std::string words_between(const road_part_t& part, int start, int end) {
  std::string text;
  for (int i = start; i <= end; ++i) {
    if (!text.empty()) text += ' ';
    text += part.words[static_cast<std::size_t>(i)].word;
  }
  return text;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '"') {
      result += "&quot;";
    } else {
      result += c;
    }
  }
  return result;
}

// Columns on a terminal: wide characters of East Asia take two.
std::size_t width(const std::string& text) {
  std::size_t columns = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) columns += byte >= 0xE3 ? 2 : 1;
  }
  return columns;
}

std::string padded(const std::string& text, std::size_t columns) {
  return text + std::string(columns - std::min(columns, width(text)), ' ');
}

void put_steps(std::string& out, const char* title, const std::vector<road_step_t>& steps) {
  if (steps.empty()) return;
  out += std::string(title) + '\n';
  for (const road_step_t& step : steps) {
    out += "  " + padded(step.name, 28) + " [" + step.after + "]\n";
  }
}

// Source words across, target phrases down.
void put_picture(std::string& out, const road_part_t& part) {
  if (part.search.derivations.empty()) {
    out += "  (the search found nothing)\n";
    return;
  }
  const decoder::derivation_t& best = part.search.derivations.front();
  std::size_t left = 6;
  for (const auto& step : best.steps) left = std::max(left, width(step.text));
  out += "  " + std::string(left + 2, ' ');
  for (const road_word_t& word : part.words) out += word.word + "  ";
  out += "\n";
  for (const auto& step : best.steps) {
    const auto& option = part.search.options[step.option];
    out += "  " + padded(step.text, left) + "  ";
    for (int i = 0; i < static_cast<int>(part.words.size()); ++i) {
      const std::size_t columns = width(part.words[static_cast<std::size_t>(i)].word);
      const bool covers = i >= option.start && i <= option.end;
      for (std::size_t k = 0; k < columns; ++k) out += covers ? "█" : "·";
      out += covers && i < option.end ? "██" : "  ";
    }
    out += "\n";
  }
}

void put_scores(std::string& out, const road_part_t& part) {
  if (part.search.derivations.empty()) return;
  const decoder::derivation_t& best = part.search.derivations.front();
  out += "Scores (natural logarithms, best derivation)\n";
  out += "  words  phrase  language  order  distortion  running  left  total\n";
  for (const auto& step : best.steps) {
    const auto& option = part.search.options[step.option];
    out += "  " + std::to_string(option.start) + "-" + std::to_string(option.end) + "  " +
           number(option.score) + "  " + number(step.joint) + "  " + number(step.reordering) +
           "  " + number(step.distortion) + "  " + number(step.score) + "  " + number(step.future) +
           "  " + number(step.total) + "  " + words_between(part, option.start, option.end) +
           " => " + step.text + "\n";
  }
  out += "  end of sentence " + number(best.end_score) + ", whole " + number(best.total) + "\n";
}

void put_options(std::string& out, const road_part_t& part) {
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
    if (++shown <= 5) out += "      " + number(option.future) + "  " + option.target + "\n";
  }
}

nlohmann::json steps_json(const std::vector<road_step_t>& steps) {
  auto list = nlohmann::json::array();
  for (const road_step_t& step : steps) {
    list.push_back({{"name", step.name}, {"before", step.before}, {"after", step.after}});
  }
  return list;
}

nlohmann::json words_json(const std::vector<road_word_t>& words) {
  auto list = nlohmann::json::array();
  for (const road_word_t& word : words) {
    nlohmann::json item = {{"word", word.word}};
    if (!word.translation.empty()) item["translation"] = word.translation;
    if (!word.tag.empty()) item["tag"] = word.tag;
    list.push_back(std::move(item));
  }
  return list;
}

nlohmann::json part_json(const road_part_t& part) {
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
          {"derivations", std::move(derivations)}};
}

constexpr const char* page_head = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>The road of a sentence</title><style>
body{font:16px/1.5 system-ui,sans-serif;max-width:60rem;margin:2rem auto;padding:0 1rem;color:#223;
background:#fafaf7}h1{font-size:1.3rem}h2{font-size:1rem;margin:1.5rem 0 .3rem;color:#667}
section{background:#fff;border:1px solid #e2e2da;border-radius:10px;padding:1rem 1.4rem;margin:1rem 0}
.row{font-size:1.25rem;margin:.4rem 0}.p{display:inline-block;border-radius:6px;padding:.1rem .5rem;
margin:.15rem;cursor:help}.p.on{outline:2px solid #223}table{border-collapse:collapse;font-size:.85rem;
width:100%}td,th{text-align:left;padding:.2rem .6rem;border-bottom:1px solid #eee}
td.n{text-align:right;font-variant-numeric:tabular-nums}code{background:#f1f1ea;border-radius:4px;
padding:0 .3rem}.out{font-size:1.4rem}
</style></head><body><h1>The road of a sentence</h1>
)";

constexpr const char* page_end = R"(<script>
for (const p of document.querySelectorAll('.p')) {
  const same = () => document.querySelectorAll('.p[data-k="' + p.dataset.k + '"]');
  p.onmouseenter = () => same().forEach(e => e.classList.add('on'));
  p.onmouseleave = () => same().forEach(e => e.classList.remove('on'));
}
</script></body></html>
)";

void html_steps(std::string& out, const char* title, const std::vector<road_step_t>& steps) {
  if (steps.empty()) return;
  out += std::string("<h2>") + title + "</h2><table>";
  for (const road_step_t& step : steps) {
    out += "<tr><td>" + escaped(step.name) + "</td><td><code>" + escaped(step.after) +
           "</code></td></tr>\n";
  }
  out += "</table>\n";
}

void html_part(std::string& out, const road_part_t& part, const std::string& key) {
  if (part.search.derivations.empty()) return;
  const decoder::derivation_t& best = part.search.derivations.front();
  std::vector<std::size_t> step_of(part.words.size(), best.steps.size());
  for (std::size_t k = 0; k < best.steps.size(); ++k) {
    const auto& option = part.search.options[best.steps[k].option];
    for (int i = option.start; i <= option.end; ++i) step_of[static_cast<std::size_t>(i)] = k;
  }
  const auto chip = [&](std::size_t k, const std::string& text) {
    const auto& step = best.steps[k];
    const auto& option = part.search.options[step.option];
    out += "<span class=p data-k=\"" + key + std::to_string(k) + "\" style=\"background:hsl(" +
           std::to_string(k * 137 % 360) + ",70%,87%)\" title=\"" +
           escaped("phrase " + number(option.score) + ", language model " + number(step.joint) +
                   ", order " + number(step.reordering) + ", running " + number(step.score)) +
           "\">" + escaped(text) + "</span>";
  };
  out += "<div class=row>";
  for (std::size_t i = 0; i < part.words.size();) {
    const std::size_t k = step_of[i];
    std::size_t end = i;
    while (end + 1 < part.words.size() && step_of[end + 1] == k) ++end;
    const std::string text = words_between(part, static_cast<int>(i), static_cast<int>(end));
    if (k < best.steps.size()) chip(k, text);
    i = end + 1;
  }
  out += "</div><div class=row>";
  for (std::size_t k = 0; k < best.steps.size(); ++k) chip(k, best.steps[k].text);
  out +=
      "</div><h2>Scores</h2><table><tr><th>source<th>target<th>phrase<th>language model<th>order"
      "<th>distortion<th>running<th>still to come</tr>\n";
  for (const auto& step : best.steps) {
    const auto& option = part.search.options[step.option];
    out += "<tr><td>" + escaped(words_between(part, option.start, option.end)) + "</td><td>" +
           escaped(step.text) + "</td>";
    for (const float value :
         {option.score, step.joint, step.reordering, step.distortion, step.score, step.future}) {
      out += "<td class=n>" + number(value) + "</td>";
    }
    out += "</tr>\n";
  }
  out += "</table>\n";
}

}  // namespace

std::string road_as_text(const std::vector<road_t>& roads) {
  std::string out;
  for (const road_t& road : roads) {
    out += "Source\n  " + road.source + "\n";
    put_steps(out, "Text steps that changed something", road.steps);
    for (const road_part_t& part : road.parts) {
      out += "Words\n ";
      for (const road_word_t& word : part.words) {
        out += " " + word.word;
        if (!word.translation.empty()) out += "=>" + word.translation;
        if (!word.tag.empty()) out += "/" + word.tag;
      }
      out += "\n";
      put_options(out, part);
      out += "Derivation\n";
      put_picture(out, part);
      put_scores(out, part);
    }
    if (!road.marks.empty()) {
      out += "Marks kept from the search\n ";
      for (const road_word_t& mark : road.marks) out += " " + mark.word;
      out += "\n";
    }
    out += "Decoded\n  " + road.decoded + "\n";
    put_steps(out, "Steps that wrote the result", road.post_steps);
    out += "Result\n  " + road.output + "\n\n";
  }
  return out;
}

std::string road_as_json(const std::vector<road_t>& roads) {
  auto list = nlohmann::json::array();
  for (const road_t& road : roads) {
    auto parts = nlohmann::json::array();
    for (const road_part_t& part : road.parts) parts.push_back(part_json(part));
    list.push_back({{"source", road.source},
                    {"steps", steps_json(road.steps)},
                    {"parts", std::move(parts)},
                    {"marks", words_json(road.marks)},
                    {"decoded", road.decoded},
                    {"post_steps", steps_json(road.post_steps)},
                    {"output", road.output}});
  }
  // Text of any bytes is survived: what is no UTF-8 becomes U+FFFD.
  return list.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

std::string road_as_html(const std::vector<road_t>& roads) {
  std::string out = page_head;
  for (std::size_t r = 0; r < roads.size(); ++r) {
    const road_t& road = roads[r];
    out += "<section><div class=out>" + escaped(road.source) + "</div>\n<div class=out>" +
           escaped(road.output) + "</div>\n";
    html_steps(out, "Text steps that changed something", road.steps);
    out += "<h2>Phrases</h2>\n";
    for (std::size_t p = 0; p < road.parts.size(); ++p) {
      html_part(out, road.parts[p], std::to_string(r) + "-" + std::to_string(p) + "-");
    }
    html_steps(out, "Steps that wrote the result", road.post_steps);
    out += "</section>\n";
  }
  return out + page_end;
}

}  // namespace koralite::toolkit
