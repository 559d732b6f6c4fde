#include "numtrans/rule_translator.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>

#include "common/des_file_reader.h"
#include "common/text_io.h"
#include "numtrans/category.h"
#include "numtrans/num_words.h"

namespace koralite::numtrans {
namespace {

constexpr const char* kSeparator = " ||| ";

struct Operator {
  std::string_view token;
  int priority;  // the lowest is split first
};

constexpr Operator kOperators[] = {{"||", 0}, {"&&", 1}, {"!", 2},  {">", 3},  {">=", 3},
                                   {"<", 3},  {"<=", 3}, {"==", 3}, {"!=", 3}, {"+", 4},
                                   {"-", 4},  {"*", 5},  {"/", 5}};

int priority_of(std::string_view token) {
  for (const Operator& op : kOperators) {
    if (op.token == token) {
      return op.priority;
    }
  }
  return -1;
}

// The number behind the letter of "s12" or "t3"; false for any other token and
// for numbers beyond an int.
bool read_reference(std::string_view token, char letter, unsigned& index) {
  if (token.size() < 2 || token[0] != letter || !RuleTranslator::is_integer(token.substr(1))) {
    return false;
  }
  int value = 0;
  const auto [end, error] = std::from_chars(token.data() + 1, token.data() + token.size(), value);
  if (error != std::errc{}) {
    return false;
  }
  index = static_cast<unsigned>(value);
  return true;
}

bool is_true(const Number& number) {
  return number.numerator != 0;
}

// False for a token that is no operator between two values.
bool combine(std::string_view op, const Number& left, const Number& right, Number& value) {
  if (op == "||") {
    value = Number::truth(is_true(left) || is_true(right));
  } else if (op == "&&") {
    value = Number::truth(is_true(left) && is_true(right));
  } else if (op == ">") {
    value = left > right;
  } else if (op == ">=") {
    value = left >= right;
  } else if (op == "<") {
    value = left < right;
  } else if (op == "<=") {
    value = left <= right;
  } else if (op == "==") {
    value = left == right;
  } else if (op == "!=") {
    value = left != right;
  } else if (op == "+") {
    value = left + right;
  } else if (op == "-") {
    value = left - right;
  } else if (op == "*") {
    value = left * right;
  } else if (op == "/") {
    value = left / right;
  } else {
    return false;
  }
  return true;
}

std::string join(const TokenList& tokens) {
  std::string text;
  for (const std::string_view token : tokens) {
    text += token;
  }
  return text;
}

// What ends the name of a number in an expression.
constexpr std::string_view kEndsName = " ()+-*/;><!=&|";

// The tokens of an expression as text that reads back as the same tokens: with a blank only where
// two would become one, so only where the rule had one.
std::string expression_text(const TokenList& tokens) {
  std::string text;
  std::string_view last;
  for (const std::string_view token : tokens) {
    const bool joins_names = !last.empty() &&
                             kEndsName.find(last.back()) == std::string_view::npos &&
                             kEndsName.find(token.front()) == std::string_view::npos;
    const bool joins_equal =
        token.front() == '=' && (last == ">" || last == "<" || last == "!" || last == "=");
    const bool joins_pair = (last == "&" || last == "|") && token.front() == last.front();
    if (joins_names || joins_equal || joins_pair) {
      text += ' ';
    }
    text += token;
    last = token;
  }
  return text;
}

// Whether a number of this category can begin with the byte.
bool can_begin(Category category, unsigned char byte) {
  switch (category) {
    case Category::kNone:
      return false;
    case Category::kArabicDigit:
    case Category::kArabicDigits:
    case Category::kArabicInteger:
    case Category::kArabicOrdinal:
    case Category::kArabicFloat:
      return is_ascii_digit(static_cast<char>(byte));
    case Category::kChineseDigit:
    case Category::kChineseBase:
    case Category::kChineseDigits:
    case Category::kChineseInteger:
    case Category::kChineseFloat:
      return (byte & 0xF0U) == 0xE0U;
    default:
      return byte == ' ' || (byte >= 'a' && byte <= 'z');
  }
}

// Whether a number of this category always ends in a digit or a full stop.
bool ends_with_digit(Category category) {
  return category == Category::kArabicDigit || category == Category::kArabicDigits ||
         category == Category::kArabicInteger || category == Category::kArabicFloat;
}

}  // namespace

bool RuleTranslator::is_number(std::string_view piece) {
  return piece.starts_with('(') && piece.ends_with(')');
}

bool RuleTranslator::is_integer(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), is_ascii_digit);
}

