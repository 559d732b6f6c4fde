#include "toolkit/check/model_checker.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>

#include "common/byte_reader.h"
#include "common/mapped_file.h"
#include "common/pick_conf.h"
#include "decoder/compressor.h"
#include "decoder/lang_model_format.h"
#include "decoder/phrase_table_format.h"
#include "decoder/target_data.h"
#include "decoder/vocab.h"
#include "toolkit/check/file_report.h"
#include "toolkit/check/resource_checker.h"
#include "toolkit/folder/manifest.h"

namespace koralite::toolkit {

namespace lm_format = decoder::lang_model_format;
namespace phrase_format = decoder::phrase_table_format;

namespace {

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
  const std::size_t count = nodes.size() / lm_format::kNodeSize;
  const auto node_at = [&](std::size_t i) {
    return lm_format::read_node(nodes.data() + i * lm_format::kNodeSize);
  };
  if (count == 0) {
    return report.wrong(at("tree", index), "has no nodes");
  }
  std::vector<bool> reached(count);
  const auto reach = [&](std::size_t node) {
    if (reached[node]) {
      report.wrong(at("tree", index) + ", " + at("node", node), "reached twice");
    }
    reached[node] = true;
  };
  // The group that begins at `first` is sound: keys ascend and stay inside.
  const auto check_group = [&](std::size_t first, std::size_t parent) {
    const std::string place = at("tree", index) + ", " + at("node", first);
    const lm_format::node_t node = node_at(first);
    if (first != 0 && first <= parent) {
      return report.wrong(place, "link leads backwards");
    }
    reach(first);
    if (!node.is_header()) {
      return;
    }
    const std::size_t children = node.link;
    if (children == 0 || children >= count - first) {
      return report.wrong(place, "more children than the tree has nodes");
    }
    int last = -1;
    for (std::size_t i = first + 1; i <= first + children; ++i) {
      const std::uint16_t child = node_at(i).key;
      if (child <= last || child == lm_format::kGroupKey) {
        return report.wrong(at("tree", index) + ", " + at("node", i), "keys out of order");
      }
      last = child;
      reach(i);
    }
  };
  check_group(0, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const lm_format::node_t node = node_at(i);
    if (node.is_header()) {
      continue;
    }
    const std::string place = at("tree", index) + ", " + at("node", i);
    if (node.key >= words) {
      report.wrong(place, "word id beyond the vocabulary");
    }
    if (node.is_entry()) {
      ++ngrams;
    }
    if (!node.has_children()) {
      continue;
    }
    if (node.link > count) {
      report.wrong(place, "link leaves the tree");
    } else {
      check_group(node.child_group(), i);
    }
  }
  const auto lost = std::count(reached.begin(), reached.end(), false);
  if (lost > 0) {
    report.wrong(at("tree", index), std::to_string(lost) + " nodes that no link reaches");
  }
}

void check_lang_model(FileReport report, const decoder::Vocab& target) {
  const auto file = report.open();
  if (!file) {
    return;
  }
  const bytes_t bytes = file->data();
  common::ByteReader reader(bytes);
  std::uint16_t heads = 0;
  float offset = 0;
  std::int32_t positions = 0;
  const std::size_t words = decoder::Vocab::kFirstWordId + target.word_count();
  if (!reader.read_u16(heads) || heads == 0) {
    return report.wrong("byte 0", "no words");
  }
  if (heads > words) {
    report.wrong("byte 0", "more words than the vocabulary");
  }
  const std::uint64_t head_start = reader.position();
  if (!reader.skip(heads * std::uint64_t{lm_format::kHeadSize}) || !reader.read_f32(offset) ||
      !reader.read_i32(positions)) {
    return report.wrong("head", "the file ends inside it");
  }
  if (!std::isfinite(offset) || offset > 0 || offset < -33) {
    report.wrong(at("byte", lm_format::kHeadsAt + heads * std::uint64_t{lm_format::kHeadSize}),
                 "impossible back-off offset");
  }
  if (positions < 0 ||
      !reader.fits(static_cast<std::uint64_t>(positions), lm_format::kPositionSize)) {
    return report.wrong(at("byte", reader.position() - 4), "impossible number of trees");
  }
  const auto trees = static_cast<std::uint64_t>(std::max(positions - 1, 0));
  std::vector<bool> used(trees);
  for (std::uint64_t w = 0; w < heads; ++w) {
    const std::uint16_t tree =
        lm_format::read_head(bytes.data() + head_start + w * lm_format::kHeadSize).tree;
    if (tree == lm_format::kNoTree) {
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
  std::uint64_t last =
      reader.position() + static_cast<std::uint64_t>(positions) * lm_format::kPositionSize;
  std::uint64_t ngrams = heads;
  for (std::uint64_t i = 0; i <= trees && positions > 0; ++i) {
    std::uint32_t position = 0;
    reader.read_u32(position);
    const std::string place = at("tree", i);
    if (position < last || position > bytes.size()) {
      return report.wrong(place, "position out of order or outside the file");
    }
    // The builder fills up with zeros so that nodes stand on eight bytes.
    const bytes_t between = bytes.subspan(last, position - last);
    if (between.size() >= lm_format::kNodeAlignment ||
        std::any_of(between.begin(), between.end(), [](unsigned char byte) { return byte != 0; })) {
      report.wrong(at("byte", last),
                   std::to_string(between.size()) + " bytes that no tree reaches");
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
    if (!tree.seek(position) || !tree.read_u32(count) || !tree.fits(count, lm_format::kNodeSize) ||
        !tree.read_bytes(std::uint64_t{count} * lm_format::kNodeSize, nodes)) {
      return report.wrong(place, "more nodes than the file holds");
    }
    if (!used[i]) {
      report.wrong(place, "belongs to no word");
    }
    check_lang_tree(report, i, nodes, words, ngrams);
    last = position + lm_format::kTreeCountSize + nodes.size();
  }
  report.fact(std::to_string(heads - std::min<int>(heads, decoder::Vocab::kFirstWordId)) +
              " words, " + std::to_string(ngrams) + " n-grams");
}

struct phrase_check_t {
  bytes_t heads;
  bytes_t nodes;
  bytes_t data;
  const decoder::Vocab* source = nullptr;
  const decoder::Vocab* target = nullptr;
  const decoder::Compressor* compressor = nullptr;
  bool compact = false;
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
  const std::string_view tag = check.target->decode(base);
  const auto spans = std::count_if(check.phrase.begin(), check.phrase.end(),
                                   [&](int word) { return check.source->decode(word) == tag; });
  return index < spans;
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

void check_phrases(check_report_t& out, const std::string& path, phrase_check_t& check) {
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
    head.wrong("end", "bytes behind the last entry");
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
      report.wrong(at("byte", bytes), "bytes behind the last sample");
    }
    report.fact(std::to_string(compressor.quantifiers().size()) + " scores");
    return compressor;
  } catch (const std::exception& error) {
    report.wrong("", error.what());
    return std::nullopt;
  }
}

// Values that the engine would read as something else than what stands there, and searches that
// apps refuse.
void check_parameters(FileReport report) {
  std::vector<std::string> lines;
  try {
    common::PickConf(report.path(), lines);
  } catch (const std::runtime_error& error) {
    return report.wrong("", error.what());
  }
  const auto check_number = [&](std::string_view section, auto number) {
    std::string value;
    if (!common::find_conf(lines, std::string(section), value)) {
      return;
    }
    const char* end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end ||
        !std::isfinite(static_cast<double>(number))) {
      report.wrong(std::string(section), "'" + value + "' is no number");
    } else if ((section == "[stack]" || section == "[option]") && number > decoder::kWidestSearch) {
      report.wrong(std::string(section), "above " + std::to_string(decoder::kWidestSearch) +
                                             ", which apps refuse to open");
    }
  };
  for (const char* section : {"[stack]", "[option]", "[distort]", "[ngram]"}) {
    check_number(section, std::int32_t{0});
  }
  for (const char* section :
       {"[beam]", "[distort-weight]", "[word-weight]", "[unknown-weight]", "[reorder-weight]",
        "[lang-weight]", "[trans-weight]", "[phrase-weight]"}) {
    check_number(section, 0.0F);
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
  const std::string no_direction = why_not_translated(folder.engine.direction);
  if (!no_direction.empty()) {
    out.problems.push_back(folder.engine_path() + ": direction " + folder.engine.direction.name() +
                           ": " + no_direction + "; use one of: " + direction_names());
  }
  check_parameters({out, folder.file(folder.engine.decoder)});
  const decoder::Parameter& p = folder.decoder;
  const auto path = [&](const std::string& name) { return folder.file(name); };
  decoder::Vocab source;
  decoder::Vocab target;
  check_vocab({out, path(p.source_vocab)}, path(p.source_vocab), source);
  check_vocab({out, path(p.target_vocab)}, path(p.target_vocab), target);
  target.encode("<s>");
  target.encode("</s>");
  check_lang_model({out, path(p.lang_model)}, target);

  const int score_size = p.prune ? phrase_format::kScoresWithoutLanguage : phrase_format::kScores;
  std::optional<decoder::Compressor> compressor;
  if (p.compress) {
    const std::string name = path(p.compress_vocab);
    compressor = check_quantifier({out, name}, name, score_size);
  }
  phrase_check_t phrases;
  phrases.source = &source;
  phrases.target = &target;
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
