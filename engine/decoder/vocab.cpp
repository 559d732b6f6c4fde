#include "decoder/vocab.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace koralite::decoder {
namespace {

constexpr int kGroupSize = 8;
constexpr std::size_t kTagLimit = 10240;  // bytes of a tag word

}  // namespace

Vocab::Vocab() {
  unknown_id_ = Vocab::encode("<unk>");
}

Vocab::~Vocab() = default;

bool Vocab::is_ne(std::string_view word) {
  if (word.size() < 2 || word[0] != '<' || word[1] == '>') {
    return false;
  }
  const std::size_t close = word.find('>', 2);
  if (close == std::string_view::npos || word.size() != close + 3) {
    return false;
  }
  return word[close + 1] == '#' && word[close + 2] >= '0' && word[close + 2] <= '7';
}

bool Vocab::get_ne_info(int id, int& base, int& index) {
  if (id >= kFirstWordId) {
    base = id;
    index = 0;
    return false;
  }
  base = id & ~(kGroupSize - 1);
  index = id & (kGroupSize - 1);
  return true;
}

int Vocab::encode(const char* word) {
  int id = 0;
  if (index_.find(word, id)) {
    return id;
  }

  const std::string_view text(word);
  if (is_ne(text)) {
    const std::size_t first = entities_.size();
    if (first > kFirstWordId - kGroupSize) {
      throw std::runtime_error("named entity overflow in Vocab::encode()");
    }
    if (text.empty() || text.size() >= kTagLimit) {
      throw std::runtime_error("string overflow in Vocab::encode()");
    }
    std::string variant(text);
    for (int i = 0; i < kGroupSize; ++i) {
      variant.back() = static_cast<char>('0' + i);
      const int variant_id = static_cast<int>(first) + i;
      const char* stored = index_.insert(variant, variant_id);
      entities_.push_back(stored ? stored : "");
    }
    return static_cast<int>(first) + (text.back() - '0');
  }

  if (words_.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max() - kFirstWordId)) {
    throw std::runtime_error("word id overflow in Vocab::encode()");
  }
  id = kFirstWordId + static_cast<int>(words_.size());
  words_.push_back(nullptr);  // grows first, so that a failure leaves both sides equal
  try {
    words_.back() = index_.insert(text, id);
  } catch (...) {
    words_.pop_back();
    throw;
  }
  return id;
}

const char* Vocab::decode(int id) const {
  if (!has_id(id)) {
    return "";
  }
  return id < kFirstWordId ? entities_[static_cast<std::size_t>(id)]
                           : words_[static_cast<std::size_t>(id - kFirstWordId)];
}

bool Vocab::find(const char* word, int& id) const {
  id = unknown_id_;
  return index_.find(word, id);
}

void Vocab::load(const common::FilePath& path) {
  common::StringIndex index;
  index.load(path);

  const auto nodes = index.nodes();
  const auto entity_count = static_cast<std::size_t>(
      std::count_if(nodes.begin(), nodes.end(), [](const auto& n) { return n.id < kFirstWordId; }));
  // As many entries as places and no place taken twice: then every place is taken.
  std::vector<const char*> entities(entity_count);
  std::vector<const char*> words(nodes.size() - entity_count);
  for (const auto& node : nodes) {
    std::vector<const char*>& list = node.id < kFirstWordId ? entities : words;
    const std::int64_t place =
        node.id < kFirstWordId ? node.id : std::int64_t{node.id} - kFirstWordId;
    if (place < 0 || static_cast<std::uint64_t>(place) >= list.size() ||
        list[static_cast<std::size_t>(place)]) {
      throw std::runtime_error("illegal word id in Vocab::load()");
    }
    list[static_cast<std::size_t>(place)] = node.text;
  }
  index_ = std::move(index);
  entities_ = std::move(entities);
  words_ = std::move(words);
}

void Vocab::save(const char* path) const {
  index_.save(path);
}

std::size_t Vocab::find_nth(std::span<const int> ids, std::string_view word, int n) const {
  std::size_t at = 0;
  for (int seen = 0; at < ids.size(); ++at) {
    if (decode(ids[at]) == word && seen++ == n) {
      break;
    }
  }
  return at;
}

void Vocab::remove_useless_capacity() {
  words_.shrink_to_fit();
  entities_.shrink_to_fit();
  index_.shrink_to_fit();
}

}  // namespace koralite::decoder
