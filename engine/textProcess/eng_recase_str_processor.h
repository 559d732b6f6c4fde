// Gives lower-case English output its capitals: words and word groups by a model
// (docs/format-recase.md), sentence starts by rule.
//
// The step owns its model, which is read-only once loaded. Lookups are binary
// searches; entries out of order are never found, nothing worse.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_path.h"
#include "textProcess/rewrite_str_processor.h"

namespace koralite::textProcess {

class EngRecaseStrProcessor final : public RewriteStrProcessor<EngRecaseStrProcessor> {
 public:
  // Loads the model. An empty path makes an empty model: only sentence starts are capitalised.
  // Throws std::runtime_error "Invalidate head info in ercase" for a bad head line or entries that
  // do not agree with it, and as DesFileReader.
  EngRecaseStrProcessor(unsigned id, std::unique_ptr<AbstractStringProcessor> prior,
                        const common::FilePath& path);

  // The model's units, then the sentence starts.
  int OnProcess(ProcessStr& str) override;

  // Takes the next unit off the front of a list of tokens: the longest group of tokens that the
  // model holds, joined by spaces, in its cased form, else the first token as it stands. False
  // when the list is empty.
  bool GetNextToken(std::span<const std::string_view>& tokens, std::string& token) const;

  // The model's units alone. A space takes the position of the first of its run.
  template <bool kPlaced>
  void rewrite(std::string_view in, common::TextWriter<kPlaced>& out) const;

 private:
  void load(const common::FilePath& path);
  std::string_view lowered_entry(std::size_t index) const;

  std::uint32_t max_words_ = 0;  // of an entry
  std::string cased_;            // entries as written, each ended by a zero byte
  std::string lowered_;          // the same bytes in lower case
  std::vector<std::uint32_t> starts_;
};

}  // namespace koralite::textProcess
