// Rule files as people write them (data/rules/, docs/format-rules.md), compiled
// into the lines that the engine's rule translator reads.
//
// A source file has one rule a line in the engine's own form, comments, tables
// whose entries a rule is repeated for, and examples under the rules. The
// examples are the rules' tests and the source of docs/numbers.md. Plain values
// and free functions; every mistake in a file is a std::runtime_error that names
// the file, the line and what is wrong.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "numtrans/rule_translator.h"

namespace koralite::toolkit {

struct rule_example_t {
  std::size_t line = 0;  // from 1
  std::string source;    // as the text steps leave it
  std::string target;    // empty for a phrase that no rule may translate
};

struct source_rule_t {
  std::size_t line = 0;
  std::string section;             // the last "## " heading above it
  std::vector<std::string> lines;  // in the engine's form, one for each combination of entries
  std::vector<rule_example_t> examples;
};

struct rule_source_t {
  std::string name;       // of the file, for messages
  std::string direction;  // "en-zh" or "zh-en"
  std::vector<source_rule_t> rules;
  std::vector<rule_example_t> refused;

  // All lines for the engine, in order.
  std::vector<std::string> compiled() const;
  // The rule that the compiled line with this index comes from.
  const source_rule_t& rule_of_line(std::size_t index) const;
};

// Checks what can be checked without running: form, variables that the direction
// can read and write, tables, lengths, and that each rule has an example.
rule_source_t parse_rule_source(std::string_view text, std::string name);
rule_source_t read_rule_source(const std::string& path);

// Writes the resource file for the engine.
void write_rule_file(const rule_source_t& source, const std::string& path);

// Opens a resource file of rules for a direction.
std::unique_ptr<numtrans::RuleTranslator> open_rules(std::string_view direction,
                                                     const std::string& path);

// Translates as RuleTranslator::translate does, and says which of its rules did.
struct rule_hit_t {
  std::size_t index = 0;
  std::string target;
  std::string type;
};
std::optional<rule_hit_t> translate_by_rule(numtrans::RuleTranslator& translator,
                                            const std::string& phrase);

// Runs every example of `source` through the engine. Returns what went wrong, a
// line each: wrong or no translation, a rule in front that took the phrase, a
// phrase that should have been refused.
std::vector<std::string> check_rule_examples(const rule_source_t& source,
                                             numtrans::RuleTranslator& translator);

}  // namespace koralite::toolkit
