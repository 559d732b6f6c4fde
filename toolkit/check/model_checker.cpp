#include "toolkit/check/model_checker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>

#include "common/byte_reader.h"
#include "common/mapped_file.h"
#include "decoder/compressor.h"
#include "decoder/target_data.h"
#include "decoder/vocab.h"
#include "toolkit/check/file_report.h"
#include "toolkit/check/resource_checker.h"
#include "toolkit/folder/manifest.h"

namespace koralite::toolkit {

namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::uint16_t kGroupKey = 65535;

using bytes_t = std::span<const unsigned char>;

// Which protected spans a model was trained with; the others are unknown words to it.
std::string known_span_tags(const decoder::Vocab& vocab) {
  std::string known;
  for (const char* name : {"lit", "mark", "ph"}) {
    int id = 0;
    if (vocab.find(("<" + std::string(name) + ">#0").c_str(), id)) {
      known += (known.empty() ? "protected spans known as " : ", ") + std::string(name);
    }
  }
  return known.empty() ? "protected spans are unknown words" : known;
}

void check_vocab(FileReport report, const std::string& path, decoder::Vocab& vocab) {
  const auto file = report.open();
  if (!file) {
    return;
  }
  common::ByteReader reader(file->data());
  std::uint64_t entries = 0;
  std::uint64_t key_bytes = 0;
  if (!reader.read_u64(entries) || !reader.read_u64(key_bytes)) {
    return report.wrong("byte 0", "the file ends inside its head");
  }
  if (!reader.fits(entries, 4)) {
    return report.wrong("byte 0", "more entries than the file holds");
  }
  bytes_t keys;
  reader.skip(entries * 4);
  if (!reader.read_bytes(key_bytes, keys)) {
    return report.wrong("byte 8", "the strings leave the file");
  }
  if (reader.position() != file->size()) {
    report.wrong(at("byte", reader.position()), "bytes behind the last string");
  }
  std::string_view text(reinterpret_cast<const char*>(keys.data()), keys.size());
  std::string_view last;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) {
      report.wrong(at("string", i), "has no end");
      break;
    }
    const std::string_view word = text.substr(0, end);
    if (i > 0 && word <= last) {
      report.wrong(at("string", i), "out of order");
    }
    last = word;
    text.remove_prefix(end + 1);
  }
  try {
    vocab.load(path.c_str());
  } catch (const std::exception& error) {
    return report.wrong("ids", error.what());
  }
  const char* unknown = vocab.decode(decoder::Vocab::kFirstWordId);
  if (std::string_view(unknown) != "<unk>") {
    report.wrong("id 256", "is '" + std::string(unknown) + "', not '<unk>'");
  }
  report.fact(std::to_string(vocab.word_count()) + " words, " + std::to_string(vocab.ne_count()) +
              " tag words; " + known_span_tags(vocab));
}

void check_lang_tree(FileReport& report, std::uint64_t index, bytes_t nodes, std::size_t words,
                     std::uint64_t& ngrams) {
  const std::size_t count = nodes.size() / 8;
  // The group that begins at `first` is sound: keys ascend and stay inside.
  const auto check_group = [&](std::size_t first, std::size_t parent) {
    const std::string place = at("tree", index) + ", " + at("node", first);
    const auto key = common::load_le<std::uint16_t>(nodes.data() + first * 8);
    if (first != 0 && first <= parent) {
      return report.wrong(place, "link leads backwards");
    }
    if (key != kGroupKey) {
      return;
    }
    const auto children = common::load_le<std::uint16_t>(nodes.data() + first * 8 + 2);
    if (children == 0 || children >= count - first) {
      return report.wrong(place, "more children than the tree has nodes");
    }
    int last = -1;
    for (std::size_t i = first + 1; i <= first + children; ++i) {
      const auto child = common::load_le<std::uint16_t>(nodes.data() + i * 8);
      if (child <= last || child == kGroupKey) {
        return report.wrong(at("tree", index) + ", " + at("node", i), "keys out of order");
      }
      last = child;
    }
  };
  if (count == 0) {
    return;
  }
  check_group(0, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char* node = nodes.data() + i * 8;
    const auto key = common::load_le<std::uint16_t>(node);
    if (key == kGroupKey) {
      continue;
    }
    const std::string place = at("tree", index) + ", " + at("node", i);
    if (key >= words) {
      report.wrong(place, "word id beyond the vocabulary");
    }
    if ((common::load_le<std::uint16_t>(node + 6) & 0x8000) != 0) {
      ++ngrams;
    }
    const auto link = common::load_le<std::uint16_t>(node + 2);
    if (link <= 1) {
      continue;
    }
    if (link > count) {
      report.wrong(place, "link leaves the tree");
    } else {
      check_group(link - 1U, i);
    }
  }
}