RuleTranslator::RuleTranslator(const common::FilePath& path) {
  common::DesFileReader reader(path);
  std::string line;
  while (reader.getline(line)) {
    read_rule(line);
    outline_rule(rules_.size() - 1);
  }
  stored_ = {};
}

// Rules repeat their tokens over and over: each is kept once.
std::string_view RuleTranslator::store(std::string_view text) {
  if (const auto known = stored_.find(text); known != stored_.end()) {
    return *known;
  }
  return *stored_.emplace(pool_.add_string(text), text.size()).first;
}

void RuleTranslator::read_rule(std::string line) {
  Rule& rule = rules_.emplace_back();
  if (line.size() > kMaxLine) {
    return;
  }
  std::vector<char*> fields;
  common::split_string(line.data(), fields, kSeparator);
  if (fields.size() != 3 && fields.size() != 5) {
    return;
  }
  read_pattern(fields[0], rule.source);
  if (fields.size() == 5) {
    read_expression(fields[1], rule.constraint);
    read_expression(fields[2], rule.assignments);
  }
  read_pattern(fields[fields.size() - 2], rule.target);
  rule.type = store(fields.back());
  for (TokenList* tokens : {&rule.source, &rule.constraint, &rule.assignments, &rule.target}) {
    tokens->shrink_to_fit();
  }
}

void RuleTranslator::read_pattern(std::string_view text, TokenList& pieces) {
  const auto add = [&](std::string_view piece) {
    if (!piece.empty()) {
      pieces.push_back(store(piece));
    }
  };
  while (!text.empty()) {
    const std::size_t open = text.find('(');
    if (open == std::string_view::npos) {
      add(text);
      return;
    }
    add(text.substr(0, open));
    int depth = 0;
    std::size_t close = open;
    for (; close < text.size(); ++close) {
      if (text[close] == '(') {
        ++depth;
      }
      if (text[close] == ')' && --depth == 0) {
        break;
      }
    }
    const std::size_t end = std::min(close + 1, text.size());  // unclosed: all that is left
    add(text.substr(open, end - open));
    text.remove_prefix(end);
  }
}

void RuleTranslator::read_expression(std::string_view text, TokenList& tokens) {
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] == ' ') {
      ++i;
      continue;
    }
    std::size_t length = 1;
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    switch (text[i]) {
      case '(':
      case ')':
      case '+':
      case '-':
      case '*':
      case '/':
      case ';':
        break;
      case '>':
      case '<':
      case '!':
      case '=':
        if (next == '=') {
          length = 2;
        }
        break;
      case '&':
      case '|':
        if (next == text[i]) {
          length = 2;
        }
        break;
      default:
        length = std::min(text.find_first_of(kEndsName, i), text.size()) - i;
    }
    tokens.push_back(store(text.substr(i, length)));
    i += length;
  }
}

void RuleTranslator::outline_rule(std::size_t index) {
  const Rule& rule = rules_[index];
  Outline& outline = outlines_.emplace_back();
  if (rule.source.empty()) {
    return;
  }
  const std::string_view first = rule.source.front();
  const std::string_view last = rule.source.back();
  Candidate candidate{kAnyByte, static_cast<std::uint32_t>(index)};
  if (!is_number(last)) {
    outline.tail = last;
    candidate.last = static_cast<unsigned char>(last.back());
  } else if (ends_with_digit(parse_category(last))) {
    candidate.last = kDigitOrPoint;
  }
  if (!is_number(first)) {
    outline.head = first;
    candidates_[static_cast<unsigned char>(first[0])].push_back(candidate);
    return;
  }
  const Category category = parse_category(first);
  for (std::size_t byte = 0; byte < candidates_.size(); ++byte) {
    if (can_begin(category, static_cast<unsigned char>(byte))) {
      candidates_[byte].push_back(candidate);
    }
  }
}

bool RuleTranslator::translate(const std::string& source, std::string& target, std::string& type) {
  if (source.empty() || !is_acceptable(source.c_str())) {
    return false;
  }
  const auto last = static_cast<unsigned char>(source.back());
  const bool digit = is_ascii_digit(source.back()) || source.back() == '.';
  for (const Candidate& candidate : candidates_[static_cast<unsigned char>(source[0])]) {
    if (candidate.last != last && candidate.last != kAnyByte &&
        !(digit && candidate.last == kDigitOrPoint)) {
      continue;
    }
    const Outline& outline = outlines_[candidate.rule];
    if (source.ends_with(outline.tail) && source.starts_with(outline.head) &&
        translate_with_rule(rules_[candidate.rule], source, target, type)) {
      return true;
    }
  }
  return false;
}

