// Runs independent work on several threads and hands the results on in the order
// in which the work came in, with a bounded number of items under way: memory does
// not grow with the input, and no result waits for input that is still to come.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace koralite::toolkit::cli {

// read(std::string&) gives the next item or false; it runs on the calling thread.
// work(worker, const std::string&) gives an item's result; worker is 0 to
// threads - 1 and each runs on one thread. write(const std::string&, bool is_last)
// takes the results in order; is_last says that no other is ready yet.
// The first exception of any of them ends the run and is thrown again.
template <class Read, class Work, class Write>
void run_ordered(std::size_t threads, Read&& read, Work&& work, Write&& write) {
  enum class State { kFree, kWaiting, kBusy, kDone };
  struct slot_t {
    State state = State::kFree;
    std::string item;
    std::string result;
  };
  std::vector<slot_t> ring(threads * 16);
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t came = 0;     // items read
  std::size_t taken = 0;    // items that a worker took
  std::size_t written = 0;  // results handed on
  bool at_end = false;
  std::exception_ptr error;

  const auto fail = [&] {
    const std::lock_guard lock(mutex);
    if (!error) {
      error = std::current_exception();
    }
    at_end = true;
    changed.notify_all();
  };

  const auto run_worker = [&](std::size_t worker) {
    try {
      for (;;) {
        slot_t* slot = nullptr;
        {
          std::unique_lock lock(mutex);
          changed.wait(lock, [&] { return error || taken < came || at_end; });
          if (error || taken == came) {
            return;
          }
          slot = &ring[taken++ % ring.size()];
          slot->state = State::kBusy;
        }
        std::string result = work(worker, slot->item);
        const std::lock_guard lock(mutex);
        slot->result = std::move(result);
        slot->state = State::kDone;
        changed.notify_all();
      }
    } catch (...) {
      fail();
    }
  };

  const auto run_writer = [&] {
    try {
      std::string result;
      for (;;) {
        bool is_last = false;
        {
          std::unique_lock lock(mutex);
          const auto is_done = [&](std::size_t i) {
            return i < came && ring[i % ring.size()].state == State::kDone;
          };
          changed.wait(lock,
                       [&] { return error || is_done(written) || (at_end && written == came); });
          if (error || !is_done(written)) {
            return;
          }
          slot_t& slot = ring[written % ring.size()];
          result.swap(slot.result);
          slot.state = State::kFree;
          ++written;
          is_last = !is_done(written);
          changed.notify_all();
        }
        write(result, is_last);
      }
    } catch (...) {
      fail();
    }
  };

  std::vector<std::jthread> pool;
  try {
    for (std::size_t i = 0; i < threads; ++i) {
      pool.emplace_back(run_worker, i);
    }
    pool.emplace_back(run_writer);
    std::string item;
    while (read(item)) {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return error || came - written < ring.size(); });
      if (error) {
        break;
      }
      slot_t& slot = ring[came % ring.size()];
      slot.item.swap(item);
      slot.state = State::kWaiting;
      ++came;
      changed.notify_all();
    }
  } catch (...) {
    fail();
  }
  {
    const std::lock_guard lock(mutex);
    at_end = true;
    changed.notify_all();
  }
  pool.clear();  // joins
  if (error) {
    std::rethrow_exception(error);
  }
}

}  // namespace koralite::toolkit::cli
