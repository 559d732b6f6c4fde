// Ending on ctrl-C with everything tidied up: the signal sets a flag, long loops
// ask for it, and stacks unwind as for an error, so half-written files go.
//
// The flag belongs to the process and is set only after catch_interrupts(); a
// program that never calls it is never stopped. Safe from any thread.
#pragma once

#include <exception>

namespace koralite::toolkit {

// What unwinds the stack; programs then call end_by_interrupt().
class InterruptedError : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

// Catches SIGINT and SIGTERM from now on. A second one ends the process at once.
void catch_interrupts();
bool interrupted();
// Throws InterruptedError when a signal came.
void stop_if_interrupted();
// A descriptor that becomes readable when a signal comes, for poll(); -1 before catch_interrupts().
int interrupt_descriptor();
// Ends the process by the signal that came, so that its parent sees how.
void end_by_interrupt();

}  // namespace koralite::toolkit
