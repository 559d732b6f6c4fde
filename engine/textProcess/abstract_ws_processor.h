// One step over a `ProcessWordSeq`, and the chain that ends in it.
//
// A step owns the step before it (its prior; null for the first of a chain), so
// the last step owns the whole chain and the order of building is the order of
// running. Steps do not change while they run, except for those that say so: a
// chain then serves one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "textProcess/process_word_seq.h"

namespace koralite::textProcess {

class AbstractWsProcessor {
 public:
  // The step's own work: non-zero for success, 0 for failure.
  virtual int OnProcess(ProcessWordSeq& words) = 0;

  AbstractWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior, std::string name)
      : id_(id), name_(std::move(name)), prior_(std::move(prior)) {}
  virtual ~AbstractWsProcessor() = default;
  AbstractWsProcessor(const AbstractWsProcessor&) = delete;
  AbstractWsProcessor& operator=(const AbstractWsProcessor&) = delete;

  // Runs the chain that ends here. The first step that fails ends it with 0, as
  // does a carrier whose positions do not match its contents.
  int Process(ProcessWordSeq& words) {
    if (prior_ && prior_->Process(words) == 0) {
      return 0;
    }
    return words.consistent() ? OnProcess(words) : 0;
  }

  unsigned id() const { return id_; }
  const std::string& name() const { return name_; }
  // The step that runs before this one, or null.
  AbstractWsProcessor* prior() { return prior_.get(); }
  const AbstractWsProcessor* prior() const { return prior_.get(); }

 private:
  unsigned id_;
  std::string name_;
  std::unique_ptr<AbstractWsProcessor> prior_;
};

}  // namespace koralite::textProcess
