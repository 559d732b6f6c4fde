#include "toolkit/resource/rule_source.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "numtrans/category.h"
#include "numtrans/ce_num_translator.h"
#include "numtrans/ec_num_translator.h"
#include "toolkit/io/io_error.h"
#include "toolkit/resource/resource_file.h"

namespace koralite::toolkit {
namespace {

using numtrans::Category;

constexpr std::string_view kSeparator = " ||| ";
constexpr std::size_t kMostLinesARule = 10000;

std::string_view trim(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string_view::npos) {
    return {};
  }
  return text.substr(begin, text.find_last_not_of(" \t\r") + 1 - begin);
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> fields;
  while (true) {
    const std::size_t end = text.find(separator);
    fields.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      return fields;
    }
    text.remove_prefix(end + separator.size());
  }
}

bool reads(std::string_view direction, Category category) {
  switch (category) {
    case Category::kArabicDigit:
    case Category::kArabicDigits:
    case Category::kArabicInteger:
    case Category::kArabicOrdinal:
    case Category::kArabicFloat:
      return true;
    case Category::kChineseDigit:
    case Category::kChineseBase:
    case Category::kChineseDigits:
    case Category::kChineseInteger:
    case Category::kChineseFloat:
      return direction == "zh-en";
    case Category::kNone:
      return false;
    default:
      return direction == "en-zh";
  }
}

bool writes(std::string_view direction, Category category) {
  switch (category) {
    case Category::kArabicDigits:
    case Category::kArabicInteger:
    case Category::kArabicOrdinal:
    case Category::kArabicFloat:
      return true;
    case Category::kChineseDigits:
    case Category::kChineseInteger:
    case Category::kChineseFloat:
      return direction == "en-zh";
    case Category::kEnglishDigits:
    case Category::kEnglishInteger:
    case Category::kEnglishOrdinal:
    case Category::kEnglishFloat:
      return direction == "zh-en";
    default:
      return false;
  }
}

class Parser {
 public:
  explicit Parser(std::string name) { source_.name = std::move(name); }

  rule_source_t parse(std::string_view text) {
    for (const std::string& line : split(text, "\n")) {
      ++line_;
      take_line(trim(line));
    }
    if (table_ != nullptr) {
      fail("the table has no %end");
    }
    check_last_rule();
    if (source_.direction.empty()) {
      fail("no %direction");
    }
    return std::move(source_);
  }

 private:
  using Row = std::vector<std::string>;  // key, then the columns
  using Table = std::vector<Row>;

  [[noreturn]] void fail(const std::string& what, std::size_t line = 0) const {
    throw std::runtime_error(source_.name + ":" + std::to_string(line ? line : line_) + ": " +
                             what);
  }

  void take_line(std::string_view line) {
    if (line.empty()) {
      return;
    }
    if (table_ != nullptr) {
      take_row(line);
    } else if (line.starts_with("#:")) {
      take_example(trim(line.substr(2)));
    } else if (line.starts_with("#!")) {
      source_.refused.push_back({line_, std::string(trim(line.substr(2))), ""});
    } else if (line.starts_with("##")) {
      section_ = trim(line.substr(2));
    } else if (line.starts_with("%direction ")) {
      source_.direction = trim(line.substr(11));
      if (source_.direction != "en-zh" && source_.direction != "zh-en") {
        fail("the direction must be en-zh or zh-en");
      }
    } else if (line.starts_with("%table ")) {
      const std::string name(trim(line.substr(7)));
      if (tables_.count(name) != 0) {
        fail("there is a table " + name + " already");
      }
      table_ = &tables_[name];
    } else if (line.starts_with('%')) {
      fail("unknown directive " + std::string(line));
    } else if (!line.starts_with('#')) {
      take_rule(line);
    }
  }

  void take_row(std::string_view line) {
    if (line.starts_with('#')) {
      return;
    }
    if (line == "%end") {
      if (table_->empty()) {
        fail("the table is empty");
      }
      table_ = nullptr;
      return;
    }
    const std::size_t equals = line.find(" = ");
    if (equals == std::string_view::npos) {
      fail("an entry is KEY = VALUE | VALUE ...");
    }
    Row row{std::string(trim(line.substr(0, equals)))};
    for (const std::string& value : split(line.substr(equals + 3), " | ")) {
      row.emplace_back(trim(value));
    }
    if (!table_->empty() && table_->front().size() != row.size()) {
      fail("the entry has another number of values than the first one");
    }
    table_->push_back(std::move(row));
  }

