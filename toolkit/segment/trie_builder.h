// Builds the segmenter's model files: a double-array trie over characters with a
// 16-bit value a key, in the layout of lexicut/trie_format.h. Owns its keys; one
// thread. The result depends on the keys and values alone, not on their order.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace koralite::toolkit {

// The code points of a UTF-8 text; std::runtime_error naming the text when it is ill-formed.
std::vector<std::uint32_t> strict_code_points(std::string_view text);

class TrieBuilder {
 public:
  // Adds a key, or replaces its value. Throws std::runtime_error for an empty key, one of more
  // than 32 characters or an ill-formed one, and for the value 0.
  void add(std::string_view key, std::uint16_t value);

  // Gives a character a code though it may be in no key.
  void add_character(std::uint32_t character);

  std::size_t size() const { return keys_.size(); }

  // Codes by character, the same in every call after the last add: frequent characters first.
  std::map<std::uint32_t, std::uint16_t> codes() const;

  // Writes the file; the old one stays as it was if that fails.
  void write(const std::string& path, std::string_view magic, std::uint32_t parameter,
             const std::vector<unsigned char>& extra) const;

 private:
  std::map<std::vector<std::uint32_t>, std::uint16_t> keys_;
  std::map<std::uint32_t, std::uint64_t> characters_;  // how many keys hold each
};

}  // namespace koralite::toolkit
