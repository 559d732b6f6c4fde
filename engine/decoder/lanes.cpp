#include "decoder/lanes.h"

#include <array>
#include <cstring>
#include <limits>

namespace koralite::decoder {
namespace {

constexpr float kNothing = -std::numeric_limits<float>::infinity();

template <std::size_t Width>
struct lanes_of {
  using floats_t __attribute__((vector_size(Width * 4))) = float;
  using masks_t __attribute__((vector_size(Width * 4))) = std::int32_t;
};

// Vectors are passed by reference, as their way by value depends on the target.
template <typename Lanes, typename Value>
[[gnu::always_inline]] inline void load(Lanes& lanes, const Value* from) {
  std::memcpy(&lanes, from, sizeof lanes);
}

template <typename Lanes, typename Value>
[[gnu::always_inline]] inline void store(Value* to, const Lanes& lanes) {
  std::memcpy(to, &lanes, sizeof lanes);
}

template <typename Masks>
[[gnu::always_inline]] inline bool all_set(const Masks& mask) {
  std::array<std::uint64_t, sizeof(Masks) / 8> parts;
  std::memcpy(parts.data(), &mask, sizeof mask);
  std::uint64_t all = ~std::uint64_t{0};
  for (const std::uint64_t part : parts) {
    all &= part;
  }
  return all == ~std::uint64_t{0};
}

template <std::size_t Width>
[[gnu::always_inline]] inline void fill_lanes(const first_words_t& words,
                                              const context_adds_t& context, std::size_t at,
                                              first_score_t* scores, std::uint32_t* open) {
  using floats_t = typename lanes_of<Width>::floats_t;
  using masks_t = typename lanes_of<Width>::masks_t;
  floats_t score;
  load(score, words.base + at);
  if (!context.back_offs.empty()) {
    masks_t pairs;
    load(pairs, words.pairs + at);
    const floats_t shortest = floats_t{} + context.back_offs[0];
    score = score + (floats_t)((masks_t)shortest & ~pairs);
    for (std::size_t k = 1; k < context.back_offs.size(); ++k) {
      score = score + context.back_offs[k];
    }
  }
  floats_t beyond;
  load(beyond, words.beyond + at);
  const floats_t highest = beyond + context.raise;
  score = highest > score ? highest : score;
  floats_t extra;
  load(extra, words.extra + at);
  for (std::size_t lane = 0; lane < Width; ++lane) {
    scores[at + lane] = {score[lane], extra[lane]};
  }
  store(open + at, (masks_t)(beyond > kNothing));
}

template <std::size_t Width>
[[gnu::always_inline]] inline std::uint32_t weigh_lanes(const cell_weights_t& cell,
                                                        std::uint32_t at, std::uint32_t found,
                                                        weighed_t* out) {
  using floats_t = typename lanes_of<Width>::floats_t;
  using masks_t = typename lanes_of<Width>::masks_t;
  floats_t option_score;
  load(option_score, cell.score + at);
  floats_t first;
  floats_t extra;
  floats_t behind;
  floats_t apart;
  for (std::size_t lane = 0; lane < Width; ++lane) {
    const first_score_t& word = cell.firsts[cell.first[at + lane]];
    first[lane] = word.score;
    extra[lane] = word.extra;
    const others_t& others = cell.others[cell.prefix[at + lane]];
    behind[lane] = others.behind;
    apart[lane] = others.apart;
  }
  behind = behind + extra;
  const floats_t joint = first + (behind > apart ? behind : apart);
  floats_t reorder;
  load(reorder, cell.reorder + at);
  reorder = reorder + cell.previous_reorder;
  floats_t total = cell.distorted + reorder * cell.reorder_weight;
  total = total + option_score;
  total = total + joint * cell.lang_weight;
  total = total + cell.future;
  const masks_t refused = (total + cell.beam < cell.best) | (total < cell.floor) |
                          (cell.before + option_score < cell.floor);
  if (all_set(refused)) {
    return found;
  }
  for (std::size_t lane = 0; lane < Width; ++lane) {
    out[found] = {at + static_cast<std::uint32_t>(lane), total[lane]};
    found += refused[lane] == 0 ? 1U : 0U;
  }
  return found;
}

template <std::size_t Width>
[[gnu::always_inline]] inline std::uint32_t weigh_cell(const cell_weights_t& cell, weighed_t* out) {
  std::uint32_t found = 0;
  std::uint32_t at = 0;
  if constexpr (Width > kLaneStep) {
    for (; at + kLaneStep < cell.count; at += Width) {
      found = weigh_lanes<Width>(cell, at, found, out);
    }
  }
  for (; at < cell.count; at += kLaneStep) {
    found = weigh_lanes<kLaneStep>(cell, at, found, out);
  }
  // The columns go on behind the last option.
  while (found > 0 && out[found - 1].place >= cell.count) {
    --found;
  }
  return found;
}

void fill_firsts_4(const first_words_t& words, const context_adds_t& context, first_score_t* scores,
                   std::uint32_t* open) {
  for (std::size_t at = 0; at < words.count; at += 4) {
    fill_lanes<4>(words, context, at, scores, open);
  }
}

std::uint32_t weigh_4(const cell_weights_t& cell, weighed_t* out) {
  return weigh_cell<4>(cell, out);
}

#if defined(__x86_64__) || defined(__i386__)
#define KORA_AVX2 1

[[gnu::target("avx2")]] void fill_firsts_8(const first_words_t& words,
                                           const context_adds_t& context, first_score_t* scores,
                                           std::uint32_t* open) {
  std::size_t at = 0;
  for (; at + 4 < words.count; at += 8) {
    fill_lanes<8>(words, context, at, scores, open);
  }
  for (; at < words.count; at += 4) {
    fill_lanes<4>(words, context, at, scores, open);
  }
}

[[gnu::target("avx2")]] std::uint32_t weigh_8(const cell_weights_t& cell, weighed_t* out) {
  return weigh_cell<8>(cell, out);
}
#endif

constexpr std::array kKernels = {
    lane_kernels_t{"4 lanes", fill_firsts_4, weigh_4},
#ifdef KORA_AVX2
    lane_kernels_t{"8 lanes, AVX2", fill_firsts_8, weigh_8},
#endif
};

}  // namespace

std::span<const lane_kernels_t> all_lane_kernels() {
  std::size_t usable = 1;
#ifdef KORA_AVX2
  if (__builtin_cpu_supports("avx2")) {
    usable = 2;
  }
#endif
  return std::span(kKernels).first(usable);
}

const lane_kernels_t& lane_kernels() {
  return all_lane_kernels().back();
}

}  // namespace koralite::decoder
