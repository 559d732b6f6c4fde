#include "toolkit/segment/trie_builder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "lexicut/trie_format.h"
#include "lexicut/utf8.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/io/byte_writer.h"

namespace koralite::toolkit {

namespace format = lexicut_format;

namespace {

using coded_key_t = std::pair<std::vector<std::uint16_t>, std::uint16_t>;

// Places nodes depth first. Free slots are found by a cursor that never goes back past slots that
// are nearly all taken, which keeps the building time close to linear.
class DoubleArray {
 public:
  explicit DoubleArray(const std::vector<coded_key_t>& keys) : keys_(keys) {
    grow(1);
    used_[0] = true;
    place(0, 0, keys.size(), 0);
    while (!used_.empty() && !used_.back()) {
      used_.pop_back();
    }
    base_.resize(used_.size());
    check_.resize(used_.size());
    values_.resize(used_.size());
  }

  std::vector<std::uint32_t> base_;
  std::vector<std::uint32_t> check_;
  std::vector<std::uint16_t> values_;

 private:
  struct child_t {
    std::uint16_t code;
    std::size_t begin;
    std::size_t end;
  };

  void grow(std::size_t size) {
    if (size <= used_.size()) {
      return;
    }
    size = std::max(size, used_.size() + used_.size() / 2 + 256);
    base_.resize(size, 0);
    check_.resize(size, 0xFFFFFFFF);
    values_.resize(size, 0);
    used_.resize(size, false);
  }

  bool fits(std::size_t base, const std::vector<child_t>& children) const {
    return std::all_of(children.begin(), children.end(), [&](const child_t& child) {
      const std::size_t at = base + child.code;
      return at >= used_.size() || !used_[at];
    });
  }

  // The lowest base at or after the cursor at which every child finds a free slot.
  std::size_t find_base(const std::vector<child_t>& children) {
    const std::size_t first_code = children.front().code;
    std::size_t taken = 0;
    std::size_t seen = 0;
    for (std::size_t at = std::max(cursor_, first_code + 1);; ++at) {
      ++seen;
      if (at < used_.size() && used_[at]) {
        ++taken;
        continue;
      }
      if (!fits(at - first_code, children)) {
        continue;
      }
      if (taken * 20 >= seen * 19 && seen > 64) {
        cursor_ = at;
      }
      return at - first_code;
    }
  }

  // The keys [begin, end) share their first `depth` codes, which lead to `node`.
  void place(std::uint32_t node, std::size_t begin, std::size_t end, std::size_t depth) {
    std::vector<child_t> children;
    for (std::size_t i = begin; i < end;) {
      if (keys_[i].first.size() == depth) {
        values_[node] = keys_[i].second;
        ++i;
        continue;
      }
      const std::uint16_t code = keys_[i].first[depth];
      std::size_t last = i;
      while (last < end && keys_[last].first[depth] == code) {
        ++last;
      }
      children.push_back({code, i, last});
      i = last;
    }
    if (children.empty()) {
      return;
    }
    const std::size_t base = find_base(children);
    grow(base + children.back().code + 1);
    base_[node] = static_cast<std::uint32_t>(base);
    for (const child_t& child : children) {
      used_[base + child.code] = true;
      check_[base + child.code] = node;
    }
    for (const child_t& child : children) {
      place(static_cast<std::uint32_t>(base + child.code), child.begin, child.end, depth + 1);
    }
  }

  const std::vector<coded_key_t>& keys_;
  std::vector<bool> used_;
  std::size_t cursor_ = 1;
};

}  // namespace

std::vector<std::uint32_t> strict_code_points(std::string_view text) {
  std::vector<std::uint32_t> points;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  for (std::size_t i = 0; i < text.size();) {
    std::uint32_t character = 0;
    i += lexicut_utf8::decode(bytes + i, static_cast<std::uint32_t>(text.size() - i), character);
    if (character >= 0x110000) {
      throw std::runtime_error("'" + std::string(text) + "' is not valid UTF-8");
    }
    points.push_back(character);
  }
  return points;
}

void TrieBuilder::add(std::string_view key, std::uint16_t value) {
  std::vector<std::uint32_t> points = strict_code_points(key);
  if (points.empty() || points.size() > format::kMaxKeyCharacters) {
    throw std::runtime_error("'" + std::string(key) + "' has no characters or more than 32");
  }
  if (value == 0) {
    throw std::runtime_error("'" + std::string(key) + "' has the value 0");
  }
  const auto [at, is_new] = keys_.insert_or_assign(std::move(points), value);
  if (!is_new) {
    return;
  }
  for (const std::uint32_t character : at->first) {
    ++characters_[character];
  }
}

void TrieBuilder::add_character(std::uint32_t character) {
  characters_.try_emplace(character, 0);
}

std::map<std::uint32_t, std::uint16_t> TrieBuilder::codes() const {
  std::vector<std::pair<std::uint64_t, std::uint32_t>> order;
  for (const auto& [character, count] : characters_) {
    order.emplace_back(count, character);
  }
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  if (order.size() > 0xFFFF) {
    throw std::runtime_error("more than 65535 different characters");
  }
  std::map<std::uint32_t, std::uint16_t> codes;
  for (std::size_t i = 0; i < order.size(); ++i) {
    codes[order[i].second] = static_cast<std::uint16_t>(i + 1);
  }
  return codes;
}

void TrieBuilder::write(const std::string& path, std::string_view magic, std::uint32_t parameter,
                        const std::vector<unsigned char>& extra) const {
  const auto code_of = codes();
  std::vector<coded_key_t> keys;
  keys.reserve(keys_.size());
  for (const auto& [points, value] : keys_) {
    coded_key_t key{{}, value};
    for (const std::uint32_t character : points) {
      key.first.push_back(code_of.at(character));
    }
    keys.push_back(std::move(key));
  }
  std::sort(keys.begin(), keys.end());
  const DoubleArray array(keys);

  std::vector<std::uint16_t> blocks(format::kBlockCount, 0xFFFF);
  std::vector<std::uint16_t> pages;
  for (const auto& [character, code] : code_of) {
    std::uint16_t& page = blocks[character >> 8];
    if (page == 0xFFFF) {
      page = static_cast<std::uint16_t>(pages.size() / format::kCodesPerPage);
      pages.resize(pages.size() + format::kCodesPerPage, 0);
    }
    pages[page * format::kCodesPerPage + (character & 255U)] = code;
  }

  ByteWriter out;
  out.put_text(magic);
  out.put_u32(static_cast<std::uint32_t>(pages.size() / format::kCodesPerPage));
  out.put_u32(static_cast<std::uint32_t>(array.base_.size()));
  out.put_u32(static_cast<std::uint32_t>(extra.size()));
  out.put_u32(parameter);
  for (const std::uint16_t page : blocks) {
    out.put_u16(page);
  }
  for (const std::uint16_t code : pages) {
    out.put_u16(code);
  }
  for (const std::uint32_t base : array.base_) {
    out.put_u32(base);
  }
  for (const std::uint32_t check : array.check_) {
    out.put_u32(check);
  }
  for (const std::uint16_t value : array.values_) {
    out.put_u16(value);
  }
  out.put_bytes(extra);
  write_file(path, out.bytes());
}

}  // namespace koralite::toolkit
