#include "toolkit/pack/phrase_trie.h"

#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include "decoder/phrase_table_format.h"
#include "toolkit/io/byte_writer.h"

namespace koralite::toolkit {

namespace format = decoder::phrase_table_format;

namespace {

using format::record_t;

// All records below one first word, group by group, level by level. A group is the phrases that
// agree in the words before; it hangs on the record of the last of these.
class Subtree {
 public:
  explicit Subtree(std::span<const trie_phrase_t> phrases) : phrases_(phrases) {
    groups_.push_back({0, phrases.size(), 1, 0});
    for (std::size_t i = 0; i < groups_.size(); ++i) {
      lay(groups_[i]);
    }
  }

  const std::vector<record_t>& records() const { return records_; }

 private:
  struct group_t {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t depth = 0;
    std::size_t parent = 0;
  };

  void lay(const group_t group) {
    const std::size_t start = records_.size();
    if (group.depth > 1) {
      // Links count from one before the first group, and a negative one tells of a block.
      const auto distance = static_cast<std::int64_t>(start) + 1;
      if (distance > std::numeric_limits<std::int32_t>::max()) {
        throw std::runtime_error("too many source phrases begin with the same word");
      }
      record_t& parent = records_[group.parent];
      parent.link = static_cast<std::int32_t>(parent.link < 0 ? -distance : distance);
    }
    records_.emplace_back();  // the header, should there be more than one child
    std::int32_t children = 0;
    for (std::size_t i = group.begin; i < group.end; ++children) {
      const std::int32_t word = phrases_[i].words[group.depth];
      std::size_t end = i;
      while (end < group.end && phrases_[end].words[group.depth] == word) {
        ++end;
      }
      if (children > 0 || end < group.end) {
        records_.emplace_back();
      }
      record_t& child = records_.back();
      child.key = static_cast<std::uint16_t>(word);
      if (phrases_[i].words.size() == group.depth + 1) {
        child.link = -1;
        child.offset = phrases_[i].offset;
        ++i;
      }
      if (i < end) {
        groups_.push_back({i, end, group.depth + 1, records_.size() - 1});
      }
      i = end;
    }
    if (children > 1) {
      records_[start] = {format::kGroupKey, children, 0};
    }
  }

  std::span<const trie_phrase_t> phrases_;
  std::vector<record_t> records_;
  std::vector<group_t> groups_;
};

}  // namespace

void write_phrase_trie(std::span<const trie_phrase_t> phrases, AtomicFile& head,
                       AtomicFile& nodes) {
  const std::uint64_t count =
      phrases.empty() ? 0 : static_cast<std::uint64_t>(phrases.back().words[0]) + 1;
  ByteWriter heads;
  heads.put_u64(count);
  std::uint64_t written = 0;
  std::size_t next = 0;
  for (std::uint64_t word = 0; word < count; ++word) {
    std::size_t end = next;
    while (end < phrases.size() && static_cast<std::uint64_t>(phrases[end].words[0]) == word) {
      ++end;
    }
    format::head_t entry;
    if (next < end && phrases[next].words.size() == 1) {
      entry.offset = phrases[next++].offset;
    }
    if (next < end) {
      if (written >= format::kNone) {
        throw std::runtime_error("too many source phrases");
      }
      entry.first_group = static_cast<std::uint32_t>(written);
      const Subtree subtree(phrases.subspan(next, end - next));
      ByteWriter out;
      for (const record_t& record : subtree.records()) {
        out.put_u16(record.key);
        out.put_i32(record.link);
        out.put_u32(record.offset);
      }
      nodes.write(out.bytes());
      written += subtree.records().size();
    }
    heads.put_u32(entry.offset);
    heads.put_u32(entry.first_group);
    next = end;
  }
  heads.put_u64(written);
  head.write(heads.bytes());
}

}  // namespace koralite::toolkit
