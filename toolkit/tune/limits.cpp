#include "toolkit/tune/limits.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "translator/text_translation.h"

namespace koralite::toolkit {

namespace {

double thread_seconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

bool same(const decoder::search_limits_t& a, const decoder::search_limits_t& b) {
  return a.stack == b.stack && a.options == b.options && a.distortion == b.distortion &&
         a.beam == b.beam;
}

std::size_t count_words(std::span<const std::string> lines) {
  std::size_t count = 0;
  for (const std::string& line : lines) {
    char before = ' ';
    for (const char c : line) {
      // A word begins after a blank; signs of more than two bytes are words by themselves.
      count += (c != ' ' && before == ' ') || (static_cast<unsigned char>(c) >= 0xE3U) ? 1U : 0U;
      before = c;
    }
  }
  return count;
}

std::string fixed(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

std::string name_of(const decoder::search_limits_t& limits) {
  return std::to_string(limits.stack) + " / " + std::to_string(limits.options) + " / " +
         std::to_string(limits.distortion) + " / " + fixed(static_cast<double>(limits.beam), 1);
}

}  // namespace

std::vector<decoder::search_limits_t> usual_limits(const decoder::search_limits_t& own) {
  std::vector<decoder::search_limits_t> all = {own};
  // Weights that were tuned at one distortion limit do not fit a wider one: a set that is like the
  // tuning set gains by it, other text loses.
  std::vector<std::int32_t> distortions = {own.distortion};
  if (own.distortion > 2) {
    distortions.push_back(own.distortion - 2);
  }
  for (const std::int32_t stack : {10, 15, 20, 25, 30, 40, 60, 100}) {
    for (const std::int32_t options : {10, 20}) {
      for (const std::int32_t distortion : distortions) {
        const decoder::search_limits_t limits = {stack, options, distortion, own.beam};
        if (!same(limits, own)) {
          all.push_back(limits);
        }
      }
    }
  }
  return all;
}

std::vector<decoder::search_limits_t> narrower_beams(const decoder::search_limits_t& limits) {
  std::vector<decoder::search_limits_t> all;
  for (const float beam : {2.0F, 4.0F, 6.0F, 8.0F}) {
    if (beam < limits.beam) {
      all.push_back({limits.stack, limits.options, limits.distortion, beam});
    }
  }
  return all;
}

limits_point_t measure_limits(translator::TransImpl& handle, std::span<const std::string> source,
                              const BleuScorer& scorer, const decoder::search_limits_t& limits) {
  handle.translator().set_limits(limits);
  std::vector<std::string> translations(source.size());
  const double begin = thread_seconds();
  for (std::size_t k = 0; k < source.size(); ++k) {
    translator::translate_text(handle, handle.source_type(), source[k], translations[k]);
  }
  const double seconds = std::max(thread_seconds() - begin, 1e-9);
  BleuStats sum;
  for (const BleuStats& stats : scorer.sentences(translations)) {
    sum += stats;
  }
  return {limits, static_cast<double>(count_words(source)) / seconds, bleu(sum).score};
}

const limits_point_t& choose_limits(std::span<const limits_point_t> points, double loss) {
  double best = points.front().bleu;
  for (const limits_point_t& point : points) {
    best = std::max(best, point.bleu);
  }
  const limits_point_t* chosen = nullptr;
  for (const limits_point_t& point : points) {
    if (point.bleu >= best - loss &&
        (chosen == nullptr || point.words_per_second > chosen->words_per_second)) {
      chosen = &point;
    }
  }
  return *chosen;
}

std::string format_limits(std::span<const limits_point_t> points, const limits_point_t& chosen) {
  constexpr double kWidth = 640;
  constexpr double kHeight = 320;
  constexpr double kMargin = 50;
  auto [slowest, fastest] = std::minmax_element(
      points.begin(), points.end(), [](const limits_point_t& a, const limits_point_t& b) {
        return a.words_per_second < b.words_per_second;
      });
  auto [worst, best] = std::minmax_element(
      points.begin(), points.end(),
      [](const limits_point_t& a, const limits_point_t& b) { return a.bleu < b.bleu; });
  const double low = std::log2(slowest->words_per_second);
  const double width = std::max(std::log2(fastest->words_per_second) - low, 1e-3);
  const double height = std::max(best->bleu - worst->bleu, 1e-3);
  const auto x = [&](double speed) {
    return kMargin + (kWidth - 2 * kMargin) * (std::log2(speed) - low) / width;
  };
  const auto y = [&](double score) {
    return kHeight - kMargin - (kHeight - 2 * kMargin) * (score - worst->bleu) / height;
  };
  std::string html =
      "<h2>Limits of the search</h2>\n<p>Each point is the tuning set under one "
      "choice of [stack] / [option] / [distort] / [beam]; the one in red was "
      "chosen. Speed is on a logarithmic scale.</p>\n";
  html += "<svg width=\"" + fixed(kWidth, 0) + "\" height=\"" + fixed(kHeight, 0) +
          "\" role=\"img\" aria-label=\"BLEU over words per second\">\n";
  const auto label = [&](double at_x, double at_y, const std::string& text) {
    html += "<text x=\"" + fixed(at_x, 1) + "\" y=\"" + fixed(at_y, 1) + "\">" + text + "</text>\n";
  };
  for (const limits_point_t& point : points) {
    html += "<circle cx=\"" + fixed(x(point.words_per_second), 1) + "\" cy=\"" +
            fixed(y(point.bleu), 1) + "\" r=\"" + (&point == &chosen ? "6" : "3") + "\" fill=\"" +
            (&point == &chosen ? "#cf222e" : "#1f6feb") + "\"><title>" + name_of(point.limits) +
            "</title></circle>\n";
  }
  label(x(slowest->words_per_second), kHeight - 12, fixed(slowest->words_per_second, 0));
  label(x(fastest->words_per_second), kHeight - 12, fixed(fastest->words_per_second, 0));
  label(kWidth / 2, kHeight - 12, "words per second");
  label(24, y(worst->bleu), fixed(worst->bleu, 2));
  label(24, y(best->bleu), fixed(best->bleu, 2));
  label(24, 16, "BLEU");
  html +=
      "</svg>\n<table><tr><th>stack / option / distort / beam</th><th>words/s</th>"
      "<th>BLEU</th></tr>\n";
  std::vector<const limits_point_t*> sorted;
  for (const limits_point_t& point : points) {
    sorted.push_back(&point);
  }
  std::sort(sorted.begin(), sorted.end(), [](const limits_point_t* a, const limits_point_t* b) {
    return a->words_per_second > b->words_per_second;
  });
  for (const limits_point_t* point : sorted) {
    const std::string tag = point == &chosen ? "b" : "span";
    html += "<tr><td><" + tag + ">" + name_of(point->limits) + "</" + tag +
            "></td><td class=\"n\">" + fixed(point->words_per_second, 0) + "</td><td class=\"n\">" +
            fixed(point->bleu, 2) + "</td></tr>\n";
  }
  return html + "</table>\n";
}

}  // namespace koralite::toolkit
