// NeDict: the dictionary of named entities, from a whole source phrase to its
// fixed target phrase and type.
//
// Reads a resource file of sorted lines (docs/format-entities.md): source, TAB,
// type, TAB, target. The sources are indexed at loading; types and targets stay
// in the file and are read when they are asked for. What `find` hands out is
// owned here and stays where it is until `clear_found`. `find` keeps those
// strings, so calls must not overlap: one dictionary serves one thread at a time.
#pragma once

#include <deque>
#include <string>

#include "common/des_file_reader.h"
#include "common/string_index.h"

namespace koralite::textProcess {

class NeDict {
 public:
  // Throws std::runtime_error: what common::DesFileReader throws, "Invalidate NE
  // Input" for a line out of order, "unknown format in named entity dictionary
  // file [LINE]" for one without two TABs, "duplicated source words in named
  // entity dictionary file [LINE]" for a source that is already there.
  explicit NeDict(const common::FilePath& path);
  NeDict(const NeDict&) = delete;
  NeDict& operator=(const NeDict&) = delete;

  // Looks the whole phrase up. On a hit both pointers are set; otherwise they
  // are left alone.
  bool find(const char* source, const char*& type, const char*& target) const;

  // Frees the strings that `find` has handed out.
  void clear_found() { found_.clear(); }

  std::size_t size() const { return index_.size(); }

 private:
  common::DesFileReader reader_;
  common::StringIndex index_{102400};      // source phrase to record number
  mutable std::deque<std::string> found_;  // never moves its strings
};

}  // namespace koralite::textProcess
