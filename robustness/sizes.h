// What texts of each strange kind and size cost in time and memory.
#pragma once

#include <cstddef>
#include <string>

namespace kora_proof {

struct sizes_options_t {
  std::string folder;
  std::size_t largest = 1000000;  // bytes of a text
  double budget = 5;              // CPU seconds: a text that would take more is left out
  int stack = 0;                  // above 0: in the place of the folder's [stack] and [option]
  std::string only;               // kinds with this in their name
};

// Prints a Markdown table of CPU time per byte and peak memory for 1 KB, 10 KB, 100 KB
// ... up to the largest size, each measured in a process of its own. False when a kind's
// cost grows faster than its size, or a text fails.
bool print_sizes(const sizes_options_t& options);

}  // namespace kora_proof
