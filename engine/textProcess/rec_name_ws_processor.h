// Gives words that the segmenter took for names of persons their pinyin as fixed
// translation and the tag "PE".
//
// Borrows the name set (the segmenter's, filled for the same sentence), the
// converter and the pool that keeps the translations until the next sentence.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "common/string_pool.h"
#include "textProcess/abstract_step.h"
#include "textProcess/name_converter.h"

namespace koralite::textProcess {

class RecNameWsProcessor : public AbstractWsProcessor {
 public:
  // Without a converter (null) no name is translated.
  RecNameWsProcessor(unsigned id, std::unique_ptr<AbstractWsProcessor> prior,
                     const NameConverter* converter, common::StringPool& pool);

  void SetNameBuffer(const std::set<std::string>* names) { names_ = names; }

  // Fails as long as no name buffer is set, converter or not.
  int OnProcess(ProcessWordSeq& words) override;

 private:
  int OnProcessWithNameSet(ProcessWordSeq& words) const;

  const NameConverter* converter_;
  common::StringPool* pool_;
  const std::set<std::string>* names_ = nullptr;
};

}  // namespace koralite::textProcess
