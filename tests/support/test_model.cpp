#include "support/test_model.h"

#include <sstream>

#include "toolkit/lm/lang_model_builder.h"

namespace kora_test {

namespace toolkit = koralite::toolkit;

namespace {

std::string record(std::size_t word, std::size_t link, std::uint32_t block) {
  return le(word, 2) + le(link, 4) + le(block, 4);
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// The phrase table's trie in memory: children by word, place of the block.
struct Trie {
  std::map<int, Trie> children;
  std::uint32_t block = 0xFFFFFFFF;
};

// Writes a group of children and what is below them; returns its record.
std::size_t write_group(std::vector<std::string>& records, const Trie& node, std::size_t base) {
  const std::size_t group = records.size();
  records.resize(group + node.children.size() + 1);
  records[group] = record(65535, node.children.size(), 0);
  std::size_t at = group;
  for (const auto& [word, child] : node.children) {
    ++at;
    std::size_t link = 1;
    if (!child.children.empty()) {
      link = write_group(records, child, base) - base + 1;
    }
    records[at] = record(static_cast<std::size_t>(word),
                         child.block == 0xFFFFFFFF ? link : 0 - link, child.block);
  }
  return group;
}

}  // namespace

TestModel::TestModel() {
  parameter.source_vocab = "source.vocab";
  parameter.target_vocab = "target.vocab";
  parameter.compress_vocab = "quantifier";
  parameter.lang_model = "lm";
  parameter.trans_model = "phrases";
  target.encode("<s>");
  target.encode("</s>");
}

std::vector<int> TestModel::encode(decoder::Vocab& vocab, const std::string& text) {
  std::vector<int> ids;
  for (const std::string& word : split(text)) {
    ids.push_back(vocab.encode(word.c_str()));
  }
  return ids;
}

void TestModel::add(const std::string& from, const std::string& to, float translation) {
  pairs.push_back({source_ids(from), target_ids(to), {0, 0, translation, 0, 0, 0, 0, 0, 0}});
}

// A table written by hand: compact entries keep the scores to halves between -8
// and 0, and the reordering scores of the counts that come first to mind.
void TestModel::write_phrase_table() const {
  const std::size_t extra = parameter.prune ? 1 : 3;
  std::string quantifier;
  for (std::size_t k = 0; k < extra; ++k) {
    quantifier += le(17, 4);
    for (int code = 0; code < 17; ++code) {
      quantifier += f32(static_cast<float>(code - 16) / 2);
    }
  }
  folder_.write(parameter.compress_vocab, quantifier);
  std::map<std::vector<int>, std::string> blocks;
  for (const TestPair& pair : pairs) {
    std::string& block = blocks[pair.source];
    const std::span<const float> scores = std::span(pair.scores).last(extra + 6);
    const auto first = parameter.prune ? scores.first(0) : scores.first(2);
    block += le(pair.target.size(), parameter.compress ? 1 : 4);
    for (const int id : pair.target) {
      block += le(static_cast<std::uint64_t>(id), parameter.compress ? 2 : 4);
    }
    if (!parameter.compress) {
      for (const float score : first) {
        block += f32(score);
      }
      block += f32(pair.scores[2]);
      for (const float score : scores.last(6)) {
        block += f32(score);
      }
      continue;
    }
    for (std::size_t k = 3 - extra; k < 3; ++k) {
      block += static_cast<char>(static_cast<unsigned char>(pair.scores[k] * 2 + 16));
    }
    for (const std::size_t k : {3U, 6U}) {
      block += static_cast<char>(static_cast<unsigned char>(-pair.scores[k] * 20));
    }
  }
  Trie root;
  std::string data;
  for (const auto& [source_words, block] : blocks) {
    Trie* node = &root;
    for (const int word : source_words) {
      node = &node->children[word];
    }
    node->block = static_cast<std::uint32_t>(data.size());
    data += le(block.size(), 4) + block;
  }
  std::vector<std::string> records;
  const std::size_t heads = 256 + source.word_count();
  std::string head = le(heads, 8);
  for (int word = 0; word < static_cast<int>(heads); ++word) {
    const Trie& node = root.children[word];
    const std::size_t base = records.size();
    head += le(node.block, 4) +
            le(node.children.empty() ? 0xFFFFFFFF : write_group(records, node, base), 4);
  }
  head += le(0, 8);
  std::string nodes;
  for (const std::string& record : records) {
    nodes += record;
  }
  folder_.write(parameter.trans_model, head);
  folder_.write(parameter.trans_model + ".nodes", nodes);
  folder_.write(parameter.trans_model + ".data", data);
}

std::unique_ptr<decoder::SharedMember> TestModel::load(std::optional<long> budget) {
  source.save(folder_.path(parameter.source_vocab).c_str());
  target.save(folder_.path(parameter.target_vocab).c_str());
  write_phrase_table();
  toolkit::LangModelBuilder builder;
  for (const TestGram& gram : grams) {
    builder.add(gram.words, gram.probability, gram.back_off);
  }
  const std::string path = folder_.path(parameter.lang_model);
  builder.write(path);
  auto shared = std::make_unique<decoder::SharedMember>(&parameter, folder_.path());
  if (budget) {
    shared->lang_model =
        std::make_unique<decoder::CompactLmModel>(path, parameter.ngram_order, *budget);
  }
  return shared;
}

TestSentence::TestSentence(const std::vector<std::string>& words) : words_(words) {
  for (std::string& word : words_) {
    nodes.push_back({word.data(), nullptr, nullptr});
  }
}

TestSentence::TestSentence(const std::string& text) : TestSentence(split(text)) {}

}  // namespace kora_test
