// What this process costs, as the system tells it, and work in a process of its own.
#pragma once

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace kora_proof {

// Kilobytes of a line of /proc/self/status, such as "VmHWM:"; 0 without one.
inline long status_kb(const std::string& name) {
  std::ifstream lines("/proc/self/status");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(name)) {
      return std::strtol(line.c_str() + name.size(), nullptr, 10);
    }
  }
  return 0;
}

// Bytes that the process has allocated and not freed.
inline double allocated_bytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

inline double cpu_seconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Runs work() in a child process and gives what it gave, a plain value; nothing when the child
// threw (what it says goes to standard error), was ended by a signal or could not tell. `status` is
// the child's as waitpid tells it.
template <class Work>
auto in_child(Work&& work, int& status) {
  using result_t = std::invoke_result_t<Work>;
  static_assert(std::is_trivially_copyable_v<result_t>);
  int ends[2];
  if (pipe(ends) != 0) {
    throw std::runtime_error("no pipe");
  }
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("no process");
  }
  if (child == 0) {
    close(ends[0]);
    try {
      const result_t result = work();
      _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
    }
    _exit(1);
  }
  close(ends[1]);
  std::optional<result_t> result(std::in_place);
  const bool told = read(ends[0], &*result, sizeof *result) == sizeof *result;
  close(ends[0]);
  status = 0;
  waitpid(child, &status, 0);
  if (!told || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    result.reset();
  }
  return result;
}

}  // namespace kora_proof
