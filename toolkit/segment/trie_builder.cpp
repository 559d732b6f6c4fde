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
  explicit DoubleArray(const std::vector<coded_key_t>& keys) : m_keys(keys) {
    grow(1);
    m_used[0] = true;
    place(0, 0, keys.size(), 0);
    while (!m_used.empty() && !m_used.back()) m_used.pop_back();
    m_base.resize(m_used.size());
    m_check.resize(m_used.size());
    m_values.resize(m_used.size());
  }

  std::vector<std::uint32_t> m_base;
  std::vector<std::uint32_t> m_check;
  std::vector<std::uint16_t> m_values;

 private:
  struct child_t {
    std::uint16_t code;
    std::size_t begin;
    std::size_t end;
  };

  void grow(std::size_t size) {
    if (size <= m_used.size()) return;
    size = std::max(size, m_used.size() + m_used.size() / 2 + 256);
    m_base.resize(size, 0);
    m_check.resize(size, 0xFFFFFFFF);
    m_values.resize(size, 0);
    m_used.resize(size, false);
  }

  bool fits(std::size_t base, const std::vector<child_t>& children) const {
    return std::all_of(children.begin(), children.end(), [&](const child_t& child) {
      const std::size_t at = base + child.code;
      return at >= m_used.size() || !m_used[at];
    });
  }

  // The lowest base at or after the cursor at which every child finds a free slot.
  std::size_t find_base(const std::vector<child_t>& children) {
    const std::size_t first_code = children.front().code;
    std::size_t taken = 0;
    std::size_t seen = 0;
    for (std::size_t at = std::max(m_cursor, first_code + 1);; ++at) {
      ++seen;
      if (at < m_used.size() && m_used[at]) {
        ++taken;
        continue;
      }
      if (!fits(at - first_code, children)) continue;
      if (taken * 20 >= seen * 19 && seen > 64) m_cursor = at;
      return at - first_code;
    }
  }

  // The keys [begin, end) share their first `depth` codes, which lead to `node`.
  void place(std::uint32_t node, std::size_t begin, std::size_t end, std::size_t depth) {
    std::vector<child_t> children;
    for (std::size_t i = begin; i < end;) {
      if (m_keys[i].first.size() == depth) {
        m_values[node] = m_keys[i].second;
        ++i;
        continue;
      }
      const std::uint16_t code = m_keys[i].first[depth];
      std::size_t last = i;
      while (last < end && m_keys[last].first[depth] == code) ++last;
      children.push_back({code, i, last});
      i = last;
    }
    if (children.empty()) return;
    const std::size_t base = find_base(children);
    grow(base + children.back().code + 1);
    m_base[node] = static_cast<std::uint32_t>(base);
    for (const child_t& child : children) {
      m_used[base + child.code] = true;
      m_check[base + child.code] = node;
    }
    for (const child_t& child : children) {
      place(static_cast<std::uint32_t>(base + child.code), child.begin, child.end, depth + 1);
    }
  }

  const std::vector<coded_key_t>& m_keys;
  std::vector<bool> m_used;
  std::size_t m_cursor = 1;
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
  if (points.empty() || points.size() > format::max_key_characters) {
    throw std::runtime_error("'" + std::string(key) + "' has no characters or more than 32");
  }
  if (value == 0) throw std::runtime_error("'" + std::string(key) + "' has the value 0");
  const auto [at, is_new] = m_keys.insert_or_assign(std::move(points), value);
  if (!is_new) return;
  for (const std::uint32_t character : at->first) ++m_characters[character];
}

void TrieBuilder::add_character(std::uint32_t character) {
  m_characters.try_emplace(character, 0);
}

std::map<std::uint32_t, std::uint16_t> TrieBuilder::codes() const {
  std::vector<std::pair<std::uint64_t, std::uint32_t>> order;
  for (const auto& [character, count] : m_characters) order.emplace_back(count, character);
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  if (order.size() > 0xFFFF) throw std::runtime_error("more than 65535 different characters");
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
  keys.reserve(m_keys.size());
  for (const auto& [points, value] : m_keys) {
    coded_key_t key{{}, value};
    for (const std::uint32_t character : points) key.first.push_back(code_of.at(character));
    keys.push_back(std::move(key));
  }
  std::sort(keys.begin(), keys.end());
  const DoubleArray array(keys);

  std::vector<std::uint16_t> blocks(format::block_count, 0xFFFF);
  std::vector<std::uint16_t> pages;
  for (const auto& [character, code] : code_of) {
    std::uint16_t& page = blocks[character >> 8];
    if (page == 0xFFFF) {
      page = static_cast<std::uint16_t>(pages.size() / format::codes_per_page);
      pages.resize(pages.size() + format::codes_per_page, 0);
    }
    pages[page * format::codes_per_page + (character & 255U)] = code;
  }

  ByteWriter out;
  out.put_text(magic);
  out.put_u32(static_cast<std::uint32_t>(pages.size() / format::codes_per_page));
  out.put_u32(static_cast<std::uint32_t>(array.m_base.size()));
  out.put_u32(static_cast<std::uint32_t>(extra.size()));
  out.put_u32(parameter);
  for (const std::uint16_t page : blocks) out.put_u16(page);
  for (const std::uint16_t code : pages) out.put_u16(code);
  for (const std::uint32_t base : array.m_base) out.put_u32(base);
  for (const std::uint32_t check : array.m_check) out.put_u32(check);
  for (const std::uint16_t value : array.m_values) out.put_u16(value);
  out.put_bytes(extra);
  write_file(path, out.bytes());
}

}  // namespace koralite::toolkit
