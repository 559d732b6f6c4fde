// Cases as data: a file of a subject's folder holds sections, "== NAME", with one
// case a line and its cells between " | "; "#" begins a comment line, " ## " a remark.
// In a cell stand \n \t \r \0 \xHH, \s for a blank at an end, \| and \\; "" is empty.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kora_test {

// One case. A cell that is not there, or no number, throws and so fails the test.
struct Case {
  std::string place;  // file and line
  std::vector<std::string> cells;

  const std::string& operator[](std::size_t i) const { return cells.at(i); }
  bool yes(std::size_t i) const { return cells.at(i) == "yes"; }
  int number(std::size_t i) const { return std::stoi(cells.at(i), nullptr, 0); }
  std::size_t size(std::size_t i) const { return std::stoull(cells.at(i), nullptr, 0); }
  std::vector<std::string> words(std::size_t i) const {
    std::istringstream in(cells.at(i));
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
      words.push_back(word);
    }
    return words;
  }
  static double real(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || *end != '\0') {
      throw std::runtime_error("no number: " + text);
    }
    return value;
  }
  std::vector<double> ratios(std::size_t i) const {  // "0.5 2/3"
    std::vector<double> ratios;
    for (const std::string& word : words(i)) {
      const std::size_t slash = std::min(word.find('/'), word.size());
      ratios.push_back(real(word.substr(0, slash)));
      if (slash < word.size()) {
        ratios.back() /= real(word.substr(slash + 1));
      }
    }
    return ratios;
  }
  std::vector<std::string> parts(std::size_t i, const std::string& separator) const {
    std::vector<std::string> parts(1);
    for (std::string rest = cells.at(i);;) {
      const std::size_t end = rest.find(separator);
      parts.back() = rest.substr(0, end);
      if (end == rest.npos) {
        return parts;
      }
      rest.erase(0, end + separator.size());
      parts.emplace_back();
    }
  }
  std::vector<int> numbers(std::size_t i) const {
    std::vector<int> numbers;
    for (const std::string& word : words(i)) {
      numbers.push_back(std::stoi(word, nullptr, 0));
    }
    return numbers;
  }
};

inline std::string case_cell(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) {
    return "";
  }
  const std::string trimmed = text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
  if (trimmed == "\"\"") {
    return "";
  }
  std::string cell;
  for (std::size_t i = 0; i < trimmed.size(); ++i) {
    if (trimmed[i] != '\\') {
      cell += trimmed[i];
      continue;
    }
    const std::size_t kind = std::string("ntr0s").find(trimmed.at(++i));
    if (trimmed[i] == 'x') {
      cell += static_cast<char>(std::stoi(trimmed.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      cell += kind == std::string::npos ? trimmed[i] : "\n\t\r\0 "[kind];
    }
  }
  return cell;
}

// The cases of a section; those above the first header are the section "".
inline std::vector<Case> read_cases(const std::string& file, const std::string& section) {
  std::ifstream in(KORA_TEST_DATA "/" + file);
  std::vector<Case> cases;
  std::string current;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.starts_with("== ")) {
      current = line.substr(3);
    }
    const bool comment = line.empty() || line[0] == '#' || line.starts_with("== ");
    if (current != section || comment) {
      continue;
    }
    Case found{file + ":" + std::to_string(number), {}};
    line = line.substr(0, line.find(" ## ")) + " | ";
    for (std::size_t end; (end = line.find(" | ")) != std::string::npos; line.erase(0, end + 3)) {
      found.cells.push_back(case_cell(line.substr(0, end)));
    }
    cases.push_back(std::move(found));
  }
  if (cases.empty()) {
    throw std::runtime_error("no cases of " + section + " in " + file);
  }
  return cases;
}

// Runs a check on each case of a section; what fails names the file and the line.
template <class Check>
void for_cases(const std::string& file, const std::string& section, Check&& check) {
  for (const Case& c : read_cases(file, section)) {
    SCOPED_TRACE(c.place);
    check(c);
  }
}

}  // namespace kora_test