  void take_example(std::string_view text) {
    const std::size_t arrow = text.find(" => ");
    if (arrow == std::string_view::npos) {
      fail("an example is SOURCE => TARGET");
    }
    if (source_.rules.empty()) {
      fail("the example stands under no rule");
    }
    source_.rules.back().examples.push_back({line_, std::string(trim(text.substr(0, arrow))),
                                             std::string(trim(text.substr(arrow + 4)))});
  }

  void take_rule(std::string_view line) {
    check_last_rule();
    if (source_.direction.empty()) {
      fail("%direction must come before the first rule");
    }
    source_rule_t rule{line_, section_, {}, {}};
    expand(std::string(line), rule.lines);
    for (const std::string& expanded : rule.lines) {
      check_rule(expanded);
    }
    source_.rules.push_back(std::move(rule));
  }

  void check_last_rule() const {
    if (!source_.rules.empty() && source_.rules.back().examples.empty()) {
      fail("the rule has no example under it", source_.rules.back().line);
    }
  }

  // Replaces the first {table} and goes on with the result, entry by entry: the
  // key stands in for {table} in the source pattern, value N for {table.N} after
  // it, {table} there being {table.1}.
  void expand(const std::string& line, std::vector<std::string>& out) const {
    const std::size_t open = line.find('{');
    if (open == std::string::npos) {
      if (out.size() == kMostLinesARule) {
        fail("the rule expands to too many lines");
      }
      out.push_back(line);
      return;
    }
    const std::size_t close = line.find('}', open);
    if (close == std::string::npos) {
      fail("a { without its }");
    }
    const std::string reference = line.substr(open + 1, close - open - 1);
    const std::string name = reference.substr(0, reference.find('.'));
    const auto table = tables_.find(name);
    if (table == tables_.end()) {
      fail("there is no table " + name);
    }
    if (open > line.find(kSeparator)) {
      fail("{" + name + "} must occur in the source pattern");
    }
    for (const Row& row : table->second) {
      expand(substitute(line, name, row), out);
    }
  }

  std::string substitute(const std::string& line, const std::string& name, const Row& row) const {
    std::string result;
    const std::size_t pattern_end = line.find(kSeparator);
    std::size_t from = 0;
    while (true) {
      const std::size_t open = line.find("{" + name, from);
      if (open == std::string::npos) {
        break;
      }
      const std::size_t after = open + 1 + name.size();
      std::size_t column = open < pattern_end ? 0 : 1;
      std::size_t close = after;
      if (after + 1 < line.size() && line[after] == '.') {
        column = static_cast<std::size_t>(line[after + 1] - '0');
        close += 2;
      }
      if (close >= line.size() || line[close] != '}') {  // a longer name
        result += line.substr(from, after - from);
        from = after;
        continue;
      }
      if (column >= row.size()) {
        fail("table " + name + " has no value " + std::to_string(column));
      }
      result += line.substr(from, open - from) + row[column];
      from = close + 1;
    }
    return result + line.substr(from);
  }

  void check_rule(const std::string& line) const {
    if (line.size() > numtrans::RuleTranslator::kMaxLine) {
      fail("the rule is too long");
    }
    const std::vector<std::string> fields = split(line, kSeparator);
    if (fields.size() != 3 && fields.size() != 5) {
      fail("a rule has 3 fields, or 5 (an empty one is written as one space): " + line);
    }
    for (const std::string& field : fields) {
      if (field.empty()) {
        fail("a field is empty (write one space): " + line);
      }
    }
    const std::size_t read = check_pattern(fields[0], true);
    const std::size_t written = check_pattern(fields[fields.size() - 2], false);
    const bool assigns = fields.size() == 5 && !trim(fields[2]).empty();
    if (!assigns && written > read) {
      fail("the target writes more numbers than the source reads");
    }
  }

