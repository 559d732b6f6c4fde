#include "textProcess/word_segment_str_processor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <utility>

#include "common/causes.h"
#include "common/des_file_reader.h"
#include "common/mapped_file.h"

namespace koralite::textProcess {
namespace {

bool is_continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Bytes of ASCII words and numbers, which no piece may end inside of.
bool is_ascii_word_byte(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ',' || c == '.' ||
         c == '-' || c == '\'' || c == '_';
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80U; });
}

lexicut_model* load_words(const LexicutApi& api, const common::FilePath& dictionary,
                          const common::FilePath& names, const common::FilePath& ambiguous) {
  if (dictionary.memory() == nullptr) {
    return api.load_model(dictionary.c_str(), names.c_str(), ambiguous.c_str(), 0);
  }
  if (api.load_memory == nullptr) {
    throw std::runtime_error("the segmentation library cannot read word lists from memory");
  }
  std::array<lexicut_bytes, 3> lists{};
  const std::array<const common::FilePath*, 3> paths = {&dictionary, &names, &ambiguous};
  for (std::size_t i = 0; i < lists.size(); ++i) {
    if (paths[i]->empty()) {
      continue;
    }
    const std::optional<common::MappedFile> file = common::MappedFile::open(*paths[i]);
    if (!file) {
      return nullptr;
    }
    // Views into the caller's memory, which outlive this object.
    lists[i] = {file->data().data(), file->size()};
  }
  return api.load_memory(&lists[0], &lists[1], &lists[2], 0);
}

}  // namespace

WordSegmentStrProcessor::WordSegmentStrProcessor(
    unsigned id, std::unique_ptr<AbstractStringProcessor> prior, const labels_t& labels,
    const common::FilePath& dictionary, const common::FilePath& names,
    const common::FilePath& ambiguous, const common::FilePath& anti_names, unsigned longest_piece,
    const LexicutApi& api)
    : SegmentStrProcessor(id, std::move(prior), labels.name),
      longest_piece_(longest_piece == 0 ? kLongestPiece : std::min(longest_piece, kLongestPiece)),
      segmented_capacity_(std::size_t{10} * longest_piece_),
      segment_full_(api.segment_full),
      model_(load_words(api, dictionary, names, ambiguous), ModelDeleter{api.destroy}),
      record_(nullptr, RecordDeleter{api.destroy_out}) {
  if (!model_) {
    common::throw_caused(labels.no_model, dictionary.text());
  }
  record_.reset(api.create_out(static_cast<std::int32_t>(longest_piece_ + 1)));
  if (!record_) {
    throw std::runtime_error(labels.no_record);
  }
  load_anti_names(anti_names);
}

void WordSegmentStrProcessor::load_anti_names(const common::FilePath& path) {
  if (path.empty()) {
    return;
  }
  common::DesFileReader reader(path);
  for (std::string line; reader.getline(line);) {
    if (!anti_names_.empty() && line < anti_names_.back()) {
      // Programs compare this text, so its spelling stays.
      throw std::runtime_error("Invalidate antiname!");
    }
    anti_names_.push_back(line);
  }
}

int WordSegmentStrProcessor::OnProcess(ProcessStr& str) {
  if (names_ != nullptr) {
    names_->clear();
  }
  std::string segmented;
  if (!segment(str.text(), segmented)) {
    return 0;
  }
  return replace_text(str, std::move(segmented));
}

bool WordSegmentStrProcessor::segment(const std::string& text, std::string& out) {
  out.reserve(text.size() * 2);
  std::string piece;
  piece.reserve(segmented_capacity_);
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = get_next_pos(text, start);
    piece.assign(text, start, end - start);
    if (!inner_segment(piece)) {
      return false;
    }
    connect_float(piece);
    connect_hyphen(piece);
    if (!out.empty()) {
      out += ' ';
    }
    out += piece;
    start = end;
  }
  return true;
}

std::size_t WordSegmentStrProcessor::get_next_pos(std::string_view text, std::size_t start) const {
  if (text.size() - start <= longest_piece_) {
    return text.size();
  }
  const std::size_t end = start + longest_piece_;
  std::size_t k = end;
  while (k > start && is_continuation(text[k])) {
    --k;
  }
  if (k == start) {
    return end;
  }
  if (!is_ascii_word_byte(text[k])) {
    return k;
  }
  while (k > start && is_ascii_word_byte(text[k - 1])) {
    --k;
  }
  return k == start ? end : k;
}

bool WordSegmentStrProcessor::inner_segment(std::string& piece) {
  if (piece.size() > longest_piece_) {
    return false;
  }
  if (segment_full_(model_.get(), piece.c_str(), static_cast<std::int32_t>(piece.size()),
                    record_.get(), LEXICUT_MODE_FULL) == 0) {
    return false;
  }
  return get_token(piece);
}

