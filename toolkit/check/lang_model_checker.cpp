#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "common/byte_reader.h"
#include "decoder/lang_model_format.h"
#include "toolkit/check/model_files.h"

namespace koralite::toolkit {

namespace lm_format = decoder::lang_model_format;

namespace {

using bytes_t = std::span<const unsigned char>;

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

}  // namespace

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

}  // namespace koralite::toolkit
