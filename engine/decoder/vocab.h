// Words to ids and back, for one side of a translation direction.
//
// Ids 0 to 255 belong to named-entity tag words ("<name>#3") in aligned groups of
// eight; other words count from 256 in the order they were encoded, and "<unk>"
// is 256. The vocabulary owns all strings it hands out. After loading it is
// read-only and safe to read from several threads; encode() is for set-up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "common/string_index.h"

namespace koralite::decoder {

class Vocab {
 public:
  static constexpr int kFirstWordId = 256;  // ids below are tag words

  Vocab();  // holds "<unk>" with id 256
  Vocab(const Vocab&) = delete;
  Vocab& operator=(const Vocab&) = delete;
  virtual ~Vocab();

  // The id of a word, which is added if it is new; a new tag word brings its whole group. Throws
  // std::runtime_error "named entity overflow in Vocab::encode()" (beyond 32 groups), "string
  // overflow in Vocab::encode()" (a tag word of 10240 bytes or more), "word id overflow in
  // Vocab::encode()".
  virtual int encode(const char* word);
  // The word of an id; the empty string for an id that was never issued.
  virtual const char* decode(int id) const;
  // Sets `id` to the word's id, or to the unknown word's; whether the word is there.
  virtual bool find(const char* word, int& id) const;
  // Replaces everything by a string index file. Throws as StringIndex::load, and std::runtime_error
  // "illegal word id in Vocab::load()" unless ids are dense and unique below and from 256 on. The
  // vocabulary is unchanged when it throws.
  virtual void load(const common::FilePath& path);
  virtual void save(const char* path) const;

  // Whether a word is '<', a name without '>', ">#" and one digit 0 to 7.
  static bool is_ne(std::string_view word);
  // For a tag word's id: base is the first id of its group, index its place there; true. For any
  // other: base is the id, index 0; false.
  static bool get_ne_info(int id, int& base, int& index);

  // Where in `ids` the n-th (from 0) is whose word is `word`; their number if there are not so
  // many. So a tag word of a target phrase finds the source word that it stands for: `word` is the
  // first of its group in the target, n its index.
  std::size_t find_nth(std::span<const int> ids, std::string_view word, int n) const;

  // Gives back spare memory after loading.
  void remove_useless_capacity();

  int unknown_id() const { return unknown_id_; }
  std::size_t ne_count() const { return entities_.size(); }
  std::size_t word_count() const { return words_.size(); }
  // Whether an id was issued.
  bool has_id(int id) const {
    return id >= 0 &&
           (id < kFirstWordId ? static_cast<std::size_t>(id) < entities_.size()
                              : static_cast<std::size_t>(id - kFirstWordId) < words_.size());
  }

 private:
  common::StringIndex index_;
  std::vector<const char*> entities_;  // by id
  std::vector<const char*> words_;     // by id - 256
  int unknown_id_ = kFirstWordId;
};

}  // namespace koralite::decoder
