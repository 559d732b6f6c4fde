// Base of the string steps that build a new text. The step is written once, as
// a template over the kind of writer, and runs with positions or without:
//
//   template <bool kPlaced>
//   void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
//
// A copied byte keeps its source position; what is inserted takes the position
// of the byte that the step names. Steps hold no state between calls.
//
// A step's header declares `rewrite`; its source file defines it and ends with
// KORA_INSTANTIATE_REWRITE, which compiles both kinds there.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "common/text_writer.h"
#include "textProcess/abstract_step.h"
#include "textProcess/process_str.h"

namespace koralite::textProcess {

template <class Step>
class RewriteStrProcessor : public AbstractStringProcessor {
 public:
  int OnProcess(ProcessStr& str) override {
    return str.has_positions() ? ProcessWithPosVec(str) : ProcessWithoutPosVec(str);
  }

  // Both replace the text, and succeed; 0 for a carrier of the other kind or one whose positions do
  // not number its bytes.
  int ProcessWithPosVec(ProcessStr& str) const {
    if (!str.has_positions() || !str.consistent()) {
      return 0;
    }
    common::TextWriter<true> out(str.text(), str.positions().data(), reserve_for(str));
    step().rewrite(str.text(), out);
    str.text().swap(out.text());
    str.positions().swap(out.positions());
    return 1;
  }
  int ProcessWithoutPosVec(ProcessStr& str) const {
    if (str.has_positions()) {
      return 0;
    }
    common::TextWriter<false> out(str.text(), nullptr, reserve_for(str));
    step().rewrite(str.text(), out);
    str.text().swap(out.text());
    return 1;
  }

 protected:
  using AbstractStringProcessor::AbstractStringProcessor;

  // Steps whose text can grow say so here: room for this many bytes per input byte.
  static constexpr std::size_t kReserveFactor = 1;

 private:
  const Step& step() const { return static_cast<const Step&>(*this); }
  static std::size_t reserve_for(const ProcessStr& str) {
    return str.text().size() * Step::kReserveFactor;
  }
};

}  // namespace koralite::textProcess

#define KORA_INSTANTIATE_REWRITE(Step)                                                       \
  template void Step::rewrite<false>(std::string_view, koralite::common::TextWriter<false>&) \
      const;                                                                                 \
  template void Step::rewrite<true>(std::string_view, koralite::common::TextWriter<true>&) const