void check_lang_model(FileReport report, std::size_t words) {
  const auto file = report.open();
  if (!file) {
    return;
  }
  const bytes_t bytes = file->data();
  common::ByteReader reader(bytes);
  std::uint16_t heads = 0;
  float offset = 0;
  std::int32_t positions = 0;
  if (!reader.read_u16(heads) || heads == 0) {
    return report.wrong("byte 0", "no words");
  }
  if (heads > words) {
    report.wrong("byte 0", "more words than the vocabulary");
  }
  const std::uint64_t head_start = reader.position();
  if (!reader.skip(heads * std::uint64_t{6}) || !reader.read_f32(offset) ||
      !reader.read_i32(positions)) {
    return report.wrong("head", "the file ends inside it");
  }
  if (!std::isfinite(offset) || offset > 0 || offset < -33) {
    report.wrong(at("byte", 2 + heads * std::uint64_t{6}), "impossible back-off offset");
  }
  if (positions < 0 || !reader.fits(static_cast<std::uint64_t>(positions), 4)) {
    return report.wrong(at("byte", reader.position() - 4), "impossible number of trees");
  }
  const auto trees = static_cast<std::uint64_t>(std::max(positions - 1, 0));
  std::vector<bool> used(trees);
  for (std::uint64_t w = 0; w < heads; ++w) {
    const auto tree = common::load_le<std::uint16_t>(bytes.data() + head_start + w * 6);
    if (tree == 65535) {
      continue;
    }
    if (tree >= trees) {
      report.wrong(at("word", w), "tree beyond the last one");
    } else if (used[tree]) {
      report.wrong(at("word", w), "shares its tree with another word");
    } else {
      used[tree] = true;
    }
  }
  std::uint64_t last = reader.position() + static_cast<std::uint64_t>(positions) * 4;
  std::uint64_t ngrams = heads;
  for (std::uint64_t i = 0; i <= trees && positions > 0; ++i) {
    std::uint32_t position = 0;
    reader.read_u32(position);
    const std::string place = at("tree", i);
    if (position < last || position > bytes.size()) {
      return report.wrong(place, "position out of order or outside the file");
    }
    last = position;
    if (i == trees) {
      if (position != bytes.size()) {
        report.wrong("end", "the last tree does not end the file");
      }
      break;
    }
    common::ByteReader tree(bytes);
    std::uint32_t count = 0;
    bytes_t nodes;
    if (!tree.seek(position) || !tree.read_u32(count) || !tree.fits(count, 8) ||
        !tree.read_bytes(std::uint64_t{count} * 8, nodes)) {
      return report.wrong(place, "more nodes than the file holds");
    }
    if (!used[i]) {
      report.wrong(place, "belongs to no word");
    }
    check_lang_tree(report, i, nodes, words, ngrams);
    last = position + 4 + std::uint64_t{count} * 8;
  }
  report.fact(std::to_string(heads - std::min<int>(heads, decoder::Vocab::kFirstWordId)) +
              " words, " + std::to_string(ngrams) + " n-grams");
}

struct phrase_check_t {
  bytes_t heads;
  bytes_t nodes;
  bytes_t data;
  std::size_t source_words = 0;
  std::size_t target_words = 0;
  const decoder::Compressor* compressor = nullptr;
  bool compact = false;
  std::uint64_t sources = 0;
  std::uint64_t targets = 0;
  std::uint64_t block_bytes = 0;  // of all blocks read; more than the file when they overlap
  std::vector<bool> seen;         // records of the trie
  std::vector<bool> seen_blocks;  // by where they begin
};

