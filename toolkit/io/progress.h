// How long-running library calls tell how far they are, and the bar that shows
// it. A library call takes a Progress (possibly empty) and calls it with a
// stage name and the share done, always from the thread that made the call, so
// the receiver needs no lock. ProgressBar draws on standard error, and only
// when that is a terminal: logs and pipes stay clean.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace koralite::toolkit {

// (stage, share done in 0..1). A new stage may begin before the last reached 1.
using Progress = std::function<void(std::string_view stage, double done)>;

// Calls progress when there is one.
inline void report(const Progress& progress, std::string_view stage, double done) {
  if (progress) {
    progress(stage, done);
  }
}

// Draws one line per stage with a bar, the share done and the time remaining.
// Use: `ProgressBar bar; align(..., bar.callback());` The bar must outlive the
// callback.
class ProgressBar {
 public:
  ProgressBar();
  // force = true draws although standard error is no terminal.
  explicit ProgressBar(bool force) : shown_(force) {}
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  Progress callback();
  void update(std::string_view stage, double done);
  // Prints a line of its own: takes the bar off first.
  void say(std::string_view text);

  // The text of the line: "stage  [####------]  40 %  0:12 left".
  static std::string line(std::string_view stage, double done, double seconds_so_far);

 private:
  using Clock = std::chrono::steady_clock;
  bool shown_;
  std::string stage_;
  Clock::time_point begin_{};
  Clock::time_point drawn_{};
};

// How far a filter is: lines, lines a second and, when the size of its input is known, the share
// done and the time left. Drawn on standard error when `shown`, and only for work that takes a
// while. read() may be called on any thread, the rest on one.
class LineProgress {
 public:
  // `size`: bytes of the input, 0 when that is not known.
  LineProgress(bool shown, std::uint64_t size) : shown_(shown), size_(size) {}

  void read(std::size_t bytes) { bytes_ += bytes; }
  void wrote_line();
  // Leaves the last state standing.
  void finish();

  // The text: "250 lines, 125 lines/s, 40 %, 0:03 left".
  std::string text(double seconds) const;

 private:
  using Clock = std::chrono::steady_clock;
  void draw();

  bool shown_;
  std::uint64_t size_;
  std::uint64_t lines_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
  Clock::time_point begin_ = Clock::now();
};

}  // namespace koralite::toolkit
