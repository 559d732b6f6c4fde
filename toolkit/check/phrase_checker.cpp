#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <span>
#include <vector>

#include "common/byte_reader.h"
#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"
#include "toolkit/check/model_files.h"

namespace koralite::toolkit {

namespace phrase_format = decoder::phrase_table_format;

namespace {

using bytes_t = std::span<const unsigned char>;

struct phrase_check_t : phrase_models_t {
  bytes_t heads;
  bytes_t nodes;
  bytes_t data;
  std::vector<int> phrase;  // source ids on the way to the block that is read
  std::uint64_t sources = 0;
  std::uint64_t targets = 0;
  std::uint64_t block_bytes = 0;  // of all blocks read; more than the file when they overlap
  std::vector<bool> seen;         // records of the trie
  std::vector<bool> seen_blocks;  // by where they begin
};

// Whether the source phrase has the span that a tag word of a target phrase stands for: the digit
// says which one of those with the same tag.
bool matches_source(const phrase_check_t& check, int id) {
  int base = 0;
  int index = 0;
  if (!decoder::Vocab::get_ne_info(id, base, index)) {
    return true;
  }
  return check.source->find_nth(check.phrase, check.target->decode(base), index) <
         check.phrase.size();
}

// The codes of the compact entry at the front of `block`, which is whole.
void check_codes(FileReport& report, const phrase_check_t& check, const std::string& place,
                 bytes_t block) {
  const auto& lists = check.compressor->quantifiers();
  const bytes_t codes = block.subspan(phrase_format::kCompactCountSize +
                                      phrase_format::kCompactWordSize * std::size_t{block.front()});
  for (std::size_t i = 0; i < lists.size(); ++i) {
    if (codes[i] >= lists[i].samples().size()) {
      report.wrong(place, "a code beyond the samples of " + at("score", i));
    }
  }
  for (std::size_t i = lists.size(); i < lists.size() + phrase_format::kReorderTriples; ++i) {
    if (codes[i] >= decoder::Compressor::kReorderIndexes) {
      report.wrong(place, "a reordering index beyond 215");
    }
  }
}

void check_block(FileReport& report, phrase_check_t& check, std::uint64_t offset) {
  const std::string place = at("block at byte", offset);
  common::ByteReader reader(check.data);
  std::uint32_t length = 0;
  bytes_t block;
  if (!reader.seek(offset) || !reader.read_u32(length) || !reader.read_bytes(length, block)) {
    return report.wrong(place, "leaves the file");
  }
  // Each phrase has a block of its own, so all are read once; damaged offsets must not cost more.
  check.block_bytes += phrase_format::kBlockLengthSize + std::uint64_t{length};
  if (check.seen_blocks[offset] || check.block_bytes > check.data.size()) {
    return report.wrong(place, "overlaps another block");
  }
  check.seen_blocks[offset] = true;
  ++check.sources;
  if (check.compact && check.compressor == nullptr) {
    return;
  }
  decoder::TargetData entries;
  entries.view(block);
  entries.begin();
  try {
    std::size_t begin = 0;
    for (decoder::target_entry_t entry; entries.next(check.compressor, entry);) {
      ++check.targets;
      if (check.compact) {
        check_codes(report, check, place, block.subspan(begin));
        begin += phrase_format::compact_entry_size(entry.word_count,
                                                   check.compressor->quantifiers().size());
      }
      if (entry.word_count == 0 || !entry.fits()) {
        report.wrong(place, "a phrase of " + std::to_string(entry.word_count) + " words");
        continue;
      }
      for (const int id : entry.words()) {
        if (!check.target->has_id(id)) {
          report.wrong(place, "a word id that the target vocabulary does not have");
        } else if (!matches_source(check, id)) {
          report.wrong(place, "a tag word that stands for no span of the source phrase");
        }
      }
      for (std::size_t i = 0; i < entry.score_count; ++i) {
        if (!std::isfinite(entry.scores[i])) {
          report.wrong(place, "a score that is no number");
        }
      }
    }
  } catch (const std::exception&) {
    report.wrong(place, "an entry runs past the end of its block");
  }
}

// The group that begins at record `group`, and all below it.
void check_phrase_group(FileReport& nodes, FileReport& data, phrase_check_t& check,
                        std::uint64_t root, std::uint64_t group, int depth) {
  const std::uint64_t count = check.nodes.size() / phrase_format::kRecordSize;
  const std::string place = at("record", group);
  if (group >= count) {
    return nodes.wrong(place, "outside the file");
  }
  if (depth > static_cast<int>(phrase_format::kMaxSourceWords)) {
    return nodes.wrong(place, "a phrase of more than 8 words");
  }
  const auto record_at = [&](std::uint64_t i) {
    return phrase_format::read_record(check.nodes.data() + i * phrase_format::kRecordSize);
  };
  const phrase_format::record_t first = record_at(group);
  std::uint64_t begin = group;
  std::uint64_t end = group + 1;
  if (first.is_header()) {
    if (first.link < 1 || first.link > phrase_format::kMaxChildren ||
        static_cast<std::uint64_t>(first.link) > count - 1 - group) {
      return nodes.wrong(place, "impossible number of children");
    }
    if (check.seen[group]) {
      return nodes.wrong(place, "reached twice");
    }
    check.seen[group] = true;
    begin = group + 1;
    end = begin + static_cast<std::uint64_t>(first.link);
  }
  int last = -1;
  for (std::uint64_t i = begin; i < end; ++i) {
    const std::string here = at("record", i);
    const phrase_format::record_t record = record_at(i);
    if (check.seen[i]) {
      return nodes.wrong(here, "reached twice");
    }
    check.seen[i] = true;
    if (record.key <= last) {
      nodes.wrong(here, "keys out of order");
    }
    last = record.key;
    if (!check.source->has_id(record.key)) {
      nodes.wrong(here, "a word id that the source vocabulary does not have");
    }
    check.phrase.resize(static_cast<std::size_t>(depth) - 1);
    check.phrase.push_back(record.key);
    if (record.link == 0) {
      nodes.wrong(here, "link of 0");
      continue;
    }
    if (record.has_block()) {
      check_block(data, check, record.offset);
    }
    if (!record.has_children()) {
      if (!record.has_block()) {
        nodes.wrong(here, "neither a block nor children");
      }
      continue;
    }
    check_phrase_group(nodes, data, check, root,
                       root + static_cast<std::uint64_t>(record.distance()) - 1, depth + 1);
  }
}

}  // namespace

void check_phrases(check_report_t& out, const std::string& path, const phrase_models_t& models) {
  phrase_check_t check;
  static_cast<phrase_models_t&>(check) = models;
  FileReport head(out, path);
  FileReport nodes(out, path + phrase_format::kNodesSuffix);
  FileReport data(out, path + phrase_format::kDataSuffix);
  const auto head_file = head.open();
  const auto node_file = nodes.open();
  const auto data_file = data.open();
  if (!head_file || !node_file || !data_file) {
    return;
  }
  check.nodes = node_file->data();
  check.data = data_file->data();
  check.seen.resize(check.nodes.size() / phrase_format::kRecordSize);
  check.seen_blocks.resize(check.data.size());
  if (check.nodes.size() % phrase_format::kRecordSize != 0) {
    nodes.wrong("end", "an incomplete record");
  }
  common::ByteReader reader(head_file->data());
  std::uint64_t count = 0;
  std::uint64_t trailing = 0;
  if (!reader.read_u64(count) || !reader.fits(count, phrase_format::kHeadSize) ||
      !reader.read_bytes(count * phrase_format::kHeadSize, check.heads) ||
      !reader.read_u64(trailing)) {
    return head.wrong("byte 0", "more words than the file holds");
  }
  if (reader.position() != head_file->size()) {
    head.wrong("end", "bytes after the last entry");
  }
  if (trailing != check.seen.size()) {
    head.wrong("end", "another number of records than .nodes has");
  }
  if (count > decoder::Vocab::kFirstWordId + check.source->word_count()) {
    head.wrong("byte 0", "more words than the source vocabulary");
  }
  for (std::uint64_t w = 0; w < count; ++w) {
    const auto [offset, group] =
        phrase_format::read_head(check.heads.data() + w * phrase_format::kHeadSize);
    check.phrase.assign(1, static_cast<int>(w));
    if (offset != phrase_format::kNone) {
      if (offset >= check.data.size()) {
        head.wrong(at("word", w), "its block leaves the data file");
      }
      check_block(data, check, offset);
    }
    if (group == phrase_format::kNone) {
      continue;
    }
    if (group >= check.seen.size()) {
      head.wrong(at("word", w), "its group leaves the nodes file");
    } else {
      check_phrase_group(nodes, data, check, group, group, 2);
    }
  }
  if (nodes.is_sound()) {
    const auto lost = std::count(check.seen.begin(), check.seen.end(), false);
    if (lost > 0) {
      nodes.wrong("", std::to_string(lost) + " records that no phrase reaches");
    }
  }
  if (head.is_sound() && nodes.is_sound() && data.is_sound() &&
      check.block_bytes != check.data.size()) {
    data.wrong("", std::to_string(check.data.size() - check.block_bytes) +
                       " bytes that no phrase reaches");
  }
  head.fact(std::to_string(check.sources) + " source phrases, " + std::to_string(check.targets) +
            " phrase pairs");
}

std::optional<decoder::Compressor> check_quantifier(FileReport report, int score_size) {
  const auto file = report.open();
  if (!file) {
    return std::nullopt;
  }
  try {
    decoder::Compressor compressor(report.path(), score_size);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < compressor.quantifiers().size(); ++i) {
      const auto& samples = compressor.quantifiers()[i].samples();
      bytes += 4 + 4 * samples.size();
      if (samples.empty()) {
        report.wrong(at("score", i), "no samples");
      }
      if (samples.size() > phrase_format::kMaxSamples) {
        report.wrong(at("score", i), "more than 256 samples");
      }
      for (std::size_t k = 0; k < samples.size(); ++k) {
        if (!std::isfinite(samples[k])) {
          report.wrong(at("score", i), "a sample that is no number");
        }
        if (k > 0 && samples[k] <= samples[k - 1]) {
          report.wrong(at("score", i), "out of order");
        }
      }
    }
    if (bytes != file->size()) {
      report.wrong(at("byte", bytes), "bytes after the last sample");
    }
    report.fact(std::to_string(compressor.quantifiers().size()) + " scores");
    return compressor;
  } catch (const std::exception& error) {
    report.wrong("", error.what());
    return std::nullopt;
  }
}

}  // namespace koralite::toolkit
