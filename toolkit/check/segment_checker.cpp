#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <vector>

#include "common/byte_reader.h"
#include "lexicut/trie_format.h"
#include "toolkit/check/resource_checker.h"

namespace koralite::toolkit {

namespace {

namespace format = lexicut_format;
using bytes_t = std::span<const unsigned char>;

constexpr std::uint32_t kNoNode = 0xFFFFFFFF;
constexpr std::uint16_t kNoPage = 0xFFFF;

std::uint32_t load16(bytes_t array, std::size_t i) {
  return common::load_le<std::uint16_t>(array.data() + 2 * i);
}
std::uint32_t load32(bytes_t array, std::size_t i) {
  return common::load_le<std::uint32_t>(array.data() + 4 * i);
}

// How many bytes a character takes in UTF-8.
std::uint32_t utf8_length(std::uint32_t character) {
  return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

class SegmentFile {
 public:
  SegmentFile(FileReport& report, SegmentKind kind) : report_(report), kind_(kind) {}

  void check(bytes_t bytes) {
    if (!read(bytes)) {
      return;
    }
    read_codes();
    check_nodes();
    if (kind_ == SegmentKind::kNames) {
      check_given_names();
    }
    if (kind_ == SegmentKind::kAmbiguous) {
      check_records();
    }
    report_.fact(std::to_string(keys_) + " keys, " + std::to_string(characters_.size() - 1) +
                 " characters");
  }

 private:
  bool read(bytes_t bytes) {
    constexpr std::array<const char*, 3> kMagics = {format::kDictionaryMagic, format::kNamesMagic,
                                                    format::kAmbiguousMagic};
    const char* magic = kMagics[static_cast<std::size_t>(kind_)];
    common::ByteReader reader(bytes);
    bytes_t head;
    std::uint32_t pages = 0;
    std::uint32_t extra = 0;
    std::uint32_t parameter = 0;
    if (!reader.read_bytes(format::kMagicSize, head) ||
        std::memcmp(head.data(), magic, format::kMagicSize) != 0) {
      report_.wrong("byte 0", std::string("does not begin with ") + magic);
      return false;
    }
    if (!reader.read_u32(pages) || !reader.read_u32(nodes_) || !reader.read_u32(extra) ||
        !reader.read_u32(parameter)) {
      report_.wrong("byte 8", "the file ends inside its head");
      return false;
    }
    if (nodes_ == 0) {
      report_.wrong("byte 12", "no nodes");
      return false;
    }
    const auto take = [&](const char* what, std::uint64_t count, std::uint64_t width,
                          bytes_t& array) {
      if (reader.fits(count, width) && reader.read_bytes(count * width, array)) {
        return true;
      }
      report_.wrong(at("byte", reader.position()), std::string(what) + " leave the file");
      return false;
    };
    if (!take("blocks", format::kBlockCount, 2, blocks_) ||
        !take("pages", std::uint64_t{pages} * format::kCodesPerPage, 2, pages_) ||
        !take("bases", nodes_, 4, base_) || !take("checks", nodes_, 4, check_) ||
        !take("values", nodes_, 2, values_) || !take("extra bytes", extra, 1, extra_)) {
      return false;
    }
    if (reader.position() != bytes.size()) {
      report_.wrong(at("byte", reader.position()), "bytes after the last section");
    }
    const bool is_ambiguous = kind_ == SegmentKind::kAmbiguous;
    if (is_ambiguous != (parameter == 0)) {
      report_.wrong("byte 20", "impossible parameter");
    }
    if (kind_ == SegmentKind::kWords && extra != 0) {
      report_.wrong("byte 16", "a word list has no extra bytes");
    }
    return true;
  }

  // The characters by their codes; index 0 is no code.
  void read_codes() {
    const std::size_t pages = pages_.size() / 2 / format::kCodesPerPage;
    std::vector<bool> used(pages);
    std::vector<std::uint32_t> character_of(0x10000, 0);
    std::vector<bool> has_code(0x10000, false);
    std::size_t codes = 0;
    for (std::size_t block = 0; block < format::kBlockCount; ++block) {
      const std::uint32_t page = load16(blocks_, block);
      if (page == kNoPage) {
        continue;
      }
      if (page >= pages || used[page]) {
        report_.wrong(at("block", block), page >= pages ? "its page is beyond the last one"
                                                        : "shares its page with another block");
        continue;
      }
      used[page] = true;
      for (std::size_t i = 0; i < format::kCodesPerPage; ++i) {
        const std::uint32_t code = load16(pages_, page * format::kCodesPerPage + i);
        if (code == 0) {
          continue;
        }
        const auto character = static_cast<std::uint32_t>(block * format::kCodesPerPage + i);
        if (has_code[code]) {
          report_.wrong(at("character", character), "shares its code with another one");
        }
        has_code[code] = true;
        character_of[code] = character;
        ++codes;
      }
    }
    for (std::size_t page = 0; page < pages; ++page) {
      if (!used[page]) {
        report_.wrong(at("page", page), "belongs to no block");
      }
    }
    characters_.assign(codes + 1, 0);
    for (std::size_t code = 1; code <= codes && code < has_code.size(); ++code) {
      if (!has_code[code]) {
        report_.wrong(at("code", code), "belongs to no character");
      }
      characters_[code] = character_of[code];
    }
  }

  // Every node hangs from another one, by a code that is one, and the root is above all of them.
  void check_nodes() {
    std::vector<std::uint32_t> depth(nodes_, 0);  // characters from the root; 0: not yet known
    std::vector<bool> has_children(nodes_);
    std::vector<std::uint32_t> path;
    bytes_.assign(nodes_, 0);
    const auto code_of = [&](std::uint32_t node) {  // 0 when it hangs from nothing
      const std::uint32_t parent = load32(check_, node);
      if (parent >= nodes_) {
        return std::uint32_t{0};
      }
      const std::uint64_t base = load32(base_, parent);
      const bool inside = base < node && node - base < characters_.size();
      return inside ? static_cast<std::uint32_t>(node - base) : 0;
    };
    if (load32(check_, 0) != kNoNode) {
      report_.wrong("node 0", "hangs from another node");
    }
    for (std::uint32_t node = 1; node < nodes_; ++node) {
      if (load32(check_, node) == kNoNode) {
        if (load16(values_, node) != 0 || load32(base_, node) != 0) {
          report_.wrong(at("node", node), "hangs from nothing, but is not empty");
        }
        continue;
      }
      // Up to the first node whose depth is known, then down again.
      path.clear();
      std::uint32_t top = node;
      while (top != 0 && depth[top] == 0 && path.size() <= format::kMaxKeyCharacters) {
        if (code_of(top) == 0) {
          break;
        }
        path.push_back(top);
        top = load32(check_, top);
      }
      if (top != 0 && depth[top] == 0) {
        report_.wrong(at("node", node), path.size() > format::kMaxKeyCharacters
                                            ? "no way from the root of 32 characters or less"
                                            : "its base and check do not agree");
        continue;
      }
      for (std::size_t i = path.size(); i-- > 0;) {
        const std::uint32_t parent = load32(check_, path[i]);
        depth[path[i]] = depth[parent] + 1;
        has_children[parent] = true;
        bytes_[path[i]] = bytes_[parent] + utf8_length(characters_[code_of(path[i])]);
      }
      if (depth[node] > format::kMaxKeyCharacters) {
        report_.wrong(at("node", node), "a key of more than 32 characters");
      }
    }
    for (std::uint32_t node = 0; node < nodes_; ++node) {
      const std::uint32_t value = load16(values_, node);
      if (value == 0) {
        if (depth[node] > 0 && !has_children[node]) {
          report_.wrong(at("node", node), "a way that ends at no key");
        }
        continue;
      }
      ++keys_;
      if (node == 0) {
        report_.wrong("node 0", "an empty key");
      }
      if (kind_ != SegmentKind::kAmbiguous && value < 2) {
        report_.wrong(at("node", node), "a key without cost");
      }
    }
  }

  void check_given_names() {
    const std::size_t wanted = characters_.size() * format::kGivenPositions * 2;
    if (extra_.size() != wanted) {
      return report_.wrong("byte 16", "extra bytes do not fit the number of characters");
    }
    for (std::size_t i = 0; i < extra_.size() / 2; ++i) {
      const std::uint32_t cost = load16(extra_, i);
      if (cost != format::kGivenUnseen && cost > format::kMaxCost) {
        report_.wrong(at("cost", i), "impossible cost of a given name");
      }
    }
  }

  // Each record once, in order, and each as long as the key that leads to it.
  void check_records() {
    common::ByteReader reader(extra_);
    std::uint32_t count = 0;
    if (!reader.read_u32(count) || !reader.fits(count, 4) || count > 0xFFFE) {
      return report_.wrong("extra bytes", "more records than the file holds");
    }
    std::vector<std::uint32_t> lengths;
    std::uint64_t expected = 4 * (std::uint64_t{count} + 1);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::string where = at("record", i + std::uint64_t{1});
      std::uint32_t offset = 0;
      reader.read_u32(offset);
      common::ByteReader record(extra_);
      std::uint8_t words = 0;
      bytes_t sizes;
      if (offset != expected || !record.seek(offset) || !record.read_u8(words) || words == 0 ||
          !record.read_bytes(words, sizes)) {
        return report_.wrong(where, "offset out of order or outside the file, or no words");
      }
      expected = record.position();
      std::uint32_t length = 0;
      for (const unsigned char size : sizes) {
        length += size;
      }
      if (std::find(sizes.begin(), sizes.end(), 0) != sizes.end()) {
        report_.wrong(where, "an empty word");
      }
      lengths.push_back(length);
    }
    if (expected != extra_.size()) {
      report_.wrong("end", "bytes after the last record");
    }
    std::vector<bool> used(count);
    for (std::uint32_t node = 0; node < nodes_; ++node) {
      const std::uint32_t value = load16(values_, node);
      if (value == 0) {
        continue;
      }
      if (value > count || used[value - 1]) {
        report_.wrong(at("node", node), value > count ? "record beyond the last one"
                                                      : "shares its record with another key");
        continue;
      }
      used[value - 1] = true;
      if (lengths[value - 1] != bytes_[node]) {
        report_.wrong(at("record", value), "its words are not as long as the key");
      }
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      if (!used[i]) {
        report_.wrong(at("record", i + std::uint64_t{1}), "belongs to no key");
      }
    }
  }

  FileReport& report_;
  SegmentKind kind_;
  std::uint32_t nodes_ = 0;
  bytes_t blocks_;
  bytes_t pages_;
  bytes_t base_;
  bytes_t check_;
  bytes_t values_;
  bytes_t extra_;
  std::vector<std::uint32_t> characters_;  // by code
  std::vector<std::uint32_t> bytes_;       // of the key that ends at a node
  std::uint64_t keys_ = 0;
};

}  // namespace

void check_segment_file(FileReport report, SegmentKind kind) {
  const auto file = report.open();
  if (file) {
    SegmentFile(report, kind).check(file->data());
  }
}

}  // namespace koralite::toolkit
