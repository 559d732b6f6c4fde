// RuleTranslator: translates a short phrase that holds numbers by pattern rules.
//
// It owns the rules of one rule file (docs/format-rules.md) and evaluates their
// constraints and assignments; a derived class binds it to a source and a target
// language. Rules are tried in file order and the first that fits wins, so a
// file goes from specific to general. A rule must cover the whole phrase.
//
// Read-only once built, but for the two number lists that every call of
// `translate` overwrites: one translator serves one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "common/file_path.h"
#include "common/string_pool.h"
#include "numtrans/number.h"

namespace koralite::numtrans {

// All views point at zero-terminated strings in the translator's pool.
using TokenList = std::vector<std::string_view>;

struct Rule {
  TokenList source;       // literal text and variables, as written; empty: never matches
  TokenList constraint;   // tokens of one expression; empty: always holds
  TokenList assignments;  // tokens of `tN = expression` statements
  TokenList target;
  std::string_view type;  // handed back with every translation by this rule
};

class RuleTranslator {
 public:
  // Longest rule line that is read, and longest phrase that is tried, in bytes.
  static constexpr std::size_t kMaxLine = 10239;
  // Highest target number that an assignment may name.
  static constexpr unsigned kMaxTargetIndex = 999;

  // Reads a resource file of rules. Throws what common::DesFileReader throws. A
  // line of the wrong form becomes a rule that never matches.
  explicit RuleTranslator(const common::FilePath& path);
  virtual ~RuleTranslator() = default;
  RuleTranslator(const RuleTranslator&) = delete;
  RuleTranslator& operator=(const RuleTranslator&) = delete;

  // The keyword filter: whether the phrase holds nothing but numbers and words
  // that some rule or number is made of. Cheap; false is final.
  virtual bool is_acceptable(const char* text) const = 0;

  // True when a rule translated the phrase: `target` gets the translation
  // appended, `type` set. Pass an empty target: failed rules may leave text in
  // it. Arithmetic errors of a rule pass through as std::runtime_error.
  bool translate(const std::string& source, std::string& target, std::string& type);

  // The same with one rule, without the keyword filter.
  bool translate_with_rule(const Rule& rule, const std::string& source, std::string& target,
                           std::string& type);

  std::span<const Rule> rules() const { return rules_; }

  // Writes the rules, one a line in the form of the rule file, so that they read back
  // the same; blanks in expressions only where tokens would join. A rule that never
  // matches leaves an empty line. Throws std::runtime_error when the
  // file cannot be written.
  void print_rules(const char* path) const;

  // Whether a piece of a pattern is a variable.
  static bool is_number(std::string_view piece);
  // Whether a text is made of ASCII digits only, at least one.
  static bool is_integer(std::string_view text);

 protected:
  // Reads the phrase by the pieces of a source pattern, filling source_numbers_.
  virtual bool match_source(const TokenList& pieces, const std::string& phrase) = 0;
  // Appends the pieces of a target pattern, taking target_numbers_ in order.
  virtual bool generate_target(const TokenList& pieces, std::string& out) = 0;

  std::vector<Number> source_numbers_;  // s0, s1, ... of expressions
  std::vector<Number> target_numbers_;  // t0, t1, ...

 private:
  // Nesting of expressions; deeper ones count as impossible.
  static constexpr int kMaxDepth = 200;

  // What a phrase must begin and end with for a rule to be worth trying.
  struct Outline {
    std::string_view head;
    std::string_view tail;
  };
  // A rule that can match phrases with a certain first byte; `last` is their last
  // byte, or one of the marks below.
  struct Candidate {
    std::uint16_t last;
    std::uint32_t rule;
  };
  static constexpr std::uint16_t kAnyByte = 256;
  static constexpr std::uint16_t kDigitOrPoint = 257;

  void read_rule(std::string line);
  void read_pattern(std::string_view text, TokenList& pieces);
  void read_expression(std::string_view text, TokenList& tokens);
  void outline_rule(std::size_t index);
  std::string_view store(std::string_view text);
  bool check_constraint(const TokenList& tokens) const;
  bool convert_numbers(const TokenList& tokens);
  bool get_number(std::string_view token, Number& value) const;
  bool evaluate(std::span<const std::string_view> tokens, int depth, Number& value) const;

  common::StringPool pool_{102400};
  std::unordered_set<std::string_view> stored_;  // what the pool holds, while rules are read
  std::vector<Rule> rules_;
  std::vector<Outline> outlines_;  // one a rule
  // By first byte of a phrase: the rules that can match it, in file order.
  std::array<std::vector<Candidate>, 256> candidates_;
};

}  // namespace koralite::numtrans
