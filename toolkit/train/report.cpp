#include "toolkit/train/report.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "report_page.h"
#include "toolkit/io/text_form.h"
#include "toolkit/tune/engine_tuner.h"

namespace koralite::toolkit {

namespace {

using row_t = std::vector<std::string>;

std::string percent(std::uint64_t part, std::uint64_t whole) {
  return whole == 0
             ? "–"
             : fixed(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %";
}

std::string megabytes(std::uint64_t bytes) {
  return fixed(static_cast<double>(bytes) / 1e6, 2) + " MB";
}

// A table; the first row is its head. Columns after the first are figures unless told otherwise.
std::string table(const std::vector<row_t>& rows, bool figures = true) {
  std::string text = "<table>\n";
  for (std::size_t r = 0; r < rows.size(); ++r) {
    text += "<tr>";
    const std::string cell = r == 0 ? "th" : "td";
    for (std::size_t c = 0; c < rows[r].size(); ++c) {
      text += '<' + cell + (figures && c > 0 ? " class=\"n\"" : "") + '>' +
              escape_html(rows[r][c]) + "</" + cell + '>';
    }
    text += "</tr>\n";
  }
  return text + "</table>\n";
}

// BLEU on the tuning set by round, as a line.
std::string plot(const std::vector<TuneRound>& rounds) {
  constexpr double kWidth = 560;
  constexpr double kHeight = 200;
  constexpr double kLeft = 50;
  constexpr double kBottom = 30;
  double low = rounds.front().bleu.score;
  double high = low;
  for (const TuneRound& round : rounds) {
    low = std::min(low, round.bleu.score);
    high = std::max(high, round.bleu.score);
  }
  const double span = std::max(high - low, 0.1);
  const auto x = [&](std::size_t i) {
    const double steps = std::max<double>(1, static_cast<double>(rounds.size() - 1));
    return kLeft + (kWidth - kLeft - 20) * static_cast<double>(i) / steps;
  };
  const auto y = [&](double score) {
    return 20 + (kHeight - kBottom - 20) * (1 - (score - low) / span);
  };
  std::string svg = "<svg width=\"" + fixed(kWidth, 0) + "\" height=\"" + fixed(kHeight, 0) +
                    "\" role=\"img\" aria-label=\"BLEU by round\">\n<polyline fill=\"none\" "
                    "stroke=\"#1f6feb\" stroke-width=\"2\" points=\"";
  for (std::size_t i = 0; i < rounds.size(); ++i) {
    svg += fixed(x(i), 1) + ',' + fixed(y(rounds[i].bleu.score), 1) + ' ';
  }
  svg += "\"/>\n";
  for (std::size_t i = 0; i < rounds.size(); ++i) {
    const std::string at = "x=\"" + fixed(x(i), 1) + "\" ";
    svg += "<circle cx=\"" + fixed(x(i), 1) + "\" cy=\"" + fixed(y(rounds[i].bleu.score), 1) +
           "\" r=\"3\" fill=\"#1f6feb\"/><text " + at + "y=\"" +
           fixed(y(rounds[i].bleu.score) - 8, 1) + "\">" + fixed(rounds[i].bleu.score, 2) +
           "</text><text " + at + "y=\"" + fixed(kHeight - 8, 0) + "\">" + std::to_string(i + 1) +
           "</text>\n";
  }
  return svg + "</svg>\n";
}

constexpr std::string_view kBody = "<!-- body -->\n";

}  // namespace

std::string format_report(const train_result_t& result, const manifest_t& manifest) {
  // What stands before and after the body.
  const std::size_t middle = kReportPage.find(kBody);
  std::string page(kReportPage.substr(0, middle));
  page += "<h1>Training report</h1>\n<h2>Made from</h2>\n";
  std::vector<row_t> rows = {{"what", "value"}};
  for (const auto& [name, value] : manifest.built_from) {
    rows.push_back({name, value});
  }
  page += table(rows, false);

  const preparation_report_t& p = result.preparation;
  page +=
      "<h2>Sentence pairs</h2>\n" +
      table({{"pairs", "number", "share"},
             {"given", std::to_string(p.pairs), ""},
             {"kept", std::to_string(p.kept), percent(p.kept, p.pairs)},
             {"a side without words", std::to_string(p.empty), percent(p.empty, p.pairs)},
             {"both sides the same", std::to_string(p.identical), percent(p.identical, p.pairs)},
             {"too long", std::to_string(p.too_long), percent(p.too_long, p.pairs)},
             {"not UTF-8", std::to_string(p.ill_formed), percent(p.ill_formed, p.pairs)},
             {"repeated more than ten times", std::to_string(p.repeated),
              percent(p.repeated, p.pairs)}});
  if (!p.tags.empty()) {
    rows = {{"spans translated by rule or dictionary", "number", "with that translation"}};
    for (const auto& [tag, count] : p.tags) {
      rows.push_back({tag, std::to_string(count.found), percent(count.matched, count.found)});
    }
    page += table(rows);
  }

  if (!result.rounds.empty()) {
    page += "<h2>Tuning</h2>\n<p>BLEU on the tuning set by round.</p>\n" + plot(result.rounds);
  }
  rows = {{"weight", "value"}};
  for (std::size_t i = 0; i < result.weights.size() && i < kFeatureNames.size(); ++i) {
    rows.push_back({std::string(kFeatureNames[i]), fixed(result.weights[i], 4)});
  }
  page += table(rows);

  if (!result.samples.empty()) {
    page += "<h2>Samples from the tuning set</h2>\n<p>" +
            percent(result.unknown_words, result.sample_words) +
            " of its words are not in the vocabulary";
    for (std::size_t i = 0; i < result.unknown.size(); ++i) {
      page += (i == 0 ? ": " : ", ") + escape_html(result.unknown[i]);
    }
    page += ".</p>\n";
    rows = {{"source", "translation", "reference"}};
    for (const train_sample_t& s : result.samples) {
      rows.push_back({s.source, s.output, s.reference});
    }
    page += table(rows, false);
  }

  page += "<h2>Stages</h2>\n";
  rows = {{"stage", "seconds", "memory at most"}};
  for (const stage_time_t& time : result.times) {
    rows.push_back({time.name, time.was_done ? "nothing changed" : fixed(time.seconds, 1),
                    megabytes(time.peak_memory)});
  }
  page += table(rows) + "<h2>Files</h2>\n";
  rows = {{"file", "size"}};
  std::uint64_t total = 0;
  for (const manifest_file_t& file : manifest.files) {
    rows.push_back({file.name, megabytes(file.size)});
    total += file.size;
  }
  rows.push_back({"all", megabytes(total)});
  page += table(rows);
  for (const std::string& warning : result.warnings) {
    page += "<p>Warning: " + escape_html(warning) + "</p>\n";
  }
  return page.append(kReportPage.substr(middle + kBody.size()));
}

}  // namespace koralite::toolkit
