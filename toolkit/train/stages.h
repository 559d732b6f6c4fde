// Runs the stages of a long job so that it can be taken up again: a stage whose
// inputs are what they were when it last finished is not run again, and neither
// is anything half-made taken for finished, because the mark is written last.
// One thread. Errors are those of the stages.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace koralite::toolkit {

struct stage_time_t {
  std::string name;
  double seconds = 0;
  bool was_done = false;          // skipped
  std::uint64_t peak_memory = 0;  // of the process so far, bytes
};

class Stages {
 public:
  // The marks lie in `folder`, which is made if it is not there. `say` is told what begins and what
  // is skipped.
  Stages(std::string folder, std::function<void(const std::string&)> say);

  // Something that the stages from here on depend on: text, or a file's contents.
  void depend(std::string_view text);
  void depend_on_file(const std::string& path);

  // Runs the stage unless its mark fits everything that it depends on: what was told so far, which
  // stages came before, and its name.
  void run(const std::string& name, const std::function<void()>& stage);

  std::string file(const std::string& name) const { return folder_ + '/' + name; }
  const std::vector<stage_time_t>& times() const { return times_; }

 private:
  std::string folder_;
  std::function<void(const std::string&)> say_;
  std::string state_;  // digest of everything so far
  std::vector<stage_time_t> times_;
};

// Bytes of memory that this process had at most.
std::uint64_t peak_memory();

}  // namespace koralite::toolkit
