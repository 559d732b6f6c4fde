// Builds the dictionary of named entities that textProcess::NeDict reads, from
// text lines (docs/format-entities.md).
//
// Looking up happens on the words that the text steps of the source language
// leave, so each source phrase is put through the same steps here: the caller
// gives them as a function. Entries that could never be found, or that the file
// cannot hold, are left out and reported. Plain values and free functions.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/folder/direction.h"

namespace koralite::toolkit {

struct entity_t {
  std::string source;    // as people write it
  std::string type;      // the tag that the decoder sees
  std::string target;    // as it shall stand in the translation
  std::size_t line = 0;  // from 1, for reports
};

struct entity_options_t {
  // The words of a phrase after the string steps of the source language, escaped
  // as these leave them. When empty, phrases are cut at blanks and taken as they
  // stand.
  std::function<std::vector<std::string>(const std::string& phrase)> words;
  // What stands between the words of a span when it is looked up: a blank for
  // languages written with blanks, nothing for the others.
  std::string join = " ";
  // Spans of more words are never looked up.
  std::size_t most_words = 8;
};

// The options for a direction: words as the engine's text steps leave them, configured by a file in
// the form of engine.conf and the resources that it names in the folder. Throws as
// textProcess::Processor.
entity_options_t chain_entity_options(const direction_t& direction, const std::string& config,
                                      const std::string& folder);

struct entity_report_t {
  std::size_t read = 0;
  std::size_t written = 0;
  std::vector<std::string> types;    // sorted, each once
  std::vector<std::string> dropped;  // "LINE: PHRASE: why", in the order of the lines
};

// Parses SOURCE, TAB, TYPE, TAB, TARGET lines; empty lines and lines that begin
// with "#" and hold no TAB are skipped. Throws std::runtime_error
// "NAME:LINE: ..." for any other line.
std::vector<entity_t> parse_entities(std::string_view text, const std::string& name);
std::vector<entity_t> read_entities(const std::string& path);

// The lines of the dictionary, sorted as NeDict wants them; of several entries
// with one source phrase the first one stays.
std::vector<std::string> entity_lines(std::span<const entity_t> entities,
                                      const entity_options_t& options, entity_report_t& report);

// Writes the resource file. Throws as write_resource_file.
entity_report_t write_entity_file(std::span<const entity_t> entities,
                                  const entity_options_t& options, const std::string& path);

}  // namespace koralite::toolkit
