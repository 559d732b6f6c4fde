// The packed phrase table: a head file with one entry per first source word, a
// trie of the further words (".nodes") and the target blocks (".data").
//
// All three files are mapped and read in place: opening costs no more than a look
// at the head file's size, and only pages that sentences reach are ever read. The
// files must not change while the model lives. Lookups check every record that
// they follow and throw std::runtime_error on damage; they change nothing, so
// one model may serve several threads. Blocks that it hands out are views into
// the mapping: they must not outlive the model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/mapped_file.h"
#include "decoder/phrase_table_format.h"
#include "decoder/trans_model.h"

namespace koralite::decoder {

class CompactTransModel final : public TransModel {
 public:
  // Throws "failed to open file in CompactTransModel", "failed to read file in
  // CompactTransModel" for a head file shorter than its count says, "failed to open
  // nodes file in CompactTransModel" or "failed to open data file in
  // CompactTransModel".
  explicit CompactTransModel(const common::FilePath& path);
  ~CompactTransModel() override;

  // Not supported: throw "This interface should not be called".
  bool search(std::span<const int> ids, TargetData& target) const override;
  bool search_all(std::span<const int> ids, std::vector<TargetData>& targets) const override;
  int TrieFind(std::span<const int> words) const;
  int TrieSearch(std::span<const int> words) const;

  void search_sentence(std::span<const int> ids, target_table_t& table) const override;

  // How many leading words of `words` the trie holds (at most eight). For each
  // matched length k + 1, offsets[k] and has_data[k] tell the place of the block
  // in the data file and whether there is one.
  int TrieSearchAll(std::span<const int> words, std::span<std::uint32_t, kMaxPhrase> offsets,
                    std::span<bool, kMaxPhrase> has_data) const;

  // Looks `word` up in the child group at record `node`. `found` becomes its
  // place in the group: 1 for the first child of a group with a header, 0 for the
  // only record of one without; so its record is node + found.
  bool TrieFindKey(std::uint64_t node, int word, std::uint32_t& found) const;

  // Number of head entries, and the count that follows them.
  std::uint64_t head_count() const { return head_count_; }
  std::uint64_t trailing_count() const { return trailing_count_; }

 private:
  phrase_table_format::record_t record(std::uint64_t index) const;

  common::MappedFile head_file_;
  common::MappedFile node_file_;
  common::MappedFile data_file_;
  std::span<const unsigned char> heads_;
  std::uint64_t head_count_ = 0;
  std::uint64_t trailing_count_ = 0;
  std::uint64_t node_count_ = 0;
};

}  // namespace koralite::decoder