  // Counts the variables of a pattern.
  std::size_t check_pattern(std::string_view pattern, bool is_source) const {
    std::size_t variables = 0;
    std::size_t open = 0;
    while ((open = pattern.find('(', open)) != std::string_view::npos) {
      const std::size_t close = pattern.find(')', open);
      if (close == std::string_view::npos) {
        fail("a ( without its )");
      }
      const std::string_view variable = pattern.substr(open, close + 1 - open);
      const Category category = numtrans::parse_category(variable);
      if (is_source ? !reads(source_.direction, category) : !writes(source_.direction, category)) {
        fail(std::string(variable) + (is_source ? " can't be read" : " can't be written") + " in " +
             source_.direction);
      }
      ++variables;
      open = close;
    }
    return variables;
  }

  rule_source_t source_;
  std::size_t line_ = 0;
  std::string section_;
  std::map<std::string, Table> tables_;
  Table* table_ = nullptr;  // being filled
};

}  // namespace

std::vector<std::string> rule_source_t::compiled() const {
  std::vector<std::string> all;
  for (const source_rule_t& rule : rules) {
    all.insert(all.end(), rule.lines.begin(), rule.lines.end());
  }
  return all;
}

const source_rule_t& rule_source_t::rule_of_line(std::size_t index) const {
  for (const source_rule_t& rule : rules) {
    if (index < rule.lines.size()) {
      return rule;
    }
    index -= rule.lines.size();
  }
  throw std::out_of_range("no such rule line");
}

rule_source_t parse_rule_source(std::string_view text, std::string name) {
  return Parser(std::move(name)).parse(text);
}

rule_source_t read_rule_source(const std::string& path) {
  require_readable(path);
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return parse_rule_source(text.str(), path);
}

void write_rule_file(const rule_source_t& source, const std::string& path) {
  write_resource_file(path, source.compiled());
}

std::unique_ptr<numtrans::RuleTranslator> open_rules(std::string_view direction,
                                                     const std::string& path) {
  if (direction == "en-zh") {
    return std::make_unique<numtrans::EcNumTranslator>(path.c_str());
  }
  if (direction == "zh-en") {
    return std::make_unique<numtrans::CeNumTranslator>(path.c_str());
  }
  throw std::runtime_error("no rules for the direction " + std::string(direction));
}

std::optional<rule_hit_t> translate_by_rule(numtrans::RuleTranslator& translator,
                                            const std::string& phrase) {
  rule_hit_t hit;
  if (!translator.is_acceptable(phrase.c_str())) {
    return std::nullopt;
  }
  for (const numtrans::Rule& rule : translator.rules()) {
    if (translator.translate_with_rule(rule, phrase, hit.target, hit.type)) {
      return hit;
    }
    ++hit.index;
  }
  return std::nullopt;
}

std::vector<std::string> check_rule_examples(const rule_source_t& source,
                                             numtrans::RuleTranslator& translator) {
  std::vector<std::string> problems;
  const auto say = [&](const rule_example_t& example, const std::string& what) {
    problems.push_back(source.name + ":" + std::to_string(example.line) + ": " + example.source +
                       ": " + what);
  };
  const auto run = [&](const rule_example_t& example) {
    std::optional<rule_hit_t> hit;
    try {
      hit = translate_by_rule(translator, example.source);
    } catch (const std::runtime_error& error) {
      say(example, error.what());
    }
    return hit;
  };
  for (const source_rule_t& rule : source.rules) {
    for (const rule_example_t& example : rule.examples) {
      const std::optional<rule_hit_t> hit = run(example);
      if (!hit) {
        say(example, "no rule translates it");
      } else if (hit->target != example.target) {
        say(example, "becomes " + hit->target);
      } else if (const source_rule_t& by = source.rule_of_line(hit->index); by.line != rule.line) {
        say(example, "is taken by the rule in line " + std::to_string(by.line));
      }
    }
  }
  for (const rule_example_t& example : source.refused) {
    if (const std::optional<rule_hit_t> hit = run(example)) {
      say(example, "should be left alone, becomes " + hit->target);
    }
  }
  return problems;
}

}  // namespace koralite::toolkit