void check_block(FileReport& report, phrase_check_t& check, std::uint64_t offset) {
  const std::string place = at("block at byte", offset);
  common::ByteReader reader(check.data);
  std::uint32_t length = 0;
  bytes_t block;
  if (!reader.seek(offset) || !reader.read_u32(length) || !reader.read_bytes(length, block)) {
    return report.wrong(place, "leaves the file");
  }
  // Each phrase has a block of its own, so all are read once; damaged offsets must not cost more.
  check.block_bytes += 4 + std::uint64_t{length};
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
    for (decoder::target_entry_t entry; entries.next(check.compressor, entry);) {
      ++check.targets;
      if (entry.word_count == 0 || !entry.fits()) {
        report.wrong(place, "a phrase of " + std::to_string(entry.word_count) + " words");
        continue;
      }
      for (const int id : entry.words()) {
        if (id < 0 || static_cast<std::size_t>(id) >= check.target_words) {
          report.wrong(place, "word id beyond the target vocabulary");
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
  const std::uint64_t count = check.nodes.size() / 10;
  const std::string place = at("record", group);
  if (group >= count) {
    return nodes.wrong(place, "outside the file");
  }
  if (depth > 8) {
    return nodes.wrong(place, "a phrase of more than 8 words");
  }
  const unsigned char* first = check.nodes.data() + group * 10;
  std::uint64_t begin = group;
  std::uint64_t end = group + 1;
  if (common::load_le<std::uint16_t>(first) == kGroupKey) {
    const auto children = common::load_le<std::int32_t>(first + 2);
    if (children < 1 || children > 65535 ||
        static_cast<std::uint64_t>(children) > count - 1 - group) {
      return nodes.wrong(place, "impossible number of children");
    }
    if (check.seen[group]) {
      return nodes.wrong(place, "reached twice");
    }
    check.seen[group] = true;
    begin = group + 1;
    end = begin + static_cast<std::uint64_t>(children);
  }
  int last = -1;
  for (std::uint64_t i = begin; i < end; ++i) {
    const std::string here = at("record", i);
    const unsigned char* record = check.nodes.data() + i * 10;
    const auto key = common::load_le<std::uint16_t>(record);
    const auto link = common::load_le<std::int32_t>(record + 2);
    if (check.seen[i]) {
      return nodes.wrong(here, "reached twice");
    }
    check.seen[i] = true;
    if (key <= last) {
      nodes.wrong(here, "keys out of order");
    }
    last = key;
    if (key >= check.source_words) {
      nodes.wrong(here, "word id beyond the source vocabulary");
    }
    if (link == 0) {
      nodes.wrong(here, "link of 0");
      continue;
    }
    if (link < 0) {
      check_block(data, check, common::load_le<std::uint32_t>(record + 6));
    }
    const std::int64_t distance = link < 0 ? -std::int64_t{link} : link;
    if (distance == 1) {
      if (link > 0) {
        nodes.wrong(here, "neither a block nor children");
      }
      continue;
    }
    check_phrase_group(nodes, data, check, root, root + static_cast<std::uint64_t>(distance) - 1,
                       depth + 1);
  }
}

void check_phrases(check_report_t& out, const std::string& path, phrase_check_t& check) {
  FileReport head(out, path);
  FileReport nodes(out, path + ".nodes");
  FileReport data(out, path + ".data");
  const auto head_file = head.open();
  const auto node_file = nodes.open();
  const auto data_file = data.open();
  if (!head_file || !node_file || !data_file) {
    return;
  }
  check.nodes = node_file->data();
  check.data = data_file->data();
  check.seen.resize(check.nodes.size() / 10);
  check.seen_blocks.resize(check.data.size());
  if (check.nodes.size() % 10 != 0) {
    nodes.wrong("end", "an incomplete record");
  }
  common::ByteReader reader(head_file->data());
  std::uint64_t count = 0;
  std::uint64_t trailing = 0;
  if (!reader.read_u64(count) || !reader.fits(count, 8) ||
      !reader.read_bytes(count * 8, check.heads) || !reader.read_u64(trailing)) {
    return head.wrong("byte 0", "more words than the file holds");
  }
  if (reader.position() != head_file->size()) {
    head.wrong("end", "bytes behind the last entry");
  }
  if (trailing != check.seen.size()) {
    head.wrong("end", "another number of records than .nodes has");
  }
  if (count > check.source_words) {
    head.wrong("byte 0", "more words than the source vocabulary");
  }
  for (std::uint64_t w = 0; w < count; ++w) {
    const unsigned char* entry = check.heads.data() + w * 8;
    const auto offset = common::load_le<std::uint32_t>(entry);
    const auto group = common::load_le<std::uint32_t>(entry + 4);
    if (offset != kNone) {
      if (offset >= check.data.size()) {
        head.wrong(at("word", w), "its block leaves the data file");
      }
      check_block(data, check, offset);
    }
    if (group == kNone) {
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

std::optional<decoder::Compressor> check_quantifier(FileReport report, const std::string& path,
                                                    int score_size) {
  const auto file = report.open();
  if (!file) {
    return std::nullopt;
  }
  try {
    decoder::Compressor compressor(path, score_size);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < compressor.quantifiers().size(); ++i) {
      const auto& samples = compressor.quantifiers()[i].samples();
      bytes += 4 + 4 * samples.size();
      if (samples.size() > 256) {
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
      report.wrong(at("byte", bytes), "bytes behind the last sample");
    }
    report.fact(std::to_string(compressor.quantifiers().size()) + " scores");
    return compressor;
  } catch (const std::exception& error) {
    report.wrong("", error.what());
    return std::nullopt;
  }
}

}  // namespace

check_report_t check_model_folder(const model_folder_t& folder, bool with_manifest) {
  check_report_t out;
  try {
    if (with_manifest) {
      out.problems = verify_manifest(folder, read_manifest(folder.path));
    }
  } catch (const std::exception& error) {
    out.problems.emplace_back(error.what());
  }
  const decoder::Parameter& p = folder.decoder;
  const auto path = [&](const std::string& name) { return folder.file(name); };
  decoder::Vocab source;
  decoder::Vocab target;
  check_vocab({out, path(p.source_vocab)}, path(p.source_vocab), source);
  check_vocab({out, path(p.target_vocab)}, path(p.target_vocab), target);
  target.encode("<s>");
  target.encode("</s>");
  const auto ids = [](const decoder::Vocab& vocab) {
    return decoder::Vocab::kFirstWordId + vocab.word_count();
  };
  check_lang_model({out, path(p.lang_model)}, ids(target));

  const int score_size = p.prune ? 7 : 9;
  std::optional<decoder::Compressor> compressor;
  if (p.compress) {
    const std::string name = path(p.compress_vocab);
    compressor = check_quantifier({out, name}, name, score_size);
  }
  phrase_check_t phrases;
  phrases.source_words = ids(source);
  phrases.target_words = ids(target);
  phrases.compact = p.compress;
  phrases.compressor = compressor ? &*compressor : nullptr;
  decoder::TargetData::s_score_size = score_size;
  check_phrases(out, path(p.trans_model), phrases);

  const engine_config_t& engine = folder.engine;
  const auto check = [&](const std::string& name, const auto& how, auto... more) {
    if (!name.empty()) {
      how(FileReport(out, path(name)), more...);
    }
  };
  check(engine.segment, check_segment_file, SegmentKind::kWords);
  check(engine.segment_name, check_segment_file, SegmentKind::kNames);
  check(engine.ambiguous_path, check_segment_file, SegmentKind::kAmbiguous);
  check(engine.pinyin, check_pinyin_file);
  check(engine.anti_name, check_record_file, RecordKind::kSorted);
  check(engine.entities, check_record_file, RecordKind::kEntities);
  check(engine.recase, check_record_file, RecordKind::kRecase);
  check(engine.rules, check_record_file, RecordKind::kRules);
  return out;
}

}  // namespace koralite::toolkit
