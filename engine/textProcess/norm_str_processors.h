// String steps that bring characters into the forms that the models know:
// full-width letters to ASCII, punctuation to the Chinese or to the ASCII set.
//
// All bytes of a replacement take the position of the first byte it replaces.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

// Full-width letters, digits, per cent sign, full stop and the ideographic space to ASCII; no other
// full-width punctuation.
class Sbc2DbcStrProcessor final : public RewriteStrProcessor<Sbc2DbcStrProcessor> {
 public:
  explicit Sbc2DbcStrProcessor(unsigned id,
                               std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "sbc2dbc") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Chinese and typographic punctuation to ASCII.
class NormPuncEngStrProcessor final : public RewriteStrProcessor<NormPuncEngStrProcessor> {
 public:
  explicit NormPuncEngStrProcessor(unsigned id,
                                   std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "norm_punc") {}

  static constexpr std::size_t kReserveFactor = 2;
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// ASCII punctuation to Chinese; double quotes open and close in turn.
class NormPuncChsStrProcessor final : public RewriteStrProcessor<NormPuncChsStrProcessor> {
 public:
  explicit NormPuncChsStrProcessor(unsigned id,
                                   std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "norm_punc") {}

  static constexpr std::size_t kReserveFactor = 2;
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

}  // namespace koralite::textProcess
