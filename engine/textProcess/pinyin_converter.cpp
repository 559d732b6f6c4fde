#include "textProcess/pinyin_converter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "common/byte_reader.h"
#include "textProcess/tmining_util.h"

namespace koralite::textProcess {
namespace {

constexpr std::size_t kCharacterBytes = 3;
constexpr std::size_t kEntryBytes = kCharacterBytes + 2;

void require(bool there) {
  if (!there) {
    throw std::runtime_error("Invalid input file for PackFreeInput");
  }
}

}  // namespace

PinyinConverter::PinyinConverter(const common::FilePath& path) {
  file_ = common::MappedFile::need(path, "Cannot open the input pinyin file!");

  common::ByteReader reader(file_.data());
  std::uint32_t characters = 0;
  require(reader.read_u32(characters));
  if (characters == 0) {
    // Programs compare this text, so its spelling stays.
    throw std::runtime_error("Invalidate wordSize in the Pinyin File");
  }
  require(reader.read_bytes(std::uint64_t{characters} * kEntryBytes, entries_));

  std::uint32_t count = 0;
  std::uint32_t longest = 0;
  require(reader.read_u32(count));
  require(reader.read_u32(longest));
  if (count == 0 || longest == 0) {
    // Programs compare this text, so its spelling stays.
    throw std::runtime_error("Invalidate Pinyin Info in the Pinyin File");
  }
  const std::uint64_t slot_size = std::uint64_t{longest} + 1;
  require(reader.fits(count, slot_size));
  require(reader.read_bytes(count * slot_size, slots_));
  slot_size_ = static_cast<std::size_t>(slot_size);
}

std::string_view PinyinConverter::find(std::string_view character) const {
  std::size_t low = 0;
  std::size_t high = entries_.size() / kEntryBytes;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const unsigned char* entry = entries_.data() + middle * kEntryBytes;
    const int order = std::memcmp(entry, character.data(), kCharacterBytes);
    if (order == 0) {
      const std::size_t index = common::load_le<std::uint16_t>(entry + kCharacterBytes);
      if (index >= slots_.size() / slot_size_) {
        return {};
      }
      const char* slot = reinterpret_cast<const char*>(slots_.data()) + index * slot_size_;
      return {slot, static_cast<std::size_t>(std::find(slot, slot + slot_size_, '\0') - slot)};
    }
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return {};
}

bool PinyinConverter::get_pinyin(std::string_view text, std::string& out) const {
  out.clear();
  while (!text.empty()) {
    const int length = text_get_utf8_char_len(text);
    if (length < 1) {
      return false;
    }
    const std::string_view character = text.substr(0, static_cast<std::size_t>(length));
    if (character.size() == 1) {
      out += character;
    } else if (character.size() == kCharacterBytes) {
      out += find(character);
    }
    text.remove_prefix(character.size());
  }
  return true;
}

void capitalise_first(std::string& text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
  }
}

void PinyinTranslator::translate(const char* word, std::string& result) const {
  result.clear();
  if (!copies()) {
    return;
  }
  converter_->get_pinyin(word, result);  // what comes before a broken byte still counts
  capitalise_first(result);
}

}  // namespace koralite::textProcess
