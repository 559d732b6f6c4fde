// Turns the tag T of a word with a fixed translation into "<T>#0", the form under
// which the vocabularies know it. Borrows the pool that keeps the new tags until
// the next sentence.
#pragma once

#include <cstddef>
#include <memory>

#include "common/string_pool.h"
#include "textProcess/abstract_step.h"

namespace koralite::textProcess {

class ConvertNeTagWsProcessor : public AbstractWsProcessor {
 public:
  static constexpr std::size_t kLongestTag = 10235;  // bytes

  ConvertNeTagWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior,
                          common::StringPool& pool);

  // Throws std::runtime_error "ne type name overflow in CeDecoder::translate()"
  // at a longer tag; the words before it are then converted already.
  int OnProcess(ProcessWordSeq& words) override;

 private:
  common::StringPool* pool_;
};

}  // namespace koralite::textProcess
