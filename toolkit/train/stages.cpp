#include "toolkit/train/stages.h"

#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/mapped_file.h"
#include "common/sha256.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/io_error.h"

namespace koralite::toolkit {

namespace {

std::string digest(std::string_view text) {
  return common::Sha256::hex_of({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace

std::uint64_t peak_memory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;  // Linux counts kilobytes
}

Stages::Stages(std::string folder, std::function<void(const std::string&)> say)
    : folder_(std::move(folder)), say_(std::move(say)) {
  std::filesystem::create_directories(folder_);
}

void Stages::depend(std::string_view text) {
  state_ = digest(state_ + std::string(text));
}

void Stages::depend_on_file(const std::string& path) {
  require_readable(path);
  const common::MappedFile file(path);
  depend(common::Sha256::hex_of(file.data()));
}

void Stages::run(const std::string& name, const std::function<void()>& stage) {
  depend(name);
  const std::string mark = file(name + ".done");
  stage_time_t time{name, 0, contents(mark) == state_, 0};
  if (time.was_done) {
    say_(name + ": nothing changed");
  } else {
    say_(name);
    std::filesystem::remove(mark);
    const auto begin = std::chrono::steady_clock::now();
    stage();
    time.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    write_file(mark, state_);
  }
  time.peak_memory = peak_memory();
  times_.push_back(std::move(time));
}

}  // namespace koralite::toolkit
