#include "toolkit/io/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace koralite::toolkit {

namespace {

// Minutes and seconds.
std::string clock_text(double seconds) {
  const long whole = std::lround(seconds);
  const std::string rest = std::to_string(whole % 60);
  return std::to_string(whole / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

}  // namespace

ProgressBar::ProgressBar() : shown_(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (!stage_.empty()) {
    std::fputc('\n', stderr);
  }
}

Progress ProgressBar::callback() {
  if (!shown_) {
    return {};
  }
  return [this](std::string_view stage, double done) { update(stage, done); };
}

std::string ProgressBar::line(std::string_view stage, double done, double seconds_so_far) {
  constexpr int kWidth = 30;
  done = std::clamp(done, 0.0, 1.0);
  const int full = static_cast<int>(done * kWidth);
  std::string text(stage);
  text.resize(std::max<std::size_t>(text.size(), 24), ' ');
  text += " [" + std::string(static_cast<std::size_t>(full), '#') +
          std::string(static_cast<std::size_t>(kWidth - full), '-') + "] " +
          std::to_string(static_cast<int>(done * 100)) + " %";
  // An estimate from less than two percent of the work would only mislead.
  const double seconds = done >= 1     ? seconds_so_far
                         : done > 0.02 ? seconds_so_far / done * (1 - done)
                                       : -1;
  if (seconds >= 0) {
    text += "  " + clock_text(seconds) + (done >= 1 ? " taken" : " left");
  }
  return text;
}

void ProgressBar::update(std::string_view stage, double done) {
  const Clock::time_point now = Clock::now();
  if (stage != stage_) {
    if (!stage_.empty()) {
      std::fputc('\n', stderr);
    }
    stage_ = stage;
    begin_ = now;
    drawn_ = {};
  }
  if (done < 1 && now - drawn_ < std::chrono::milliseconds(100)) {
    return;
  }
  drawn_ = now;
  const std::string text = line(stage, done, std::chrono::duration<double>(now - begin_).count());
  std::fprintf(stderr, "\r%s\033[K", text.c_str());
  std::fflush(stderr);
}

void ProgressBar::say(std::string_view text) {
  std::string line = shown_ && !stage_.empty() ? "\r\033[K" : "";
  line.append(text) += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
  stage_.clear();  // the next update draws anew
}

std::string LineProgress::text(double seconds) const {
  std::string text = std::to_string(lines_) + " lines";
  if (seconds > 0) {
    text += ", " + std::to_string(std::lround(static_cast<double>(lines_) / seconds)) + " lines/s";
  }
  const double done =
      size_ == 0 ? 0 : static_cast<double>(bytes_.load()) / static_cast<double>(size_);
  if (done > 0) {
    text += ", " + std::to_string(static_cast<int>(std::min(done, 1.0) * 100)) + " %, " +
            clock_text(seconds / done * std::max(1 - done, 0.0)) + " left";
  }
  return text;
}

void LineProgress::draw() {
  const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
  std::fprintf(stderr, "\r%s\033[K", text(seconds).c_str());
}

void LineProgress::wrote_line() {
  if (++lines_ % 100 == 0 && shown_) {
    draw();
  }
}

void LineProgress::finish() {
  if (shown_ && lines_ >= 100) {
    draw();
    std::fputc('\n', stderr);
  }
}

}  // namespace koralite::toolkit
