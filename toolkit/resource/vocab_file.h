// Writing string index and vocabulary files in bulk (docs/format-string-index.md).
//
// Files are the same, byte for byte, as the engine's own classes save them, but
// are built in O(n log n). All failures are std::runtime_error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace koralite::toolkit {

// Writes pairs in any order; a string given twice keeps its first id. A string with a zero byte is
// refused.
void write_string_index(const std::string& path,
                        std::span<const std::pair<std::string, std::int32_t>> entries);

// Gives words their ids exactly as decoder::Vocab::encode does, at a constant cost per word.
class VocabBuilder {
 public:
  VocabBuilder();  // holds "<unk>" with id 256

  // The id of a word, added if it is new. Throws as Vocab::encode, and on a zero byte
  // in the word.
  std::int32_t encode(std::string_view word);
  bool find(std::string_view word, std::int32_t& id) const;
  // The word of an id that was issued.
  std::string_view decode(std::int32_t id) const;

  std::size_t word_count() const { return words_.size(); }  // ids from 256 on
  std::size_t ne_count() const { return entities_.size(); }

  void save(const std::string& path) const;

 private:
  std::string_view add(std::string_view word, std::int32_t id);

  std::deque<std::string> texts_;
  std::unordered_map<std::string_view, std::int32_t> ids_;
  std::vector<std::string_view> entities_;
  std::vector<std::string_view> words_;
};

// Writes the vocabulary in which words[i] has id 256 + i; words[0] must be "<unk>", words must be
// unique and hold no tag word. `tag_names` are names of tag words without brackets ("name"): each
// brings the eight words "<name>#0" to "<name>#7", from id 0 on.
void write_vocab_file(const std::string& path, std::span<const std::string> words,
                      std::span<const std::string> tag_names = {});

}  // namespace koralite::toolkit
