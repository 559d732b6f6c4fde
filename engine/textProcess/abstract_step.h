// One step of a pipeline over its carrier, and the chain that ends in it: string steps over a
// `ProcessStr`, word steps over a `ProcessWordSeq`.
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
#include "textProcess/process_word_seq.h"

namespace koralite::textProcess {

template <class Carrier>
class AbstractStep {
 public:
  // The step's own work: non-zero for success, 0 for failure.
  virtual int OnProcess(Carrier& carrier) = 0;

  AbstractStep(unsigned id, std::unique_ptr<AbstractStep> prior, std::string name)
      : id_(id), name_(std::move(name)), prior_(std::move(prior)) {}
  virtual ~AbstractStep() = default;
  AbstractStep(const AbstractStep&) = delete;
  AbstractStep& operator=(const AbstractStep&) = delete;

  // Runs the chain that ends here. The first step that fails ends it with 0, as
  // does a carrier whose positions do not match its contents.
  int Process(Carrier& carrier) {
    if (prior_ && prior_->Process(carrier) == 0) {
      return 0;
    }
    return carrier.consistent() ? OnProcess(carrier) : 0;
  }

  unsigned id() const { return id_; }
  const std::string& name() const { return name_; }
  // The step that runs before this one, or null.
  AbstractStep* prior() { return prior_.get(); }
  const AbstractStep* prior() const { return prior_.get(); }

 private:
  unsigned id_;
  std::string name_;
  std::unique_ptr<AbstractStep> prior_;
};

using AbstractStringProcessor = AbstractStep<ProcessStr>;
using AbstractWsProcessor = AbstractStep<ProcessWordSeq>;

}  // namespace koralite::textProcess
