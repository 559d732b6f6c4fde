#include "decoder/lm_file.h"

#include <algorithm>
#include <stdexcept>

#include "common/byte_reader.h"

namespace koralite::decoder {

namespace format = lang_model_format;

namespace {

[[noreturn]] void damaged_file() {
  throw std::runtime_error("damaged file in PackedLM");
}

}  // namespace

LmFile::LmFile(const common::FilePath& path)
    : file_(common::MappedFile::need(path, "failed to open file in PackedLM")),
      bytes_(file_.data()) {
  common::ByteReader reader(bytes_);
  std::uint16_t heads = 0;
  if (!reader.read_u16(heads)) {
    damaged_file();
  }
  if (heads == 0) {
    // Programs compare this text, so its spelling stays.
    throw std::runtime_error("Invalidate head size in language model");
  }
  head_count_ = heads;
  std::int32_t positions = 0;
  if (!reader.skip(head_count_ * format::kHeadSize) || !reader.read_f32(back_off_offset_) ||
      !reader.read_i32(positions) || positions < 0 ||
      !reader.fits(static_cast<std::uint64_t>(positions), format::kPositionSize)) {
    damaged_file();
  }
  trees_.resize(static_cast<std::size_t>(std::max(positions - 1, 0)));
  std::uint32_t last = 0;
  for (std::int32_t i = 0; i < positions; ++i) {
    std::uint32_t position = 0;
    reader.read_u32(position);
    if (position < last || position > bytes_.size()) {
      damaged_file();
    }
    last = position;
    if (static_cast<std::size_t>(i) < trees_.size()) {
      trees_[static_cast<std::size_t>(i)] = position;
    }
  }
}

}  // namespace koralite::decoder
