// How long-running library calls tell how far they are, and the bar that shows
// it. A library call takes a Progress (possibly empty) and calls it with a
// stage name and the share done, always from the thread that made the call, so
// the receiver needs no lock. ProgressBar draws on standard error, and only
// when that is a terminal: logs and pipes stay clean.
#pragma once

#include <chrono>
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

  // The text of the line: "stage  [####------]  40 %  0:12 left".
  static std::string line(std::string_view stage, double done, double seconds_so_far);

 private:
  using Clock = std::chrono::steady_clock;
  bool shown_;
  std::string stage_;
  Clock::time_point begin_{};
  Clock::time_point drawn_{};
};

}  // namespace koralite::toolkit
