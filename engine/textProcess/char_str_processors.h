// String steps that look at single bytes: case, replacement, zero bytes, digit
// grouping, and the escaping of the two bytes that the decoder's input reserves.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

// A-Z to a-z, in place. No other letters are folded.
class LowercaseEngStrProcessor final : public AbstractStringProcessor {
 public:
  explicit LowercaseEngStrProcessor(unsigned id,
                                    std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : AbstractStringProcessor(id, std::move(prior), "lowercase_eng") {}
  int OnProcess(ProcessStr& str) override;
};

// Every byte `find` becomes `replacement`, in place.
class ReplaceCharStrProcessor final : public AbstractStringProcessor {
 public:
  ReplaceCharStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior, char find,
                          char replacement)
      : AbstractStringProcessor(id, std::move(prior), "text_replace"),
        find_(find),
        replacement_(replacement) {}
  int OnProcess(ProcessStr& str) override;

 private:
  char find_;
  char replacement_;
};

// Drops zero bytes.
class CleanStrProcessor final : public RewriteStrProcessor<CleanStrProcessor> {
 public:
  explicit CleanStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "clean") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Drops a comma, ASCII or full-width, between a digit and three more digits. Only three are looked
// at: "1,0000" loses its comma too.
class EraseCommaStrProcessor final : public RewriteStrProcessor<EraseCommaStrProcessor> {
 public:
  explicit EraseCommaStrProcessor(unsigned id,
                                  std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "erase") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Puts a backslash before each backslash and each "#".
class ReplaceSpecCharStrProcessor final : public RewriteStrProcessor<ReplaceSpecCharStrProcessor> {
 public:
  explicit ReplaceSpecCharStrProcessor(unsigned id,
                                       std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "replace_spec_char") {}

  static constexpr std::size_t kReserveFactor = 2;
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Takes that escaping off. A backslash at the very end is dropped.
class RestoreSpecCharStrProcessor final : public RewriteStrProcessor<RestoreSpecCharStrProcessor> {
 public:
  explicit RestoreSpecCharStrProcessor(unsigned id,
                                       std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "restore_spec_char") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

}  // namespace koralite::textProcess
