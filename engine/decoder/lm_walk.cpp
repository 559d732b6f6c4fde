#include "decoder/lm_walk.h"

#include <algorithm>

namespace koralite::decoder {
namespace {

constexpr std::size_t kMaxLooks = 256;  // records

bool look_behind(const unsigned char* nodes, const lm_step_t& step, int depth,
                 std::size_t& looks_left, std::uint16_t& best) {
  const lm_path_t path = lm_path_t::after(nodes, step);
  if (path.group == nullptr || depth == 0) {
    return true;
  }
  const lm_group_t group(path.group);
  if (group.count > looks_left) {
    return false;
  }
  looks_left -= group.count;
  for (std::size_t at = 0; at < group.count; ++at) {
    const lm_step_t child = read_step(group.record(at));
    if (child.level.entry) {
      best = std::min(best, child.level.probability);
    }
    if (!look_behind(nodes, child, depth - 1, looks_left, best)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool find_best_behind(const unsigned char* nodes, const lm_step_t& step, std::uint16_t& best) {
  std::size_t looks_left = kMaxLooks;
  best = kNoCode;
  return look_behind(nodes, step, LangModel::kMaxOrder, looks_left, best);
}

}  // namespace koralite::decoder
