// Splits work over threads. Items are handed out one by one, so which thread
// runs which item is not fixed: results must not depend on it. The training
// code gets there by writing each item's result to its own place, or by adding
// integers (fixed-point, see FixedSum), whose sum has no order.
#pragma once

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "toolkit/io/progress.h"

namespace koralite::toolkit {

// 0 stands for as many threads as the machine has cores.
inline unsigned thread_count(unsigned wanted) {
  if (wanted != 0) {
    return wanted;
  }
  const unsigned cores = std::thread::hardware_concurrency();
  return cores == 0 ? 1 : cores;
}

// Calls body(item, worker) for each item in [0, count), worker in [0, threads).
// The first exception of a body stops the rest and is thrown here. The calling
// thread is worker 0 and the one that reports progress.
template <class Body>
void parallel_for(std::size_t count, unsigned threads, Body&& body, const Progress& progress = {},
                  std::string_view stage = {}) {
  threads = thread_count(threads);
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::exception_ptr error;
  std::mutex error_lock;
  const auto work = [&](unsigned worker) {
    try {
      while (!failed.load(std::memory_order_relaxed)) {
        const std::size_t item = next.fetch_add(1, std::memory_order_relaxed);
        if (item >= count) {
          break;
        }
        body(item, worker);
        if (worker == 0) {
          report(progress, stage, static_cast<double>(item + 1) / static_cast<double>(count));
        }
      }
    } catch (...) {
      failed.store(true, std::memory_order_relaxed);
      const std::lock_guard<std::mutex> guard(error_lock);
      if (!error) {
        error = std::current_exception();
      }
    }
  };
  {
    std::vector<std::jthread> helpers;  // end with this block
    for (unsigned worker = 1; worker < threads && worker < count; ++worker) {
      helpers.emplace_back(work, worker);
    }
    work(0);
  }
  if (error) {
    std::rethrow_exception(error);
  }
}

// parallel_for over [0, count) in blocks of neighbours: body(begin, end, worker).
template <class Body>
void parallel_blocks(std::size_t count, std::size_t block, unsigned threads, Body&& body,
                     const Progress& progress = {}, std::string_view stage = {}) {
  parallel_for((count + block - 1) / block, threads,
               [&](std::size_t item, unsigned worker) {
                 const std::size_t begin = item * block;
                 body(begin, begin + block < count ? begin + block : count, worker);
               },
               progress, stage);
}

// Fixed-point with 32 bits after the point: sums of such numbers are exact, so
// any thread may add any part at any time and the total is always the same.
inline std::uint64_t to_fixed(double value) {
  return static_cast<std::uint64_t>(std::llround(value * 4294967296.0));
}
inline double from_fixed(std::uint64_t value) {
  return static_cast<double>(static_cast<std::int64_t>(value)) / 4294967296.0;
}
inline void add_fixed(std::uint64_t& sum, double value) {
  std::atomic_ref<std::uint64_t>(sum).fetch_add(to_fixed(value), std::memory_order_relaxed);
}

}  // namespace koralite::toolkit
