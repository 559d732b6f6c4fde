// Small models for the search tests: collects words, phrase pairs and n-grams,
// writes them as a model folder and loads it. Phrase pairs may hold what no
// builder would write: any ids, any scores, too many words.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/word_node.h"
#include "decoder/shared_member.h"
#include "support/temp_folder.h"

namespace kora_test {

namespace common = koralite::common;
namespace decoder = koralite::decoder;

struct TestPair {
  std::vector<int> source;
  std::vector<int> target;
  std::vector<float> scores;  // nine: estimate, language, translation, then two triples
};

struct TestGram {
  std::vector<int> words;
  float probability = 0;
  float back_off = 0;
};

class TestModel {
 public:
  TestModel();

  decoder::Parameter parameter;
  decoder::Vocab source;
  decoder::Vocab target;
  std::vector<TestPair> pairs;
  std::vector<TestGram> grams;

  // Adds words if they are new; ids of a text with spaces between them.
  std::vector<int> source_ids(const std::string& text) { return encode(source, text); }
  std::vector<int> target_ids(const std::string& text) { return encode(target, text); }
  // A phrase pair with all reordering scores 0 and no language model scores.
  void add(const std::string& from, const std::string& to, float translation);

  // Writes everything and loads it. With a budget, the language model keeps only
  // so many bytes of trees resident. The model's parameters must stay in place.
  std::unique_ptr<decoder::SharedMember> load(std::optional<long> budget = {});

 private:
  static std::vector<int> encode(decoder::Vocab& vocab, const std::string& text);
  void write_phrase_table() const;

  TempFolder folder_;
};

// Source words with nothing fixed, as the text steps would hand them over.
class TestSentence {
 public:
  explicit TestSentence(const std::vector<std::string>& words);
  explicit TestSentence(const std::string& text);  // spaces between words
  TestSentence(const TestSentence&) = delete;
  TestSentence& operator=(const TestSentence&) = delete;

  std::vector<common::word_node_t> nodes;

 private:
  std::vector<std::string> words_;
};

}  // namespace kora_test
