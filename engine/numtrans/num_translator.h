// NumTranslator: the rule translator bound to a source acceptor and a target
// generator, with Arabic digits understood on both sides.
//
// Also holds the keyword table behind `is_acceptable`: one flag a hash value, so
// a foreign word may slip through, which only costs the time to try the rules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "numtrans/arabic_num_acceptor.h"
#include "numtrans/arabic_num_generator.h"
#include "numtrans/rule_translator.h"

namespace koralite::numtrans {

class KeywordTable {
 public:
  static constexpr std::size_t kSize = 65536;

  void add(std::string_view word) { flags_[slot(word)] = 1; }
  bool has(std::string_view word) const { return flags_[slot(word)] != 0; }

 private:
  static std::size_t slot(std::string_view word) {
    std::uint32_t hash = 0;
    for (const char c : word) {
      hash = hash * 131 + static_cast<unsigned char>(c);
    }
    return (hash & 0x7FFFFFFFU) % kSize;
  }

  std::vector<std::uint8_t> flags_ = std::vector<std::uint8_t>(kSize, 0);
};

template <class Acceptor, class Generator>
class NumTranslator : public RuleTranslator {
 protected:
  explicit NumTranslator(const common::FilePath& path) : RuleTranslator(path) {
    std::vector<const char*> words;
    acceptor_.get_keywords(words);
    for (const char* word : words) {
      keywords_.add(word);
    }
  }

  bool match_source(const TokenList& pieces, const std::string& phrase) override;
  bool generate_target(const TokenList& pieces, std::string& out) override;

  Acceptor acceptor_;
  Generator generator_;
  ArabicNumAcceptor arabic_acceptor_;
  ArabicNumGenerator arabic_generator_;
  KeywordTable keywords_;
};

template <class Acceptor, class Generator>
bool NumTranslator<Acceptor, Generator>::match_source(const TokenList& pieces,
                                                      const std::string& phrase) {
  const char* cursor = phrase.c_str();
  const char* const end = cursor + phrase.size();
  for (const std::string_view piece : pieces) {
    if (!is_number(piece)) {
      if (!std::string_view(cursor, static_cast<std::size_t>(end - cursor)).starts_with(piece)) {
        return false;
      }
      cursor += piece.size();
      continue;
    }
    Number number;
    const char* const start = cursor;
    if (!arabic_acceptor_.accept(cursor, piece.data(), number)) {
      cursor = start;
      if (!acceptor_.accept(cursor, piece.data(), number)) {
        return false;
      }
    }
    // A digit run takes one digit more than a number can hold and drops it; such
    // a number is too long to be translated.
    const std::string_view taken(start, static_cast<std::size_t>(cursor - start));
    if (has_dropped_digit(piece, taken, number)) {
      return false;
    }
    source_numbers_.push_back(number);
  }
  return cursor == end;
}

template <class Acceptor, class Generator>
bool NumTranslator<Acceptor, Generator>::generate_target(const TokenList& pieces,
                                                         std::string& out) {
  std::size_t next = 0;
  std::string written;
  for (const std::string_view piece : pieces) {
    if (!is_number(piece)) {
      out += piece;
      continue;
    }
    if (next >= target_numbers_.size()) {
      return false;
    }
    const Number& number = target_numbers_[next++];
    // Some writers replace what stands in their output, so each gets its own.
    written.clear();
    if (!arabic_generator_.generate(number, piece.data(), written)) {
      written.clear();
      if (!generator_.generate(number, piece.data(), written)) {
        return false;
      }
    }
    out += written;
  }
  return true;
}

}  // namespace koralite::numtrans
