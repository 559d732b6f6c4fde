// String steps that squeeze, drop or add spaces. A space is the byte 0x20 only.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

// One space for each run, none at either end. It takes the position of the first of its run.
class UniqueBlankStrProcessor final : public RewriteStrProcessor<UniqueBlankStrProcessor> {
 public:
  explicit UniqueBlankStrProcessor(unsigned id,
                                   std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "unique_blank") {}

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

// Squeezes spaces, then drops those next to a non-ASCII byte.
class EraseBlankChsStrProcessor final : public RewriteStrProcessor<EraseBlankChsStrProcessor> {
 public:
  explicit EraseBlankChsStrProcessor(unsigned id,
                                     std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "erase_blank_chs"), unique_blank_(0) {}

  int OnProcess(ProcessStr& str) override;

  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;

 private:
  UniqueBlankStrProcessor unique_blank_;
};

// Puts a space after a full stop that is glued to a following capitalised word ("end.The"), unless
// the word before it holds anything but letters and digits. The space takes the dot's position.
class InsertBlankEngStrProcessor final : public RewriteStrProcessor<InsertBlankEngStrProcessor> {
 public:
  explicit InsertBlankEngStrProcessor(unsigned id,
                                      std::unique_ptr<AbstractStringProcessor> prior = nullptr)
      : RewriteStrProcessor(id, std::move(prior), "insert_blank") {}

  static constexpr std::size_t kReserveFactor = 2;
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;
};

}  // namespace koralite::textProcess
