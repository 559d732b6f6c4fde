// String steps that join what tokenization took apart.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

// Space-separated English tokens to running text: takes away the spaces before closing punctuation,
// after opening punctuation, around quotes and before contractions. A space takes the position of
// the byte it stands before.
class DetokenizeEngStrProcessor final : public RewriteStrProcessor<DetokenizeEngStrProcessor> {
 public:
  explicit DetokenizeEngStrProcessor(unsigned id,
                                     std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "detoken") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Joins space-separated dots, the first at the start of the text or after a space, into one token.
class ConnectEllipsisStrProcessor final : public RewriteStrProcessor<ConnectEllipsisStrProcessor> {
 public:
  explicit ConnectEllipsisStrProcessor(unsigned id,
                                       std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "connect_ellipsis") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

}  // namespace koralite::textProcess
