// What this process costs, as the system tells it.
#pragma once

#include <malloc.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

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

}  // namespace kora_proof
