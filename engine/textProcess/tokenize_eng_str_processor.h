// English text to space-separated tokens.
//
// Punctuation is split off; numbers, addresses, abbreviations, contractions and
// long runs of one byte or of non-ASCII characters stay whole (text_units.h).
// Linear in the length of the text, whatever it holds.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "textProcess/blank_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

class TokenizeEngStrProcessor final : public RewriteStrProcessor<TokenizeEngStrProcessor> {
 public:
  explicit TokenizeEngStrProcessor(unsigned id,
                                   std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "tokenize_eng"),
        unique_blank_(0),
        connect_ellipsis_(0) {}

  // The splitting pass, then the squeezing of the spaces that it leaves, then the joining of dots.
  int OnProcess(ProcessStr& str) override;

  static constexpr std::size_t kReserveFactor = 2;

  // The splitting pass. A space takes the position of the byte, or of the unit's end, it sets off.
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;

 private:
  UniqueBlankStrProcessor unique_blank_;
  ConnectEllipsisStrProcessor connect_ellipsis_;
};

}  // namespace koralite::textProcess
