// Reads the sentence pairs of a translation memory: TMX, XLIFF 1.2 and 2, or text
// with tabs. Codes of the source format (bold on, a placeholder of a program) go,
// the text between them stays; white space is one space.
//
// Free functions and values; throws IoError when the file can't be read and
// std::runtime_error naming file and line when it isn't what its name says.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/folder/direction.h"

namespace koralite::toolkit {

enum class MemoryFormat : std::uint8_t { kByName, kTmx, kXliff, kTsv };

struct memory_report_t {
  std::uint64_t units = 0;       // read
  std::uint64_t pairs = 0;       // taken
  std::uint64_t no_source = 0;   // no text in the source language
  std::uint64_t no_target = 0;   // no translation
  std::uint64_t unfinished = 0;  // marked as new, in need of translation, or not to be translated
  std::uint64_t identical = 0;   // both sides the same
  std::uint64_t repeated = 0;    // the same pair again
  std::uint64_t ill_formed = 0;  // not valid UTF-8

  // A line for each reason that something was left out for.
  std::vector<std::string> lines() const;
};

struct memory_t {
  std::vector<std::string> source;
  std::vector<std::string> target;
  memory_report_t report;
};

// Languages are told by their codes: "zh-CN" and "zh" serve zh, but traditional Chinese does not.
// A TMX or XLIFF file of the opposite direction is turned round; of a text with tabs the first two
// columns are source and target.
memory_t read_translation_memory(const std::string& path, const direction_t& direction,
                                 MemoryFormat format = MemoryFormat::kByName);

}  // namespace koralite::toolkit