// Whether the words of the record ascend inside the piece and fit the record.
bool WordSegmentStrProcessor::record_is_sound(std::size_t piece_length) const {
  const lexicut_out& record = *record_;
  if (record.count < 0 || static_cast<unsigned>(record.count) > longest_piece_ + 1) {
    return false;
  }
  if (record.count == 0) {
    return true;
  }
  if (record.offsets == nullptr || record.lengths == nullptr || record.properties == nullptr) {
    return false;
  }
  std::int64_t end = 0;  // of the word before
  for (std::int32_t i = 0; i < record.count; ++i) {
    if (record.offsets[i] < end || record.lengths[i] < 0) {
      return false;
    }
    end = std::int64_t{record.offsets[i]} + record.lengths[i];
    if (end > static_cast<std::int64_t>(piece_length)) {
      return false;
    }
  }
  return true;
}

bool WordSegmentStrProcessor::get_token(std::string& piece) {
  if (!record_is_sound(piece.size())) {
    return false;
  }
  std::string out;
  out.reserve(segmented_capacity_);
  bool after_ascii = false;
  for (std::int32_t i = 0; i < record_->count; ++i) {
    const auto token =
        std::string_view(piece).substr(static_cast<std::size_t>(record_->offsets[i]),
                                       static_cast<std::size_t>(record_->lengths[i]));
    const bool ascii = is_ascii(token);
    if (!out.empty() && !(ascii && after_ascii)) {
      out += ' ';
    }
    out += token;
    after_ascii = ascii;
    if (names_ != nullptr && (record_->properties[i] & LEXICUT_PROPERTY_NAME) != 0 &&
        !std::binary_search(anti_names_.begin(), anti_names_.end(), token)) {
      names_->emplace(token);
    }
  }
  piece = std::move(out);
  return true;
}

// Joins a dot that stands with blanks between two digits to them: "3 . 14".
void WordSegmentStrProcessor::connect_float(std::string& piece) {
  if (piece.find(" . ") == std::string::npos) {
    return;
  }
  std::string out;
  out.reserve(piece.size());
  for (std::size_t i = 0; i < piece.size(); ++i) {
    if (piece[i] == '.' && i > 1 && i + 2 < piece.size() && piece[i - 1] == ' ' &&
        is_digit(piece[i - 2]) && piece[i + 1] == ' ' && is_digit(piece[i + 2])) {
      out.back() = '.';
      ++i;  // the blank behind the dot
    } else {
      out += piece[i];
    }
  }
  piece = std::move(out);
}

// Joins a hyphen to the hyphen before it: "- -".
void WordSegmentStrProcessor::connect_hyphen(std::string& piece) {
  if (piece.find("- -") == std::string::npos) {
    return;
  }
  std::string out;
  out.reserve(piece.size());
  for (std::size_t i = 0; i < piece.size(); ++i) {
    if (piece[i] == '-' && i > 1 && piece[i - 1] == ' ' && piece[i - 2] == '-') {
      out.back() = '-';
    } else {
      out += piece[i];
    }
  }
  piece = std::move(out);
}

ChsSegmentStrProcessor::ChsSegmentStrProcessor(
    unsigned id, std::unique_ptr<AbstractStringProcessor> prior, const common::FilePath& dictionary,
    const common::FilePath& names, const common::FilePath& ambiguous,
    const common::FilePath& anti_names, unsigned longest_piece, const LexicutApi& api)
    : WordSegmentStrProcessor(
          id, std::move(prior),
          {"segment", "NULL word segment dictionary in ChsSegmenter::ChsSegmenter()",
           "NULL word segment output buffer in ChsSegmenter::ChsSegmenter()"},
          dictionary, names, ambiguous, anti_names, longest_piece, api) {}

GeneralSegmentStrProcessor::GeneralSegmentStrProcessor(
    unsigned id, std::unique_ptr<AbstractStringProcessor> prior, const common::FilePath& dictionary,
    const common::FilePath& names, const common::FilePath& ambiguous,
    const common::FilePath& anti_names, unsigned longest_piece, const LexicutApi& api)
    : WordSegmentStrProcessor(
          id, std::move(prior),
          {"word segment",
           "load model failed. GeneralSegmentStrProcessor::GeneralSegmentStrProcessor()",
           "create out failed. GeneralSegmentStrProcessor::GeneralSegmentStrProcessor"},
          dictionary, names, ambiguous, anti_names, longest_piece, api) {}

}  // namespace koralite::textProcess
