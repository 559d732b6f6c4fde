// A packed language model file, mapped and read where it lies: the head table, the codes' values,
// and where the trees are. Checked when it is opened, but for the trees' nodes (see LmTrees).
//
// Read-only; the file must not change while this lives.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "common/file_path.h"
#include "common/mapped_file.h"
#include "decoder/lang_model_format.h"

namespace koralite::decoder {

class LmFile {
 public:
  // Throws "failed to open file in PackedLM", "Invalidate head size in language model" or "damaged
  // file in PackedLM".
  explicit LmFile(const common::FilePath& path);

  std::span<const unsigned char> bytes() const { return bytes_; }
  std::uint32_t head_count() const { return head_count_; }
  float back_off_offset() const { return back_off_offset_; }

  bool known(int word) const { return word >= 0 && static_cast<std::uint32_t>(word) < head_count_; }
  // Of a known word.
  lang_model_format::head_t head(int word) const {
    return lang_model_format::read_head(bytes_.data() + lang_model_format::kHeadsAt +
                                        static_cast<std::size_t>(word) *
                                            lang_model_format::kHeadSize);
  }

  // Where the trees begin, ascending.
  std::span<const std::uint32_t> trees() const { return trees_; }

  float probability(std::uint16_t code) const {
    return -static_cast<float>(code) / lang_model_format::kProbabilitySteps;
  }
  float back_off(std::uint16_t code) const {
    return static_cast<float>(code) / lang_model_format::kBackOffSteps + back_off_offset_;
  }

 private:
  common::MappedFile file_;
  std::span<const unsigned char> bytes_;
  std::uint32_t head_count_ = 0;
  float back_off_offset_ = 0.0F;
  std::vector<std::uint32_t> trees_;
};

}  // namespace koralite::decoder
