#include "toolkit/io/interrupt.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace koralite::toolkit {

namespace {

volatile std::sig_atomic_t g_signal = 0;
std::array<int, 2> g_pipe = {-1, -1};

void handle(int signal) {
  const int saved = errno;
  g_signal = signal;
  // The pipe may be full; then its reader knows already.
  static_cast<void>(!::write(g_pipe[1], "", 1));
  errno = saved;
}

}  // namespace

void catch_interrupts() {
  if (g_pipe[0] < 0 && ::pipe2(g_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    return;
  }
  struct sigaction action = {};
  action.sa_handler = handle;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM}) {
    struct sigaction now = {};
    // Whoever started us may have wanted it ignored.
    if (sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN) {
      continue;
    }
    sigaction(signal, &action, nullptr);
  }
}

bool interrupted() {
  return g_signal != 0;
}

void stop_if_interrupted() {
  if (interrupted()) {
    throw InterruptedError();
  }
}

int interrupt_descriptor() {
  return g_pipe[0];
}

void end_by_interrupt() {
  std::signal(g_signal, SIG_DFL);
  std::raise(g_signal);
}

}  // namespace koralite::toolkit
