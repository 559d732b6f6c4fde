#include "toolkit/resource/vocab_file.h"

#include <limits>
#include <stdexcept>

#include "common/string_index.h"
#include "decoder/vocab.h"
#include "toolkit/io/atomic_file.h"

namespace koralite::toolkit {
namespace {

constexpr std::size_t kGroupSize = 8;
constexpr std::size_t kTagLimit = 10240;    // bytes of a tag word
constexpr std::size_t kWordLimit = 102400;  // bytes of any other word

void require_text(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    throw std::runtime_error("the word \"" + std::string(text.substr(0, text.find('\0'))) +
                             "...\" holds a zero byte");
  }
}

// `texts` are zero-terminated and live until the end of the call.
void save_nodes(const std::string& path, std::vector<common::StringIndex::node_t> nodes) {
  common::StringIndex index;
  index.insert(std::move(nodes));
  write_file(path, index.serialize());
}

}  // namespace

void write_string_index(const std::string& path,
                        std::span<const std::pair<std::string, std::int32_t>> entries) {
  std::vector<common::StringIndex::node_t> nodes;
  nodes.reserve(entries.size());
  for (const auto& [text, id] : entries) {
    require_text(text);
    nodes.push_back({text.c_str(), id, 0});
  }
  save_nodes(path, std::move(nodes));
}

VocabBuilder::VocabBuilder() {
  encode("<unk>");
}

std::string_view VocabBuilder::add(std::string_view word, std::int32_t id) {
  const std::string_view stored = texts_.emplace_back(word);
  ids_.emplace(stored, id);
  return stored;
}

std::int32_t VocabBuilder::encode(std::string_view word) {
  if (const auto known = ids_.find(word); known != ids_.end()) {
    return known->second;
  }
  require_text(word);
  if (decoder::Vocab::is_ne(word)) {
    const std::size_t first = entities_.size();
    if (first > decoder::Vocab::kFirstWordId - kGroupSize) {
      throw std::runtime_error("named entity overflow in Vocab::encode()");
    }
    if (word.size() >= kTagLimit) {
      throw std::runtime_error("string overflow in Vocab::encode()");
    }
    std::string variant(word);
    for (std::size_t i = 0; i < kGroupSize; ++i) {
      variant.back() = static_cast<char>('0' + i);
      entities_.push_back(add(variant, static_cast<std::int32_t>(first + i)));
    }
    return static_cast<std::int32_t>(first) + (word.back() - '0');
  }
  if (word.size() >= kWordLimit) {
    throw std::runtime_error("string out of range in StringPool::add_string()");
  }
  constexpr auto kMaxWords = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max() -
                                                      decoder::Vocab::kFirstWordId);
  if (words_.size() >= kMaxWords) {
    throw std::runtime_error("word id overflow in Vocab::encode()");
  }
  const auto id = static_cast<std::int32_t>(decoder::Vocab::kFirstWordId + words_.size());
  words_.push_back(add(word, id));
  return id;
}

bool VocabBuilder::find(std::string_view word, std::int32_t& id) const {
  const auto known = ids_.find(word);
  id = known == ids_.end() ? decoder::Vocab::kFirstWordId : known->second;
  return known != ids_.end();
}

std::string_view VocabBuilder::decode(std::int32_t id) const {
  const auto place = static_cast<std::size_t>(id);
  return id < decoder::Vocab::kFirstWordId ? entities_.at(place)
                                           : words_.at(place - decoder::Vocab::kFirstWordId);
}

void VocabBuilder::save(const std::string& path) const {
  std::vector<common::StringIndex::node_t> nodes;
  nodes.reserve(texts_.size());
  for (const std::string& text : texts_) {
    nodes.push_back({text.c_str(), ids_.at(text), 0});
  }
  save_nodes(path, std::move(nodes));
}

void write_vocab_file(const std::string& path, std::span<const std::string> words,
                      std::span<const std::string> tag_names) {
  if (words.empty() || words[0] != "<unk>") {
    throw std::runtime_error("can't write " + path + ": the first word must be \"<unk>\"");
  }
  VocabBuilder builder;
  for (const std::string& name : tag_names) {
    const std::string word = "<" + name + ">#0";
    std::int32_t id = 0;
    if (!decoder::Vocab::is_ne(word) || builder.find(word, id)) {
      throw std::runtime_error("can't write " + path + ": \"" + name +
                               "\" is no tag name or comes twice");
    }
    builder.encode(word);
  }
  for (std::size_t i = 0; i < words.size(); ++i) {
    const auto wanted = static_cast<std::int32_t>(decoder::Vocab::kFirstWordId + i);
    if (builder.encode(words[i]) != wanted) {
      throw std::runtime_error("can't write " + path + ": word " + std::to_string(i + 1) + " (\"" +
                               words[i] + "\") comes twice or is a tag word");
    }
  }
  builder.save(path);
}

}  // namespace koralite::toolkit
