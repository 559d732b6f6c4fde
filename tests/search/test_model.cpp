#include "search/test_model.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "toolkit/pack/lang_model_builder.h"

namespace koralite::test {

namespace fs = std::filesystem;

namespace {

template <typename T>
void put(std::string& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void write(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
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
  put(records[group], std::uint16_t{65535});
  put(records[group], static_cast<std::int32_t>(node.children.size()));
  put(records[group], std::uint32_t{0});
  std::size_t at = group;
  for (const auto& [word, child] : node.children) {
    ++at;
    std::int32_t link = 1;
    if (!child.children.empty()) {
      link = static_cast<std::int32_t>(write_group(records, child, base) - base + 1);
    }
    put(records[at], static_cast<std::uint16_t>(word));
    put(records[at], child.block == 0xFFFFFFFF ? link : -link);
    put(records[at], child.block);
  }
  return group;
}

}  // namespace

TestModel::TestModel() {
  static int count = 0;
  folder_ = fs::temp_directory_path() /
            ("kora-search-" + std::to_string(getpid()) + "-" + std::to_string(count++));
  fs::create_directories(folder_);
  parameter.source_vocab = "source.vocab";
  parameter.target_vocab = "target.vocab";
  parameter.compress_vocab = "quantifier";
  parameter.lang_model = "lm";
  parameter.trans_model = "phrases";
  target.encode("<s>");
  target.encode("</s>");
}

TestModel::~TestModel() {
  fs::remove_all(folder_);
}

std::vector<int> TestModel::encode(decoder::Vocab& vocab, const std::string& text) {
  std::vector<int> ids;
  std::istringstream words(text);
  for (std::string word; words >> word;) ids.push_back(vocab.encode(word.c_str()));
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
    put(quantifier, std::int32_t{17});
    for (int code = 0; code < 17; ++code) put(quantifier, static_cast<float>(code - 16) / 2);
  }
  write(folder_ / parameter.compress_vocab, quantifier);
  std::map<std::vector<int>, std::string> blocks;
  for (const TestPair& pair : pairs) {
    std::string& block = blocks[pair.source];
    const std::span<const float> scores = std::span(pair.scores).last(extra + 6);
    const auto first = parameter.prune ? scores.first(0) : scores.first(2);
    if (!parameter.compress) {
      put(block, static_cast<std::uint32_t>(pair.target.size()));
      for (const int id : pair.target) put(block, id);
      for (const float score : first) put(block, score);
      put(block, pair.scores[2]);
      for (const float score : scores.last(6)) put(block, score);
      continue;
    }
    put(block, static_cast<unsigned char>(pair.target.size()));
    for (const int id : pair.target) put(block, static_cast<std::uint16_t>(id));
    for (std::size_t k = 3 - extra; k < 3; ++k) {
      put(block, static_cast<unsigned char>(pair.scores[k] * 2 + 16));
    }
    put(block, static_cast<unsigned char>(-pair.scores[3] * 20));
    put(block, static_cast<unsigned char>(-pair.scores[6] * 20));
  }
  Trie root;
  std::string data;
  for (const auto& [source_words, block] : blocks) {
    Trie* node = &root;
    for (const int word : source_words) node = &node->children[word];
    node->block = static_cast<std::uint32_t>(data.size());
    put(data, static_cast<std::uint32_t>(block.size()));
    data += block;
  }
  std::vector<std::string> records;
  std::string head;
  const std::size_t heads = 256 + source.word_count();
  put(head, static_cast<std::uint64_t>(heads));
  for (int word = 0; word < static_cast<int>(heads); ++word) {
    const Trie& node = root.children[word];
    const std::size_t base = records.size();
    put(head, node.block);
    put(head, node.children.empty() ? 0xFFFFFFFFU
                                    : static_cast<std::uint32_t>(write_group(records, node, base)));
  }
  put(head, std::uint64_t{0});
  std::string nodes;
  for (const std::string& record : records) nodes += record;
  const std::string path = folder_ / parameter.trans_model;
  write(path, head);
  write(path + ".nodes", nodes);
  write(path + ".data", data);
}

std::unique_ptr<decoder::SharedMember> TestModel::load(std::optional<long> budget) {
  source.save((folder_ / parameter.source_vocab).c_str());
  target.save((folder_ / parameter.target_vocab).c_str());
  write_phrase_table();
  toolkit::LangModelBuilder builder;
  for (const TestGram& gram : grams) builder.add(gram.words, gram.probability, gram.back_off);
  const std::string path = folder_ / parameter.lang_model;
  builder.write(path);
  auto shared = std::make_unique<decoder::SharedMember>(&parameter, folder_.string());
  if (budget) {
    shared->lang_model =
        std::make_unique<decoder::CompactLmModel>(path, parameter.ngram_order, *budget);
  }
  return shared;
}

TestSentence::TestSentence(const std::vector<std::string>& words) : words_(words) {
  for (std::string& word : words_) nodes.push_back({word.data(), nullptr, nullptr});
}

namespace {

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

}  // namespace

TestSentence::TestSentence(const std::string& text) : TestSentence(split(text)) {}

}  // namespace koralite::test