bool RuleTranslator::translate_with_rule(const Rule& rule, const std::string& source,
                                         std::string& target, std::string& type) {
  source_numbers_.clear();
  target_numbers_.clear();
  if (rule.source.empty() || source.empty()) {
    return false;
  }
  // Most rules end here: a literal piece that the phrase does not hold.
  std::size_t from = 0;
  for (const std::string_view piece : rule.source) {
    if (is_number(piece)) {
      continue;
    }
    const std::size_t found = source.find(piece, from);
    if (found == std::string::npos) {
      return false;
    }
    from = found + 1;
  }
  if (!match_source(rule.source, source) || !check_constraint(rule.constraint) ||
      !convert_numbers(rule.assignments) || !generate_target(rule.target, target)) {
    return false;
  }
  type = rule.type;
  return true;
}

bool RuleTranslator::check_constraint(const TokenList& tokens) const {
  Number value;
  return tokens.empty() || (evaluate(tokens, 0, value) && is_true(value));
}

bool RuleTranslator::convert_numbers(const TokenList& tokens) {
  target_numbers_ = source_numbers_;
  std::span<const std::string_view> rest(tokens);
  while (!rest.empty()) {
    const auto end = std::find(rest.begin(), rest.end(), ";");
    const auto count = static_cast<std::size_t>(end - rest.begin());
    const auto statement = rest.first(count);
    unsigned index = 0;
    Number value;
    if (count < 3 || !read_reference(statement[0], 't', index) || index > kMaxTargetIndex ||
        statement[1] != "=" || !evaluate(statement.subspan(2), 0, value)) {
      return false;
    }
    if (index >= target_numbers_.size()) {
      target_numbers_.resize(index + 1);
    }
    target_numbers_[index] = value;
    rest = rest.subspan(std::min(count + 1, rest.size()));
  }
  return true;
}

bool RuleTranslator::get_number(std::string_view token, Number& value) const {
  unsigned index = 0;
  if (token.size() >= 2 && token[0] == 's' && is_integer(token.substr(1))) {
    if (!read_reference(token, 's', index) || index >= source_numbers_.size()) {
      return false;
    }
    value = source_numbers_[index];
    return true;
  }
  return value.create(token.data());
}

bool RuleTranslator::evaluate(std::span<const std::string_view> tokens, int depth,
                              Number& value) const {
  if (tokens.empty() || depth > kMaxDepth) {
    return false;
  }
  if (tokens.size() == 1) {
    return get_number(tokens[0], value);
  }
  if (tokens.size() == 2) {
    Number operand;
    if ((tokens[0] != "-" && tokens[0] != "!") || !get_number(tokens[1], operand)) {
      return false;
    }
    value = tokens[0] == "-" ? -operand : Number::truth(!is_true(operand));
    return true;
  }
  // An outer pair is taken off even when its halves do not belong together.
  if (tokens.front() == "(" && tokens.back() == ")") {
    return evaluate(tokens.subspan(1, tokens.size() - 2), depth + 1, value);
  }

  // Split at the outermost operator that binds least, the last of several.
  std::size_t split = tokens.size();
  int split_depth = 0;
  int split_priority = 0;
  int parentheses = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i] == "(") {
      ++parentheses;
    } else if (tokens[i] == ")") {
      if (parentheses-- == 0) {
        return false;
      }
    } else if (const int priority = priority_of(tokens[i]); priority >= 0) {
      if (split == tokens.size() || parentheses < split_depth ||
          (parentheses == split_depth && priority <= split_priority)) {
        split = i;
        split_depth = parentheses;
        split_priority = priority;
      }
    }
  }
  if (split == tokens.size()) {
    return false;
  }
  // Both sides are always evaluated, "&&" and "||" included.
  Number left;
  Number right;
  return evaluate(tokens.first(split), depth + 1, left) &&
         evaluate(tokens.subspan(split + 1), depth + 1, right) &&
         combine(tokens[split], left, right, value);
}

void RuleTranslator::print_rules(const char* path) const {
  std::ofstream out(path, std::ios::binary);
  for (const Rule& rule : rules_) {
    if (!rule.source.empty()) {
      out << join(rule.source) << kSeparator;
      if (!rule.constraint.empty() || !rule.assignments.empty()) {
        // An empty field is written as one blank, which reading keeps as a field.
        const std::string constraint = expression_text(rule.constraint);
        const std::string assignments = expression_text(rule.assignments);
        out << (constraint.empty() ? " " : constraint) << kSeparator;
        out << (assignments.empty() ? " " : assignments) << kSeparator;
      }
      out << join(rule.target) << kSeparator << rule.type;
    }
    out << '\n';
  }
  out.flush();
  if (!out) {
    throw std::runtime_error(std::string("can't write rules to ") + path);
  }
}

}  // namespace koralite::numtrans
