// One step over a `ProcessStr`, and the chain that ends in it.
//
// A step owns the step before it (its prior; null for the first of a chain), so
// the last step owns the whole chain and the order of building is the order of
// running. Steps do not change while they run, except for those that say so: a
// chain then serves one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "textProcess/process_str.h"

namespace koralite::textProcess {

class AbstractStringProcessor {
 public:
  // The step's own work: non-zero for success, 0 for failure.
  virtual int OnProcess(ProcessStr& str) = 0;

  AbstractStringProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior,
                          std::string name)
      : id_(id), name_(std::move(name)), prior_(std::move(prior)) {}
  virtual ~AbstractStringProcessor() = default;
  AbstractStringProcessor(const AbstractStringProcessor&) = delete;
  AbstractStringProcessor& operator=(const AbstractStringProcessor&) = delete;

  // Runs the chain that ends here. The first step that fails ends it with 0, as
  // does a carrier whose positions do not match its contents.
  int Process(ProcessStr& str) {
    if (prior_ && prior_->Process(str) == 0) {
      return 0;
    }
    return str.consistent() ? OnProcess(str) : 0;
  }

  unsigned id() const { return id_; }
  const std::string& name() const { return name_; }
  // The step that runs before this one, or null.
  AbstractStringProcessor* prior() { return prior_.get(); }
  const AbstractStringProcessor* prior() const { return prior_.get(); }

 private:
  unsigned id_;
  std::string name_;
  std::unique_ptr<AbstractStringProcessor> prior_;
};

}  // namespace koralite::textProcess
